// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "transfer.hpp"

#include <fmt/format.h>

#include "json.hpp"
#include "number.hpp"
#include "text.hpp"

namespace flashctl {

namespace {

const char *word_of(transfer::phase phase)
{
	switch (phase) {
	case transfer::phase::read:
		return "read";
	case transfer::phase::write:
		return "write";
	case transfer::phase::verify:
		break;
	}
	return "verify";
}

std::string text_of(transfer::phase phase, const std::string &partition, std::uint32_t size)
{
	switch (phase) {
	case transfer::phase::read:
		return fmt::format("reading {} of {}", human_size(size), partition);
	case transfer::phase::write:
		return fmt::format("writing {} to {}", human_size(size), partition);
	case transfer::phase::verify:
		break;
	}
	return fmt::format("verifying {} of {}", human_size(size), partition);
}

// 0 for what took no time that the clock shows.
std::uint64_t bytes_per_second(std::uint64_t size, std::chrono::microseconds taken)
{
	return taken.count() > 0 ? size * 1000000 / static_cast<std::uint64_t>(taken.count()) : 0;
}

std::string text_of_speed(std::uint64_t speed)
{
	constexpr double kib = 1024, mib = 1024 * kib;
	const auto bytes = static_cast<double>(speed);
	return bytes < mib ? fmt::format("{:.1f} KiB/s", bytes / kib) : fmt::format("{:.1f} MiB/s", bytes / mib);
}

// "62 % of 64 KiB, 1.4 MiB/s", as much of it as is known.
std::string text_of(const work_ahead &work)
{
	std::string text;
	if (work.total)
		text = fmt::format("{} % of {}", work.done * 100 / work.total, human_size(work.total));
	if (const std::uint64_t speed = bytes_per_second(work.done, work.taken))
		text += (text.empty() ? "" : ", ") + text_of_speed(speed);
	return text;
}

std::string in_front(const std::string &text)
{
	return text.empty() ? "" : text + ": ";
}

} // namespace

transfer::transfer(workplace &place, phase what, const range &bytes)
	: place_(place), phase_(what), partition_(bytes.device.name), size_(bytes.length), begin_(place.console.clock())
{
	if (is_told_as_json())
		tell_event("begin", 0);
	else if (!place.options.quiet && !place.options.json)
		tell_person();
}

transfer::~transfer()
{
	if (shown_)
		place_.console.show_step("");
}

void transfer::done()
{
	const std::chrono::microseconds taken = place_.console.clock() - begin_;
	work_ahead &work = place_.work;
	work.done += size_;
	work.taken += taken;
	if (is_told_as_json())
		tell_event("end", bytes_per_second(size_, taken));
	else if (in_lines_ && work.done == work.total)
		place_.console.complain("flashctl: " + text_of(work) + "\n");
}

bool transfer::is_told_as_json() const
{
	return place_.options.json && place_.options.progress;
}

void transfer::tell_event(const char *state, std::uint64_t bytes_per_second) const
{
	place_.console.print(
		json_event({word_of(phase_), state, partition_, size_, place_.work.done, place_.work.total, bytes_per_second}));
	place_.console.finish();
}

void transfer::tell_person()
{
	const std::string text = in_front(text_of(place_.work)) + text_of(phase_, printable(partition_), size_);
	shown_ = place_.console.errors_are_terminal() && !place_.options.verbose;
	in_lines_ = !shown_ && (place_.options.verbose || place_.options.progress);
	if (shown_)
		place_.console.show_step(text);
	if (in_lines_)
		place_.console.complain("flashctl: " + text + "\n");
}

} // namespace flashctl
