// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// write: look at what is there, plan, ask, write, and compare all of it with what must be there.
#include <fmt/format.h>

#include "commands.hpp"
#include "failure.hpp"
#include "number.hpp"
#include "partition.hpp"
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
	const range written = writable_range(device, request.range, data.size());
	const bool used = is_known_to_be_used(place, device, request.forced);
	if (!request.dry_run)
		keep_others_out(place, device, used);

	write_outcome result;
	result.range = written;
	result.verify = request.verify;
	result.sha256 = sha256(data);
	result.blocks = blocks_touched(written);

	expect_write(place, written, request.verify, request.dry_run);
	std::optional<picture> taken;
	if (request.verify != verification::none) {
		taken = take_picture(place, written, data, request.verify);
		result.changes = count_changes(*taken);
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
	write_data(place, written, data, taken ? &*taken : nullptr);
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
