// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Commands that transfer nothing: dispatch, and the statistics beside the other ways to list the devices.
#include "programs.hpp"
#include "record.hpp"
#include "requests.hpp"

namespace bench {

namespace {

void statistics_of(recorder &figures, std::uint32_t devices)
{
	const row of = {"statistics", "list the MTD devices", devices, "devices"};
	if (figures.kernel().command(BENCH_DEVICES, static_cast<unsigned long>(devices)))
		fail("the devices cannot be made");
	static flash_mtd_statistics answer;
	figures.count(of, module_way, 8, [] { return whole_command(FLASH_MNG_GET_MTD_STATISTICS, &answer); });
	if (answer.count != devices)
		fail("the statistics list " + std::to_string(answer.count) + " devices");
	figures.count(of, "/proc/mtd", 8, [] { return read_file("/proc/mtd"); });
	figures.count(of, "mtdinfo -a", 2, [] { return run_program({"/usr/sbin/mtdinfo", "-a"}); });
}

} // namespace

void statistics(recorder &figures)
{
	for (const std::uint32_t devices : {1u, 16u, 128u})
		statistics_of(figures, devices);
	figures.kernel().command(BENCH_DEVICES, 0ul);
}

void commands(recorder &figures)
{
	const device flash(FLASH_MNG_DEVICE);
	std::uint32_t number = 0;
	nand_part_info info = {};

	const row dispatch = {"commands", "user-data partition exists", 1, "command"};
	figures.count(dispatch, module_way, 16, [&] { return code_of(flash, FLASH_MNG_GET_NAND_IS_EXIST, &number); });
	figures.count(dispatch, "empty ioctl", 16, [&] { return static_cast<std::uint32_t>(figures.kernel().command(BENCH_EMPTY, 0ul)); });

	const row count = {"commands", "number of user-data partitions", 1, "command"};
	figures.count(count, module_way, 16, [&] { return code_of(flash, FLASH_MNG_GET_PART_NUM, &number); });

	const row size = {"commands", "size of the user-data partition", 1, "command"};
	figures.count(size, module_way, 16, [&] { return code_of(flash, FLASH_MNG_GET_NAND_PART_INFO, &info); });
	figures.count(size, "/proc/mtd", 16, [] { return read_file("/proc/mtd"); });

	const row unknown = {"commands", "unknown command", 1, "command"};
	figures.count(unknown, module_way, 16, [&] { return code_of(flash, 0x5400, &number) ^ FLASH_MNG_UNKNOWN_COMMAND; });
	figures.count(unknown, "empty ioctl", 16, [&] { return static_cast<std::uint32_t>(figures.kernel().command(BENCH_EMPTY, 0ul)); });
}

} // namespace bench
