// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Removes an MTD partition while the block device of another one, which is gone already, is closed. Plain Linux: an MTD device without
 * partitions (mtdram), mtdchar and mtdblock.
 *
 *   reproducer DEVICE [ROUNDS]
 *
 * Each round makes two partitions of the device, opens the block device of the second and removes that partition. Then one thread closes
 * the block device while another one removes the first partition.
 */
#include <fcntl.h>
#include <linux/blkpg.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <time.h>
#include <unistd.h>

#define BLOCK_MAJOR 31
#define BLOCK_FILE "/tmp/reproducer-block"
#define PART_SIZE 0x40000

static int g_master;
static pthread_barrier_t g_start;

static void die(const char *what)
{
	perror(what);
	exit(1);
}

static int change(int operation, struct blkpg_partition *part)
{
	struct blkpg_ioctl_arg request = { .op = operation, .datalen = sizeof(*part), .data = part };

	return ioctl(g_master, BLKPG, &request);
}

/* The number of the MTD device with that name. */
static int number_of(const char *name)
{
	FILE *table = fopen("/proc/mtd", "r");
	char line[256], found[128];
	int number;

	while (table && fgets(line, sizeof(line), table))
		if (sscanf(line, "mtd%d: %*x %*x \"%127[^\"]\"", &number, found) == 2 && !strcmp(name, found)) {
			fclose(table);
			return number;
		}
	die(name);
	return -1;
}

/* Makes a partition and returns its number. */
static int add(int which)
{
	struct blkpg_partition part = { .start = (which - 1) * (long long)PART_SIZE, .length = PART_SIZE };

	snprintf(part.devname, sizeof(part.devname), "part%d", which);
	if (change(BLKPG_ADD_PARTITION, &part))
		die("add a partition");
	return number_of(part.devname);
}

static void del(int number)
{
	struct blkpg_partition part = { .pno = number };

	if (change(BLKPG_DEL_PARTITION, &part))
		die("remove a partition");
}

static void wait_microseconds(long microseconds)
{
	struct timespec now, end;

	clock_gettime(CLOCK_MONOTONIC, &end);
	end.tv_nsec += microseconds * 1000;
	end.tv_sec += end.tv_nsec / 1000000000;
	end.tv_nsec %= 1000000000;
	do
		clock_gettime(CLOCK_MONOTONIC, &now);
	while (now.tv_sec < end.tv_sec || (now.tv_sec == end.tv_sec && now.tv_nsec < end.tv_nsec));
}

static void *close_block_device(void *file)
{
	pthread_barrier_wait(&g_start);
	close(*(int *)file);
	return NULL;
}

static void run_round(long delay)
{
	pthread_t closer;
	int first = add(1);
	int second = add(2);
	int file;

	unlink(BLOCK_FILE);
	if (mknod(BLOCK_FILE, S_IFBLK | 0600, makedev(BLOCK_MAJOR, second)))
		die("make a device file");
	file = open(BLOCK_FILE, O_RDONLY);
	if (file < 0)
		die("open the block device");
	del(second);
	if (pthread_create(&closer, NULL, close_block_device, &file))
		die("start a thread");
	pthread_barrier_wait(&g_start);
	wait_microseconds(delay);
	del(first);
	pthread_join(closer, NULL);
}

int main(int count, char **words)
{
	int rounds = count > 2 ? atoi(words[2]) : 200;
	int i;

	if (count < 2) {
		fprintf(stderr, "usage: reproducer DEVICE [ROUNDS]\n");
		return 2;
	}
	g_master = open(words[1], O_RDWR);
	if (g_master < 0)
		die(words[1]);
	pthread_barrier_init(&g_start, NULL, 2);
	for (i = 0; i < rounds; i++)
		run_round(i % 40 * 100);
	printf("%d rounds\n", rounds);
	return 0;
}
