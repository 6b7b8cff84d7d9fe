// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the faults strike: one operation of the module in one situation.
//
// An operation is tried again and again on one board. Each try begins with start() and ends with settle(), and between the two run() is
// all that meets faults.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "harness.hpp"

namespace faults {

using harness::bytes;

// The bytes that an operation writes: a device by its number, and what has to be there afterwards.
struct target {
	int device;
	std::size_t offset;
	bytes data;
};

struct kept_memory {
	std::string_view function;
	long allocations = 0;
};

// Where a config entry cannot be allocated, the sections read for it stay.
inline constexpr kept_memory sections_without_entry = {"linux_kzalloc", 1};

struct operation {
	std::string name;			     // an exported function, a command, "load" or "unload"
	std::string scenario;			     // a word for the situation
	std::string board;			     // configuration, a file of tests/conformance/boards
	std::vector<harness::mtd_spec> devices = {}; // numbered from 0; each gets a content of its own
	bool on_loaded_module = true;

	// Brings about the situation.
	std::function<void()> start = [] {};
	// The operation itself; its code, 0 for one that has none.
	std::function<uint32_t()> run;
	// After code 0: whether everything is there that a success promises, bytes on the flash apart, which `written` tells.
	std::function<bool()> done = [] { return true; };
	// After code 0 in spite of an accepted fault: whether there is what the module promises then.
	std::function<bool()> done_in_part = [] { return false; };
	// Gives back what the operation rightly left behind.
	std::function<void()> settle = [] {};

	std::optional<target> written = std::nullopt;
	// Heap allocations that the module keeps on purpose: each time, and when a call of a function fails.
	long kept = 0;
	kept_memory kept_after = {};
};

using operations = std::vector<operation>;

operations transfers();	  // by name and by section
operations questions();	  // about partitions
operations commands();	  // of the control device
operations spi_flashes(); // through the flash driver
operations frame();	  // load, unload and the entry points without a task
operations tables();	  // what a load reads of the board description, one instance at a time

} // namespace faults
