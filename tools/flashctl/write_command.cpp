// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// write: look at what is there, plan, ask, write, and compare all of it with what must be there.
#include <fmt/format.h>

#include "commands.hpp"
#include "failure.hpp"
#include "header_last.hpp"
#include "number.hpp"
#include "partition.hpp"
#include "resuming.hpp"
#include "writing.hpp"

namespace flashctl {

namespace {

bytes take_data(workplace &place, const write_request &request, const mtd_device &device)
{
	try {
		return take_data(place, request.input, device, request.range);
	} catch (const failure &) {
		leave_if_interrupted(place);
		throw;
	}
}

// The whole of it is there before the first write, a pipe's too.
void refuse_other_data(const write_request &request, const std::string &sum, std::size_t size)
{
	if (request.sha256.empty() || request.sha256 == sum)
		return;
	throw failure{exit_status::file,
		      fmt::format("{} has another SHA-256 than --sha256: {} ({} bytes); nothing was written",
				  request.input == "-" ? "standard input" : request.input, sum, size),
		      "get the image again; it is damaged, cut short or another one"};
}

// Those that a write leaves out. A header that is written last is written whole, unless nothing is written.
std::uint32_t count_held(const write_request &request, const write_outcome &planned, byte_view data, const picture &taken)
{
	const std::uint32_t header = request.last && planned.changes != 0u ? *request.last : 0;
	const range &written = planned.range;
	return held_blocks({written.device, written.offset + header, written.length - header}, data.subspan(header), taken);
}

void write_as_asked(workplace &place, const write_request &request, const range &written, byte_view data, const picture *taken)
{
	if (request.last && taken)
		write_header_last(place, written, data, *request.last, *taken, request.resume);
	else
		write_part(place, written, data, taken, request.resume);
}

// After a write that a signal came in.
std::string state_after_write(const write_outcome &written)
{
	if (written.verify == verification::none)
		return "the data was written and not read back";
	if (written.equal())
		return "the flash holds the new data, read back and verified";
	return "the flash does not hold what was written";
}

} // namespace

outcome run_command(const write_request &request, workplace &place)
{
	place.console.hold_signals();
	open_device(place);
	const mtd_device device = find_writable(place, request.range.partition);
	const bytes data = take_data(place, request, device);
	const std::string sum = sha256(data);
	refuse_other_data(request, sum, data.size());
	const range written = writable_range(device, request.range, data.size());
	if (request.last)
		check_header(place, written, data, *request.last);
	const bool used = is_known_to_be_used(place, device, request.forced);
	if (!request.dry_run)
		keep_others_out(place, device, used);

	write_outcome result;
	result.range = written;
	result.verify = request.verify;
	result.sha256 = sum;
	result.header = request.last;
	result.blocks = blocks_touched(written);

	expect_write(place, written, request.verify, request.dry_run);
	if (request.last && !request.dry_run)
		expect_header_last(place, written, *request.last);
	std::optional<picture> taken;
	if (request.verify != verification::none) {
		taken = take_picture(place, written, data, request.verify);
		result.changes = count_changes(*taken);
		if (request.resume)
			result.held_blocks = count_held(request, result, data, *taken);
	}
	leave_if_interrupted(place);
	if (request.dry_run)
		return result;
	if (result.changes == 0u) {
		result.done = write_outcome::action::unchanged;
		return result;
	}

	if (!request.yes)
		ask_person(place, fmt::format("Write {} bytes at {} of \"{}\" (mtd{})?", written.length, hex_number(written.offset),
					      device.name, device.number));
	leave_if_interrupted(place);
	write_as_asked(place, request, written, data, taken ? &*taken : nullptr);
	result.done = write_outcome::action::written;
	if (taken)
		check_written(place, *taken, result);
	if (const char *const name = place.console.signal())
		throw failure{result.equal() ? exit_status::interrupted : exit_status::mismatch,
			      fmt::format("{}: {}: \"{}\", {} bytes at {}", name, state_after_write(result), device.name, written.length,
					  hex_number(written.offset)),
			      ""};
	return result;
}

} // namespace flashctl
