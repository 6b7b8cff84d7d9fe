// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// One transfer of a command, told to a person or a program. How far a single transfer is nobody knows: the module makes it in one piece.
// How far a command with several of them is, is told between them.
#pragma once

#include <chrono>
#include <string>

#include "commands.hpp"

namespace flashctl {

class transfer {
public:
	enum class phase { read, write, verify };

	// Tells that it begins: as a line of JSON, on a terminal until it is over, or as a line; see options.
	transfer(workplace &place, phase what, const range &bytes);
	transfer(const transfer &) = delete;
	transfer &operator=(const transfer &) = delete;
	~transfer();

	// All bytes went over; a transfer without this failed.
	void done();

private:
	bool is_told_as_json() const;
	void tell_event(const char *state, std::uint64_t bytes_per_second) const;
	void tell_person();

	workplace &place_;
	const phase phase_;
	const std::string partition_;
	const std::uint32_t size_;
	const std::chrono::microseconds begin_;
	bool shown_ = false;
	bool in_lines_ = false;
};

} // namespace flashctl
