// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "health.hpp"

#include <fmt/format.h>

#include "mtd_words.hpp"

namespace flashctl {

namespace {

constexpr std::uint32_t power_up_lock = 0x2000;
constexpr std::int64_t worrying_percent = 2; // makers of NAND promise fewer bad blocks for its life

struct block_count {
	std::int64_t all, needed, good;
	std::int64_t kept() const { return all - needed; } // for blocks that go bad
	std::int64_t spare() const { return good - needed; }
};

std::optional<block_count> count_blocks(const mtd_device &device, const device_counts &counts)
{
	if (!is_nand(device.type) || !device.erase_size || !counts.bad_blocks || !device.usable)
		return std::nullopt;
	const auto all = static_cast<std::int64_t>(device.size / device.erase_size);
	const auto needed = static_cast<std::int64_t>((std::uint64_t{*device.usable} + device.erase_size - 1) / device.erase_size);
	return block_count{all, needed, all - static_cast<std::int64_t>(*counts.bad_blocks + counts.reserved_blocks.value_or(0))};
}

void warn_of_spares(std::vector<health_warning> &warnings, const block_count &blocks)
{
	if (blocks.spare() < 0)
		warnings.push_back(
			{"too_few_blocks", fmt::format("has {} good blocks, and its usable bytes need {}: the last ones cannot be "
						       "read or written",
						       blocks.good, blocks.needed)});
	else if (blocks.spare() == 0)
		warnings.push_back({"no_spare_block", "has no spare block: the next one that goes bad takes usable bytes"});
	else if (blocks.spare() * 4 < blocks.kept())
		warnings.push_back({"few_spare_blocks", fmt::format("nears its end: {} of its {} spare blocks {} left", blocks.spare(),
								    blocks.kept(), blocks.spare() == 1 ? "is" : "are")});
}

void warn_of_bad_blocks(std::vector<health_warning> &warnings, const mtd_device &device, const device_counts &counts)
{
	if (!device.erase_size || !counts.bad_blocks || !*counts.bad_blocks)
		return;
	const std::uint64_t all = device.size / device.erase_size;
	if (*counts.bad_blocks * 100 >= all * worrying_percent)
		warnings.push_back(
			{"many_bad_blocks", fmt::format("has {} bad blocks of {}; how many good ones the module needs is not known",
							*counts.bad_blocks, all)});
}

} // namespace

health_report examine(const mtd_device &device, const device_counts &counts)
{
	health_report report = {counts, std::nullopt, !device.writable, (device.flags & power_up_lock) != 0, {}};
	if (const auto blocks = count_blocks(device, counts)) {
		report.spare_blocks = blocks->spare();
		warn_of_spares(report.warnings, *blocks);
	} else {
		warn_of_bad_blocks(report.warnings, device, counts);
	}
	if (counts.ecc_failures.value_or(0))
		report.warnings.push_back(
			{"ecc_failures", fmt::format("could not be corrected by ECC in {} read{} since the board was started: "
						     "bytes of it are lost",
						     *counts.ecc_failures, *counts.ecc_failures == 1 ? "" : "s")});
	return report;
}

} // namespace flashctl
