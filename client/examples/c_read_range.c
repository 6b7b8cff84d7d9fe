/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * In C, with the header of the commands alone: prints the first 16 bytes of a partition. usage: c_read_range PARTITION
 */
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "uapi/flash_mng.h"

static uint32_t read_partition(int device, const char *name, void *data, uint32_t length)
{
	struct flash_mtd_io_arg request = { .length = length, .buffer = (uintptr_t)data };

	strncpy(request.name, name, FLASH_MNG_NAME_MAX);
	return flash_mng_code(ioctl(device, FLASH_MNG_MTD_READ, &request), errno);
}

int main(int argc, char **argv)
{
	unsigned char data[16];
	uint32_t code;
	size_t i;
	int device;

	if (argc != 2 || !argv[1][0] || strlen(argv[1]) > FLASH_MNG_NAME_MAX) {
		fprintf(stderr, "usage: c_read_range PARTITION\n");
		return 2;
	}
	device = open(FLASH_MNG_DEVICE, O_RDWR | O_CLOEXEC);
	if (device < 0) {
		perror(FLASH_MNG_DEVICE);
		return 1;
	}
	code = read_partition(device, argv[1], data, sizeof(data));
	close(device);
	if (code != FLASH_MNG_OK) {
		fprintf(stderr, "%s: code 0x%08X\n", argv[1], (unsigned int)code);
		return 1;
	}
	for (i = 0; i < sizeof(data); i++)
		printf("%02x", data[i]);
	printf("\n");
	return 0;
}
