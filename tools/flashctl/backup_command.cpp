// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// backup: every partition that programs can read, twice, into a new folder.
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

#include "backup_folder.hpp"
#include "commands.hpp"
#include "failure.hpp"
#include "partition.hpp"

namespace flashctl {

namespace {

range whole(workplace &place, const mtd_device &device)
{
	const std::uint32_t readable = readable_size(place, device);
	return {device, 0, std::min(device.usable.value_or(readable), readable)};
}

// A manifest is text.
void refuse_name_that_is_no_text(const mtd_device &device)
{
	try {
		(void)nlohmann::json(device.name).dump();
	} catch (const nlohmann::json::exception &) {
		throw failure{exit_status::unsupported, fmt::format("the name of mtd{} is no UTF-8", device.number),
			      "\"flashctl read\" copies it"};
	}
}

// The kernel's names need not be unique; the module knows the first device of a name.
std::vector<range> all_ranges(workplace &place)
{
	std::vector<range> all;
	for (const mtd_device &device : all_devices(place)) {
		const bool again = std::ranges::find(all, device.name, [](const range &known) { return known.device.name; }) != all.end();
		if (device.listed && !again)
			all.push_back(whole(place, device));
	}
	std::erase_if(all, [](const range &wanted) { return wanted.length == 0; });
	if (all.empty())
		throw failure{exit_status::not_found, "this board has no partition that programs can read",
			      "its XML lists them in \"mtd_info\""};
	return all;
}

std::vector<range> named_ranges(workplace &place, std::vector<std::string> names)
{
	std::ranges::sort(names);
	names.erase(std::unique(names.begin(), names.end()), names.end());
	std::vector<range> ranges;
	ranges.reserve(names.size());
	for (const std::string &name : names)
		ranges.push_back(whole(place, find_listed(place, name)));
	for (const range &wanted : ranges)
		if (wanted.length == 0)
			throw failure{exit_status::unsupported, "\"" + wanted.device.name + "\" has no usable bytes", ""};
	return ranges;
}

// A read that gives nothing, and a partition that is written meanwhile, do not give the same twice.
bytes read_twice(workplace &place, const range &wanted)
{
	bytes data = read_range(place, wanted);
	const auto differs = compare(data, read_range(place, wanted, data), 0, data.size());
	if (differs)
		throw failure{
			exit_status::mismatch,
			fmt::format("\"{}\" was read twice and {} bytes differ; no backup was made", wanted.device.name, differs->count),
			"stop what writes to it meanwhile, or look for errors of the flash in the kernel log"};
	return data;
}

void stop_if_interrupted(workplace &place, std::size_t done, std::size_t all)
{
	if (const char *const name = place.console.signal())
		throw failure{exit_status::interrupted,
			      fmt::format("{}: no backup was made: {} of {} partitions had been copied, and were removed", name, done, all),
			      ""};
}

} // namespace

outcome run_command(const backup_request &request, workplace &place)
{
	place.console.hold_signals();
	open_device(place);
	const std::vector<range> ranges = request.partitions.empty() ? all_ranges(place) : named_ranges(place, request.partitions);
	for (const range &wanted : ranges)
		refuse_name_that_is_no_text(wanted.device);

	new_backup backup(request.folder);
	for (const range &wanted : ranges)
		place.work.total += 2 * std::uint64_t{wanted.length};
	std::size_t done = 0;
	for (const range &wanted : ranges) {
		stop_if_interrupted(place, done, ranges.size());
		backup.add(wanted.device, read_twice(place, wanted));
		++done;
	}
	stop_if_interrupted(place, done, ranges.size());
	return backup_outcome{request.folder, backup.finish()};
}

} // namespace flashctl
