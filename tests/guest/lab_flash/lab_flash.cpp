// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Makes an MTD device of the lab, for boards whose kernel has no simulated flash. It is erased, and is there until flash_lab goes.
//
// usage: lab_flash NAME ram|nor|nand SIZE ERASE_BLOCK, both in bytes
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

#include "lab_device.hpp"

namespace {

constexpr struct {
	std::string_view name;
	uint32_t code;
} types[] = {{"ram", 1}, {"nor", 3}, {"nand", 4}};

uint32_t type_code(std::string_view name)
{
	for (const auto &type : types)
		if (type.name == name)
			return type.code;
	return 0;
}

} // namespace

int main(int argc, char **argv)
{
	if (argc != 5 || !type_code(argv[2])) {
		std::fprintf(stderr, "usage: %s NAME ram|nor|nand SIZE ERASE_BLOCK\n", argv[0]);
		return 2;
	}
	lab_mtd_add wanted = {};
	wanted.name = reinterpret_cast<uint64_t>(argv[1]);
	wanted.type = type_code(argv[2]);
	wanted.size = std::strtoull(argv[3], nullptr, 0);
	wanted.erase_size = static_cast<uint32_t>(std::strtoull(argv[4], nullptr, 0));
	wanted.index = -1;
	try {
		guest::lab(LAB_MTD_ADD, &wanted, argv[1]);
	} catch (const std::exception &failure) {
		std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
		return 1;
	}
	return 0;
}
