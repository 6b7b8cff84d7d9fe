// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Prints the board's MTD devices, and which of them programs can read and write.
#include <cinttypes>
#include <cstdio>

#include "flash_mng/client.hpp"

namespace {

const char *access_of(const flash_mng::device &device, const char *name)
{
	const auto partition = flash_mng::partition_name::make(name);
	const auto listed = partition ? device.is_listed(*partition) : flash_mng::result<bool>(false);
	return listed && *listed ? "listed" : "-";
}

} // namespace

int main()
{
	const auto device = flash_mng::device::open();
	if (!device) {
		std::fprintf(stderr, "%s: %s\n", FLASH_MNG_DEVICE, device.status().meaning());
		return 1;
	}

	static flash_mtd_statistics devices;
	if (const auto done = device->statistics(devices); !done.ok()) {
		std::fprintf(stderr, "no statistics, code 0x%08" PRIX32 ": %s\n", done.code(), done.meaning());
		return 1;
	}
	for (std::uint32_t i = 0; i < devices.count; ++i) {
		const flash_mtd_stat_entry &entry = devices.entries[i];
		std::printf("mtd%" PRIu32 " %s %" PRIu64 " %s\n", +entry.index, entry.name, +entry.size, access_of(*device, entry.name));
	}
	return 0;
}
