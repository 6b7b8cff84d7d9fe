/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What the flash buffer service of the reference platform asks of Linux, for its build on the host: strict_flash.cpp implements it on
 * flash whose power can be cut. Names and contracts are Linux's; only what the service uses is here.
 */
#ifndef POWERCUT_HOST_LINUX_H
#define POWERCUT_HOST_LINUX_H

#ifdef __cplusplus
extern "C" {
#endif

struct mtd_info {
	int index;
	unsigned int erasesize;
	unsigned int writesize;
	unsigned long long size;
};

struct erase_info {
	unsigned long long addr;
	unsigned long long len;
};

/* readers: how many hold it for reading; -1: held for writing */
struct rw_semaphore {
	int readers;
};

struct mtd_info *get_mtd_device(struct mtd_info *mtd, int index);
void put_mtd_device(struct mtd_info *mtd);
int mtd_block_isbad(struct mtd_info *mtd, long long address);
int mtd_erase(struct mtd_info *mtd, struct erase_info *erase);
int mtd_read(struct mtd_info *mtd, long long from, unsigned long length, unsigned long *done, unsigned char *to);
int mtd_write(struct mtd_info *mtd, long long to, unsigned long length, unsigned long *done, const unsigned char *from);

void down_read(struct rw_semaphore *semaphore);
void up_read(struct rw_semaphore *semaphore);
void down_write(struct rw_semaphore *semaphore);
void up_write(struct rw_semaphore *semaphore);

void *vmalloc(unsigned long size);
void vfree(const void *memory);

#ifdef __cplusplus
}
#endif

#endif
