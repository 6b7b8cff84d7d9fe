/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * In C, with the header of the commands alone: tells where the SPI flash with a partition of a name sits. usage: c_find_spi_flash NAME
 */
#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "uapi/flash_mng.h"

static uint32_t find(int device, const char *name, struct spi_controller_config *found)
{
	struct flash_find_config_arg request = { .name_length = (uint32_t)strlen(name), .name = (uintptr_t)name };
	const uint32_t code = flash_mng_code(ioctl(device, FLASH_MNG_FIND_CONFIG, &request), errno);

	*found = request.config;
	return code;
}

int main(int argc, char **argv)
{
	struct spi_controller_config found;
	uint32_t code;
	int device;

	if (argc != 2 || strlen(argv[1]) > FLASH_MNG_NAME_SIZE) {
		fprintf(stderr, "usage: c_find_spi_flash NAME\n");
		return 2;
	}
	device = open(FLASH_MNG_DEVICE, O_RDWR | O_CLOEXEC);
	if (device < 0) {
		perror(FLASH_MNG_DEVICE);
		return 1;
	}
	code = find(device, argv[1], &found);
	close(device);
	if (code == FLASH_MNG_NOT_FOUND) {
		printf("no SPI flash has a partition \"%s\"\n", argv[1]);
		return 3;
	}
	if (code != FLASH_MNG_OK) {
		fprintf(stderr, "%s: code 0x%08" PRIX32 "\n", argv[1], code);
		return 1;
	}
	printf("instance %" PRIu32 ": chip %" PRIu32 ", controller %" PRIu32 ", chip select %" PRIu32 "\n", found.inst_id,
	       found.sfc_chip_id, found.sfc_ctrl, found.sfc_cs);
	return 0;
}
