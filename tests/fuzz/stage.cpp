// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "stage.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "simulation.hpp"

namespace fuzz {

namespace {

uint64_t g_calls_made;

// The board is power-on fresh before the memory of the calling program is made.
caller on_fresh_board(std::string_view configuration)
{
	harness::reset();
	harness::configure(configuration);
	return {};
}

bytes first_content(std::size_t device)
{
	bytes made(device_size);
	for (std::size_t i = 0; i < made.size(); ++i)
		made[i] = static_cast<uint8_t>(i * 31 + (i >> 8) * 7 + device);
	return made;
}

bool is_transfer(const made_call &call)
{
	return call.what == kind::read || call.what == kind::write;
}

} // namespace

void wrong(const std::string &what)
{
	std::fprintf(stderr, "fuzz: %s\n", what.c_str());
	std::abort();
}

uint64_t calls_made()
{
	return g_calls_made;
}

stage::stage(std::string_view configuration) : caller_(on_fresh_board(configuration))
{
	for (std::size_t i = 0; i < devices.size(); ++i) {
		harness::add_mtd({.name = devices[i].name, .size = device_size, .type = devices[i].type, .erase_size = erase_size});
		contents_.push_back(first_content(i));
		harness::set_mtd_content(static_cast<int>(i), 0, contents_.back());
	}
	reload();
	harness::forget();
}

stage::~stage()
{
	unload();
	harness::reset();
}

std::vector<std::string> stage::step(input &from)
{
	const harness::holdings before = harness::held();
	made_call call = {.what = kind::reload};
	if (harness::loaded())
		call = caller_.make(from);
	if (call.what == kind::reload)
		call = reload();
	++g_calls_made;
	judge_held(before, call);
	judge_flash(call);
	auto trace = harness::calls();
	simulation::reset_calls();
	simulation::forget_log();
	return trace;
}

made_call stage::reload()
{
	unload();
	kept_ = std::exchange(next_kept_, 0);
	const uint32_t code = harness::load();
	if (!harness::loaded())
		unload();
	return {.what = kind::reload, .code = code};
}

void stage::unload()
{
	if (harness::loaded())
		harness::unload();
	flashes_.forget();
	const long left = harness::held().heap - unloaded_heap_;
	if (left < 0 || left > kept_)
		wrong(std::to_string(left) + " heap allocations stay after the unload");
	unloaded_heap_ += left;
}

void stage::judge_held(const harness::holdings &before, const made_call &call)
{
	const harness::holdings now = harness::held();
	if (now.virtual_memory || now.mtd_references || now.open_files || now.locks)
		wrong("virtual memory, a device, a file or a lock is still held");
	if (!flashes_.enter(call.flash, call.inst_id, call.code, now.heap - before.heap))
		wrong("the destroy of an SPI flash changed the heap by " + std::to_string(now.heap - before.heap) + " allocations");
	if (call.what == kind::spi_flash)
		unloaded_heap_ += now.heap - before.heap;
	else if (call.what != kind::reload && now.heap != before.heap)
		wrong("the heap has " + std::to_string(now.heap) + " allocations instead of " + std::to_string(before.heap));
}

void stage::judge_flash(const made_call &call)
{
	const bool exact = sections_known_ || !call.by_section;
	if (is_transfer(call) && call.code == 0 && exact && !call.touched)
		wrong("a transfer that cannot be made succeeds");
	for (std::size_t i = 0; i < devices.size(); ++i) {
		bytes present = harness::mtd_content(static_cast<int>(i), 0, device_size);
		if (!exact)
			contents_[i] = present;
		if (call.what == kind::write && call.touched && call.touched->device == i) {
			const auto start = static_cast<std::ptrdiff_t>(call.touched->offset);
			const auto end = start + static_cast<std::ptrdiff_t>(call.touched->length);
			if (call.code == 0 && exact && !std::equal(present.begin() + start, present.begin() + end, call.data.begin()))
				wrong(std::string(devices[i].name) + " does not hold what was written");
			std::copy(present.begin() + start, present.begin() + end, contents_[i].begin() + start);
		}
		if (present != contents_[i])
			wrong(std::string(devices[i].name) + " has changed beside what was written");
	}
	if (call.what == kind::read && call.code == 0 && exact &&
	    !std::equal(call.data.begin(), call.data.begin() + static_cast<std::ptrdiff_t>(call.touched->length),
			contents_[call.touched->device].begin() + static_cast<std::ptrdiff_t>(call.touched->offset)))
		wrong(std::string(devices[call.touched->device].name) + " was not read as it is");
}

} // namespace fuzz
