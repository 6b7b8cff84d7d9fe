// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Tells where the SPI flash with a partition of a name sits. usage: find_spi_flash NAME
#include <cinttypes>
#include <cstdio>

#include "flash_mng/client.hpp"

int main(int argc, char **argv)
{
	if (argc != 2) {
		std::fprintf(stderr, "usage: find_spi_flash NAME\n");
		return 2;
	}
	const auto device = flash_mng::device::open();
	if (!device) {
		std::fprintf(stderr, "%s: %s\n", FLASH_MNG_DEVICE, device.status().meaning());
		return 1;
	}

	const auto found = device->find_spi_flash(std::string_view(argv[1]));
	if (found.status().is(FLASH_MNG_NOT_FOUND)) {
		std::printf("no SPI flash has a partition \"%s\"\n", argv[1]);
		return 3;
	}
	if (!found) {
		std::fprintf(stderr, "%s\n", found.status().meaning());
		return 1;
	}
	std::printf("instance %" PRIu32 ": chip %" PRIu32 ", controller %" PRIu32 ", chip select %" PRIu32 "\n", found->inst_id,
		    found->sfc_chip_id, found->sfc_ctrl, found->sfc_cs);
	return 0;
}
