// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "writing.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>

#include "failure.hpp"
#include "number.hpp"
#include "partition.hpp"
#include "text.hpp"
#include "transfer.hpp"

namespace flashctl {

namespace {

// The whole partition as far as it can be read, which includes its usable bytes; or the range alone.
range area_of(workplace &place, const range &written, verification verify)
{
	if (verify == verification::range)
		return written;
	const std::uint32_t end = written.offset + written.length;
	return {written.device, 0, std::max(readable_size(place, written.device), end)};
}

// What became of the flash when the write failed.
std::string state_after_failure(workplace &place, const picture &taken)
{
	bytes found(taken.area.length);
	if (!place.flash.read(taken.area.device.name, taken.area.offset, found).ok())
		return "it cannot be read back, so its content is unknown";
	if (found == taken.before)
		return "its content is as before";
	if (found == taken.wanted)
		return "it holds the new data all the same";
	return fmt::format("{} of {} compared bytes are not as before", compare(taken.before, found, 0, found.size())->count, found.size());
}

failure not_written(workplace &place, const range &written, const flash_mng::status &answer, const picture *taken)
{
	failure refused = failed(
		fmt::format("\"{}\" cannot be written ({} bytes at {})", written.device.name, written.length, hex_number(written.offset)),
		answer, asked_for::write, place.flash.platform_codes());
	refused.message += "; " + (taken ? state_after_failure(place, *taken) : "it was not read back, so its content is unknown");
	return refused;
}

bytes read_back(workplace &place, const picture &taken)
{
	try {
		return read_range(place, taken.area, taken.wanted);
	} catch (failure &unreadable) {
		unreadable.message += "; the data was written but could not be verified";
		throw;
	}
}

std::optional<difference> at_partition(std::optional<difference> differs, const picture &taken)
{
	if (differs)
		differs->first += taken.area.offset;
	return differs;
}

failure not_locked(const mtd_device &device, const flash_mng::status &answer)
{
	failure refused = failed("the lock against a second writer cannot be taken", answer);
	if (refused.exit == exit_status::busy)
		return {exit_status::busy, "another flashctl is writing", "try again when it is done", answer};
	if (answer.error() == ENOSYS)
		refused.hint =
			fmt::format("the kernel has no file locks (CONFIG_FILE_LOCKING), and /dev/mtdblock{} cannot be claimed instead: "
				    "there is none (CONFIG_MTD_BLOCK)",
				    device.number);
	if (answer.error() == EACCES)
		refused.hint = fmt::format(
			"the kernel has no file locks (CONFIG_FILE_LOCKING), and this user may not claim /dev/mtdblock{} instead",
			device.number);
	return refused;
}

bool is_forced(const std::vector<danger> &forced, danger kind)
{
	return std::ranges::find(forced, kind) != forced.end();
}

} // namespace

bool is_known_to_be_used(workplace &place, const mtd_device &device, const std::vector<danger> &forced)
{
	const auto uses = place.flash.uses(device);
	for (const device_use &use : uses)
		if (!is_forced(forced, use.kind))
			throw failure{exit_status::busy, fmt::format("\"{}\" {}", device.name, use.words),
				      fmt::format("{}; --force {} writes all the same", use.hint, word_of(use.kind))};
	return !uses.empty() || is_forced(forced, danger::claimed);
}

void keep_others_out(workplace &place, const mtd_device &device, bool used)
{
	const flash_mng::status answer = place.flash.lock(device);
	if (answer.error() == EBUSY && !used)
		throw failure{exit_status::busy,
			      fmt::format("\"{}\" is in use: somebody has claimed /dev/mtdblock{}", device.name, device.number),
			      "try again when that is done; --force claimed writes all the same", answer};
	if (!answer.ok() && answer.error() != EBUSY)
		throw not_locked(device, answer);
}

void ask_person(workplace &place, const std::string &question)
{
	if (!place.console.errors_are_terminal())
		return;
	const auto answer = place.console.ask(printable(question));
	leave_if_interrupted(place);
	switch (answer) {
	case console::answer::yes:
		return;
	case console::answer::no:
		throw failure{exit_status::declined, "nothing was written", ""};
	case console::answer::nobody:
		throw failure{exit_status::declined, "nobody could be asked; nothing was written", "--yes writes without asking"};
	}
}

std::uint32_t blocks_touched(const range &written)
{
	const std::uint32_t block = std::max(written.device.erase_size, 1u);
	return (written.offset + (written.length - 1)) / block - written.offset / block + 1;
}

void expect_write(workplace &place, const range &written, verification verify, bool dry_run)
{
	const std::uint64_t compared = verify == verification::none ? 0 : area_of(place, written, verify).length;
	place.work.total = dry_run ? compared : compared + written.length + compared;
}

picture take_picture(workplace &place, const range &written, byte_view data, verification verify)
{
	picture taken = {area_of(place, written, verify), 0, 0, {}, {}};
	taken.begin = written.offset - taken.area.offset;
	taken.end = taken.begin + written.length;
	try {
		taken.before = read_range(place, taken.area);
	} catch (failure &unreadable) {
		unreadable.message += "; nothing was written";
		if (verify == verification::all)
			unreadable.hint +=
				(unreadable.hint.empty() ? "" : "; ") + std::string("--verify range looks at the bytes to be written only");
		throw;
	}
	taken.wanted = taken.before;
	std::ranges::copy(data, taken.wanted.begin() + static_cast<std::ptrdiff_t>(taken.begin));
	return taken;
}

std::uint64_t count_changes(const picture &taken)
{
	const auto differs = compare(taken.wanted, taken.before, taken.begin, taken.end);
	return differs ? differs->count : 0;
}

void leave_if_interrupted(workplace &place)
{
	if (const char *const name = place.console.signal())
		throw failure{exit_status::interrupted, std::string(name) + ": nothing was written", ""};
}

void write_data(workplace &place, const range &written, byte_view data, const picture *taken)
{
	flash_mng::status answer;
	{
		transfer telling(place, transfer::phase::write, written);
		answer = place.flash.write(written.device.name, written.offset, data);
		if (answer.ok())
			telling.done();
	}
	if (answer.ok())
		return;
	throw not_written(place, written, answer, taken);
}

void check_written(workplace &place, const picture &taken, write_outcome &result)
{
	const bytes found = read_back(place, taken);
	result.compared = found.size();
	result.found_sha256 = sha256(byte_view(found).subspan(taken.begin, taken.end - taken.begin));
	result.range_differs = at_partition(compare(taken.wanted, found, taken.begin, taken.end), taken);
	result.around_differs = at_partition(compare_around(taken.wanted, found, taken.begin, taken.end), taken);
}

} // namespace flashctl
