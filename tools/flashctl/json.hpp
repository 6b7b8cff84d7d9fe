// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Results in JSON, as flashctl.schema.json describes it.
#pragma once

#include <string>

#include "failure.hpp"
#include "outcome.hpp"

namespace flashctl {

// A transfer begins or ended; see class transfer.
struct transfer_event {
	const char *phase, *state;
	std::string partition;
	std::uint64_t bytes, done_bytes, total_bytes; // a total of 0 is not known
	std::uint64_t bytes_per_second;		      // 0: not known, or it only begins
};

// A line.
std::string json_event(const transfer_event &event);

// One object and a line end, all of it in one line where that is asked for. Both pointers may be nullptr, and both may be given: a
// comparison that came out badly has a result.
std::string json_report(const std::string &command, const outcome *found, const failure *wrong, bool one_line = false);

} // namespace flashctl
