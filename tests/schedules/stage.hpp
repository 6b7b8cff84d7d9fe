// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The board that callers meet on, what they do there, and what is left when they are done.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "turns.hpp"

namespace schedules {

using bytes = std::vector<std::uint8_t>;

struct answer {
	std::uint64_t code = 0;
	bytes content = {};
};

// How the board is found.
enum class start {
	off,		// the module is not loaded
	off_and_broken, // nor can it be
	loaded,		// no flash driver, no SPI flash used yet
	with_driver,	// a flash driver is registered
	flash_known,	// and the SPI flashes were used
	flash_created,	// and have partitions
};
const char *name_of(start found);

enum class kind { command, exported, load, unload };

struct operation {
	std::string subject; // a command, an export, "load" or "unload"
	std::string what;    // on what
	kind is;
	bool moves_sections = false;
	bool of_spi_flash = false;  // meets others in the registry or the flash driver
	std::uint32_t instance = 0; // that it uses the SPI flash of
	// caller: whose memory it uses.
	std::function<answer(unsigned caller)> run;

	std::string name() const { return what.empty() ? subject : subject + "(" + what + ")"; }
};

// Every command and every export, on what makes them collide, then load and unload.
const std::vector<operation> &all_operations();

// Some operations that begin from one state of the board.
struct scene {
	start found;
	std::vector<const operation *> callers;
	bool last_kills_first = false; // one more caller: it kills the first one
	std::optional<failing_call> fails = std::nullopt;

	std::string name() const;
};

// How a schedule ended.
struct ending {
	struct record {
		std::uint32_t inst_id;
		std::string text;    // settings and names
		std::string made_by; // the first name says which caller's create gave the names; empty without names
	};
	std::vector<std::uint64_t> codes;	      // of the callers
	std::vector<record> records;		      // of SPI flashes
	std::map<std::uint32_t, std::string> created; // by instance: the caller whose partitions the flash driver made last
	std::string text;			      // all that can be told: answers, flash, registry, driver, memory held, messages
};

class stage {
public:
	explicit stage(turns &callers);

	// Power-on, the board, the module as the scene wants it, and the callers before their first step.
	void set(const scene &on);
	ending end() const;
	// Breaches of what holds at every end, empty when there are none.
	std::string left_over() const;

private:
	turns &turns_;
	std::array<answer, most_callers> answers_;
	std::size_t operations_ = 0;
};

} // namespace schedules
