// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// read and verify.
#include <fmt/format.h>

#include "commands.hpp"
#include "failure.hpp"
#include "files.hpp"
#include "partition.hpp"

namespace flashctl {

namespace {

void refuse_binary_on_terminal(const read_request &request, const console &console)
{
	if (request.output == "-" && !request.hex && console.output_is_terminal())
		throw failure{exit_status::usage, "binary data does not go to a terminal",
			      "use --output FILE, or --hex to look at it, or redirect standard output"};
}

byte_view view_of(const std::string &text)
{
	return std::as_bytes(std::span(text));
}

void give(const read_request &request, const bytes &data, console &console)
{
	const std::string dump = request.hex ? hex_dump(data, request.range.offset) : "";
	const byte_view content = request.hex ? view_of(dump) : byte_view(data);
	if (request.output == "-")
		console.print({reinterpret_cast<const char *>(content.data()), content.size()});
	else
		write_file(request.output, content);
}

// The rest of the partition, as far as it can be read.
std::uint64_t rest_of(workplace &place, const mtd_device &device, std::uint32_t offset)
{
	const std::uint32_t readable = readable_size(place, device);
	return offset < readable ? readable - offset : 0;
}

range wanted_range(workplace &place, const mtd_device &device, const range_request &request)
{
	range wanted = range_within(device, request, rest_of(place, device, request.offset));
	if (wanted.length == 0)
		throw failure{exit_status::usage, fmt::format("there is nothing to be read behind byte {}", request.offset),
			      "choose a smaller --offset or a --length of at least 1"};
	return wanted;
}

std::optional<difference> at_partition(std::optional<difference> differs, std::uint32_t offset)
{
	if (differs)
		differs->first += offset;
	return differs;
}

} // namespace

outcome run_command(const read_request &request, workplace &place)
{
	refuse_binary_on_terminal(request, place.console);
	open_device(place);
	const mtd_device device = find_listed(place, request.range.partition);
	const range wanted = wanted_range(place, device, request.range);
	place.work.total = wanted.length;
	const bytes data = read_range(place, wanted);
	give(request, data, place.console);
	return read_outcome{wanted, sha256(data), request.output};
}

outcome run_command(const verify_request &request, workplace &place)
{
	open_device(place);
	const mtd_device device = find_listed(place, request.range.partition);
	if (!request.sha256.empty()) {
		const range wanted = wanted_range(place, device, request.range);
		place.work.total = wanted.length;
		return verify_outcome{wanted, request.sha256, sha256(read_range(place, wanted)), std::nullopt};
	}
	const bytes expected = take_data(place, request.input, device, request.range);
	const range wanted = range_within(device, request.range, expected.size());
	place.work.total = wanted.length;
	const bytes found = read_range(place, wanted, expected);
	return verify_outcome{wanted, sha256(expected), sha256(found),
			      at_partition(compare(expected, found, 0, expected.size()), wanted.offset)};
}

} // namespace flashctl
