// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "partition.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string_view>

#include "failure.hpp"
#include "files.hpp"
#include "name_match.hpp"
#include "number.hpp"
#include "transfer.hpp"

namespace flashctl {

namespace {

constexpr std::uint64_t most_bytes = UINT32_MAX;

std::vector<std::string> names_of(const std::vector<mtd_device> &devices)
{
	std::vector<std::string> names(devices.size());
	std::ranges::transform(devices, names.begin(), &mtd_device::name);
	return names;
}

failure beyond_end(const mtd_device &device, std::uint64_t offset, std::uint64_t length)
{
	const std::uint64_t end = std::min(device.size, most_bytes);
	return {exit_status::usage,
		fmt::format("{} byte{} at {} end{} beyond \"{}\", which has {} ({} bytes)", length, length == 1 ? "" : "s",
			    hex_number(offset), length == 1 ? "s" : "", device.name, human_size(device.size), device.size),
		offset < end ? fmt::format("at most {} byte{} there", end - offset, end - offset == 1 ? " fits" : "s fit")
			     : "choose a smaller --offset"};
}

// "mtd3", "/dev/mtd3", "/dev/mtdblock3" and "3" are no names.
std::optional<std::uint32_t> number_meant(std::string_view typed)
{
	for (const std::string_view before : {"/dev/", "mtdblock", "mtd"})
		if (typed.starts_with(before))
			typed.remove_prefix(before.size());
	const auto number = tools::parse_number(typed, UINT32_MAX);
	return number ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt;
}

std::string hint_for(const std::string &typed, const std::vector<mtd_device> &devices)
{
	if (const auto number = number_meant(typed)) {
		const auto meant = std::ranges::find(devices, *number, &mtd_device::number);
		if (meant != devices.end())
			return fmt::format("the name of mtd{} is \"{}\"", *number, meant->name);
	}
	const std::string similar = did_you_mean(typed, names_of(devices));
	return similar.empty() ? "\"flashctl list\" shows the partitions of this board" : similar;
}

std::string told_by_log(const std::vector<std::string> &lines)
{
	return lines.empty() ? "; the log tells nothing of a load that this user may read (dmesg)"
			     : fmt::format("; the log says of the last load:\n  {}", fmt::join(lines, "\n  "));
}

failure not_opened(workplace &place, const std::string &path, const flash_mng::status &answer)
{
	failure refused = failed(path + " cannot be opened", answer);
	if (refused.exit == exit_status::no_module)
		refused.hint =
			"load the module flash_mng (modprobe flash_mng); whether it is loaded is told by this node and by the log, not "
			"by modprobe or insmod" +
			told_by_log(place.flash.load_log());
	if (refused.exit == exit_status::denied)
		refused.hint = "the node's mode decides who may use the flash; try as root";
	return refused;
}

} // namespace

void open_device(workplace &place)
{
	const flash_mng::status answer = place.flash.open(place.options.device);
	if (answer.ok())
		return;
	throw not_opened(place, place.options.device, answer);
}

std::vector<mtd_device> all_devices(workplace &place)
{
	auto devices = place.flash.devices();
	if (!devices)
		throw failed("the MTD devices cannot be listed", devices.status());
	return std::move(*devices);
}

mtd_device find_device(workplace &place, const std::string &name)
{
	const std::vector<mtd_device> devices = all_devices(place);
	const auto found = std::ranges::find(devices, name, &mtd_device::name);
	if (found != devices.end())
		return *found;
	throw failure{exit_status::not_found, "there is no partition \"" + name + "\"", hint_for(name, devices)};
}

mtd_device find_listed(workplace &place, const std::string &name)
{
	mtd_device device = find_device(place, name);
	if (!device.listed)
		throw failed("\"" + name + "\" cannot be read or written by programs", flash_mng::status::from_code(FLASH_MNG_NOT_LISTED));
	return device;
}

std::uint32_t readable_size(workplace &place, const mtd_device &device)
{
	const std::uint64_t bad = std::uint64_t{place.flash.bad_blocks(device)} * device.erase_size;
	return static_cast<std::uint32_t>(std::min(device.size - std::min(bad, device.size), most_bytes));
}

mtd_device find_writable(workplace &place, const std::string &name)
{
	mtd_device device = find_listed(place, name);
	if (!device.writable)
		throw failure{exit_status::unsupported, "\"" + name + "\" is read-only",
			      "the flags of the MTD device forbid that it is written"};
	return device;
}

range writable_range(const mtd_device &device, const range_request &request, std::uint64_t length)
{
	range wanted = range_within(device, request, length);
	const std::uint64_t end = std::uint64_t{wanted.offset} + wanted.length;
	if (!device.usable || end <= *device.usable)
		return wanted;
	const std::uint32_t usable = *device.usable;
	throw failure{exit_status::usage,
		      fmt::format("{} byte{} at {} end{} beyond the usable bytes of \"{}\", which are {} ({} bytes)", wanted.length,
				  wanted.length == 1 ? "" : "s", hex_number(wanted.offset), wanted.length == 1 ? "s" : "", device.name,
				  human_size(usable), usable),
		      wanted.offset < usable ? fmt::format("at most {} byte{} there", usable - wanted.offset,
							   usable - wanted.offset == 1 ? " fits" : "s fit")
					     : "choose a smaller --offset; avail_size, in the board's XML, says how many are usable"};
}

range range_within(const mtd_device &device, const range_request &request, std::uint64_t length)
{
	const std::uint64_t wanted = request.length ? *request.length : length;
	if (request.offset >= device.size || wanted > device.size - request.offset || wanted + request.offset > most_bytes)
		throw beyond_end(device, request.offset, wanted);
	return {device, request.offset, static_cast<std::uint32_t>(wanted)};
}

bytes read_range(workplace &place, const range &wanted, byte_view expected)
{
	transfer telling(place, expected.empty() ? transfer::phase::read : transfer::phase::verify, wanted);
	bytes data(wanted.length);
	std::ranges::transform(expected, data.begin(), [](std::byte byte) { return ~byte; });
	const flash_mng::status answer = place.flash.read(wanted.device.name, wanted.offset, data);
	if (!answer.ok())
		throw failed(
			fmt::format("\"{}\" cannot be read ({} bytes at {})", wanted.device.name, wanted.length, hex_number(wanted.offset)),
			answer, asked_for::read, place.flash.platform_codes());
	telling.done();
	return data;
}

bytes take_data(workplace &place, const std::string &path, const mtd_device &device, const range_request &request)
{
	const std::uint64_t room = std::min(device.size, most_bytes) - std::min<std::uint64_t>(request.offset, device.size);
	const std::size_t most = request.length ? *request.length : room;
	bytes data = path == "-" ? place.console.take_input(most) : read_file(path, most);
	const std::string from = path == "-" ? "standard input" : path;

	if (data.empty())
		throw failure{exit_status::usage, from + " is empty", "give a file with at least 1 byte"};
	if (!request.length && data.size() > room)
		throw failure{
			exit_status::usage,
			fmt::format("{} has more bytes than \"{}\" has behind {}", from, device.name, hex_number(request.offset)),
			fmt::format("at most {} byte{} there; --length takes the first bytes only", room, room == 1 ? " fits" : "s fit")};
	if (request.length && data.size() < *request.length)
		throw failure{exit_status::usage,
			      fmt::format("{} has {} bytes, fewer than --length {}", from, data.size(), *request.length),
			      "leave out --length to take all of them"};
	if (request.length)
		data.resize(*request.length);
	return data;
}

} // namespace flashctl
