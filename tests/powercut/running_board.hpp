// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A board that a bench runs and kills, and the file of its flash.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace powercut {

// read_image(), write_image() - the content of the flash. Both throw when the file cannot be read or written.
std::vector<std::uint8_t> read_image(const std::string &path, std::size_t size);
void write_image(const std::string &path, const std::vector<std::uint8_t> &image);

// A board that runs; it is killed at the latest when this goes.
class running_board {
public:
	using clock = std::chrono::steady_clock;

	explicit running_board(const std::vector<std::string> &command);
	running_board(const running_board &) = delete;
	running_board &operator=(const running_board &) = delete;
	~running_board();

	// Reads what the board says until it has said the text so many times, the time is over, or the board ends. Gives whether it has.
	bool listen(const char *text, clock::time_point until, std::size_t times = 1);

	void cut_power();

	// All that the board said; after a cut too.
	const std::string &everything();
	const std::string &said() const { return said_; }

private:
	[[noreturn]] static void become(const std::vector<std::string> &command, int output);
	bool has(const char *text, std::size_t times) const;
	bool take();

	pid_t pid_;
	int output_;
	std::string said_;
};

} // namespace powercut
