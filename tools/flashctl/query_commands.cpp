// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// list, info, map, spi, explain: questions that touch no flash content.
#include <fmt/format.h>

#include "commands.hpp"
#include "failure.hpp"
#include "mtd_words.hpp"
#include "partition.hpp"

namespace flashctl {

namespace {

constexpr std::size_t most_messages = 5; // that are told at once

std::optional<flash_mng::user_data> ask_for_user_data(workplace &place)
{
	const auto exists = place.flash.has_user_data();
	if (!exists)
		throw failed("whether there is a NAND partition for user data cannot be told", exists.status());
	if (!*exists)
		return std::nullopt;
	const auto told = place.flash.user_data();
	if (!told)
		throw failed("the NAND partition for user data cannot be described", told.status());
	return *told;
}

partition_info describe(workplace &place, const mtd_device &device)
{
	return {device, place.flash.bad_blocks(device), examine(device, place.flash.counts(device))};
}

flash_mng::result<spi_controller_config> look_up(const spi_request &request, flash &flash)
{
	return request.instance ? flash.find_spi_flash(*request.instance) : flash.find_spi_flash(request.name);
}

std::string spi_flash_wanted(const spi_request &request)
{
	return request.instance ? fmt::format("the SPI flash of instance {:#x}", static_cast<std::uint32_t>(*request.instance))
				: fmt::format("the SPI flash with a partition \"{}\"", request.name);
}

// A line that fits nothing is looked for as words of a message.
std::vector<explained_message> explain_message(const std::string &line)
{
	auto found = messages_of_line(line);
	if (found.empty())
		found = messages_with(line);
	if (found.empty())
		throw failure{exit_status::not_found, fmt::format("no message is like \"{}\"", line),
			      "give a line of the kernel log as it stands there, or some words of it that are no values"};
	if (found.size() > most_messages)
		throw failure{exit_status::not_found, fmt::format("{} messages have \"{}\"", found.size(), line), "give more of the line"};
	return found;
}

} // namespace

outcome run_command(const list_request &request, workplace &place)
{
	open_device(place);
	list_outcome found = {all_devices(place)};
	if (request.health)
		for (const mtd_device &device : found.devices)
			found.health.push_back(examine(device, place.flash.counts(device)));
	return found;
}

outcome run_command(const info_request &request, workplace &place)
{
	open_device(place);
	info_outcome found;
	if (!request.partition.empty()) {
		found.partitions.push_back(describe(place, find_device(place, request.partition)));
	} else {
		for (const mtd_device &device : all_devices(place))
			if (is_nand(device.type))
				found.partitions.push_back(describe(place, device));
	}
	found.user_data = ask_for_user_data(place);
	return found;
}

outcome run_command(const map_request &request, workplace &place)
{
	open_device(place);
	map_outcome drawn = {request.scan, {}};
	const auto devices =
		request.partition.empty() ? all_devices(place) : std::vector<mtd_device>{find_device(place, request.partition)};
	for (const mtd_device &device : devices) {
		auto blocks = place.flash.blocks(device, request.scan);
		if (!blocks && request.scan)
			throw failed(fmt::format("the blocks of \"{}\" cannot be read", device.name), blocks.status());
		drawn.partitions.push_back(
			{device, examine(device, place.flash.counts(device)), blocks ? std::optional(std::move(*blocks)) : std::nullopt});
	}
	return drawn;
}

outcome run_command(const spi_request &request, workplace &place)
{
	open_device(place);
	const auto found = look_up(request, place.flash);
	if (is_unwritten_count(found.status().code()))
		throw failure{exit_status::flash,
			      fmt::format("{} cannot be told: {} bytes of the answer could not be written", spi_flash_wanted(request),
					  found.status().code()),
			      "", found.status()};
	if (!found)
		throw failed(spi_flash_wanted(request) + " cannot be told", found.status());
	return spi_outcome{*found};
}

outcome run_command(const explain_request &request, workplace &)
{
	if (!request.message.empty())
		return explain_outcome{{}, explain_message(request.message)};
	explain_outcome told = {request.code ? std::vector{explain_code(*request.code)} : all_codes(), {}};
	for (code_words &words : told.codes)
		if (is_unwritten_count(words.code))
			words.meaning += "; after a lookup of an SPI flash: so many bytes of the answer could not be written";
	return told;
}

} // namespace flashctl
