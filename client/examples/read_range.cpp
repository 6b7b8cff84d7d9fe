// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Prints the first 16 bytes of a partition. usage: read_range PARTITION
#include <array>
#include <cinttypes>
#include <cstddef>
#include <cstdio>

#include "flash_mng/client.hpp"

int main(int argc, char **argv)
{
	const auto name = flash_mng::partition_name::make(argc == 2 ? argv[1] : "");
	if (!name) {
		std::fprintf(stderr, "usage: read_range PARTITION\n");
		return 2;
	}
	const auto device = flash_mng::device::open();
	if (!device) {
		std::fprintf(stderr, "%s: %s\n", FLASH_MNG_DEVICE, device.status().meaning());
		return 1;
	}

	std::array<std::byte, 16> data;
	if (const auto done = device->read(*name, flash_mng::byte_offset{0}, data); !done.ok()) {
		std::fprintf(stderr, "%s: code 0x%08" PRIX32 ": %s\n", name->c_str(), done.code(), done.meaning());
		return 1;
	}
	for (const std::byte byte : data)
		std::printf("%02x", std::to_integer<unsigned>(byte));
	std::printf("\n");
	return 0;
}
