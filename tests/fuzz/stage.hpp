// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The board that an input plays on, and what has to hold after each of its calls. A process in which it does not hold is ended.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "calls.hpp"

namespace fuzz {

// Says what is wrong, and ends the process.
[[noreturn]] void wrong(const std::string &what);

class stage {
public:
	// The devices of calls.hpp, each with a content of its own, and the module loaded, as far as the board's description lets it.
	explicit stage(std::string_view configuration);
	stage(const stage &) = delete;
	stage &operator=(const stage &) = delete;
	// Unloads; nothing is left but what SPI flashes leave.
	~stage();

	// Makes one call; gives its trace.
	std::vector<std::string> step(input &from);

	// From now on the sections are not those of the board's description.
	void sections_may_be_any() { sections_known_ = false; }
	// The next load may keep so many allocations on purpose.
	void may_keep(long allocations) { next_kept_ = allocations; }

private:
	made_call reload();
	void unload();
	void judge_held(const harness::holdings &before, const made_call &call);
	void judge_flash(const made_call &call);

	caller caller_;
	std::vector<bytes> contents_; // of the devices
	flash_account flashes_;
	long unloaded_heap_ = 0; // allocations that stay without the module: of flashes that were not destroyed
	long kept_ = 0;		 // by the latest load, at most
	long next_kept_ = 0;
	bool sections_known_ = true;
};

// Calls made by this process.
uint64_t calls_made();

} // namespace fuzz
