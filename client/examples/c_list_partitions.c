/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * In C, with the header of the commands alone: prints the board's MTD devices, and which of them programs can read and write.
 */
#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "uapi/flash_mng.h"

/* A read of nothing transfers nothing; the name is looked at before the range. */
static int is_listed(int device, const char *name)
{
	struct flash_mtd_io_arg request = { .length = 0 };

	strncpy(request.name, name, FLASH_MNG_NAME_MAX);
	return flash_mng_code(ioctl(device, FLASH_MNG_MTD_READ, &request), errno) == FLASH_MNG_EMPTY_RANGE;
}

static int print_devices(int device)
{
	static struct flash_mtd_statistics devices;
	const uint32_t code = flash_mng_code(ioctl(device, FLASH_MNG_GET_MTD_STATISTICS, &devices), errno);
	uint32_t i;

	if (code != FLASH_MNG_OK) {
		fprintf(stderr, "no statistics, code 0x%08" PRIX32 "\n", code);
		return 1;
	}
	for (i = 0; i < devices.count; i++) {
		const struct flash_mtd_stat_entry *entry = &devices.entries[i];

		printf("mtd%" PRIu32 " %s %" PRIu64 " %s\n", entry->index, entry->name, entry->size,
		       is_listed(device, entry->name) ? "listed" : "-");
	}
	return 0;
}

int main(void)
{
	const int device = open(FLASH_MNG_DEVICE, O_RDWR | O_CLOEXEC);
	int status;

	if (device < 0) {
		perror(FLASH_MNG_DEVICE);
		return 1;
	}
	status = print_devices(device);
	close(device);
	return status;
}
