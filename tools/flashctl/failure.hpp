// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// How flashctl ends, and the failures that it reports.
#pragma once

#include <optional>
#include <string>

#include "code_words.hpp"
#include "flash_mng/status.hpp"

namespace flashctl {

// The program's exit status; documented in flashctl.1.
enum class exit_status : int {
	done = 0,
	file = 1,	  // a file or stream on this side could not be read or written
	usage = 2,	  // wrong command line, or a range that the partition does not have
	not_found = 3,	  // no such partition, SPI flash or user data
	denied = 4,	  // no right to open the device
	no_module = 5,	  // flash_mng is not loaded
	flash = 6,	  // the module or the flash failed; the state of the flash is told where it is known
	mismatch = 7,	  // the flash does not hold what it should
	busy = 8,	  // another flashctl writes, or something else uses the partition
	unsupported = 9,  // the board does not offer this for the partition
	declined = 10,	  // the question was not answered with yes
	no_memory = 11,	  // the kernel or this program had not enough memory
	interrupted = 12, // a signal ended it; what the flash holds is told
};

// One word for each, as "kind" in JSON.
const char *kind_of(exit_status exit);

// Thrown where a command cannot go on. The message says what was wrong and where, the hint (may be empty) what to do.
struct failure {
	exit_status exit;
	std::string message;
	std::string hint;
	flash_mng::status cause = {};	     // the status behind it, if there is one
	std::optional<code_words> code = {}; // in words, when the cause is a code
};

// The exception that is being handled, as a failure.
failure failure_in_flight();

// What a status means for the exit status.
exit_status exit_of(const flash_mng::status &status);

// The failure of an action, for example "usrdata cannot be read", with the status in words.
failure failed(const std::string &action, const flash_mng::status &status);

// The same for a code that the platform may have given in answer to such a command.
failure failed(const std::string &action, const flash_mng::status &status, asked_for where, const platform_table &platform);

} // namespace flashctl
