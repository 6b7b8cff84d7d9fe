// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Other processes of the board, for cases that need them.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace guest {

// Runs a program and gives what it wrote; throws when it does not exit with 0.
std::string output_of(const std::vector<std::string> &command);

// Waits, for some seconds at most, until something has happened.
bool comes_true(const std::function<bool()> &happened);

// A child of this process that does its work for ever, until it is killed at the end of the scope at the latest.
class endless_process {
public:
	explicit endless_process(const std::function<void()> &work);
	~endless_process() { end(); }
	endless_process(const endless_process &) = delete;
	endless_process &operator=(const endless_process &) = delete;

	// Sends SIGKILL and waits for the end.
	void end();

private:
	pid_t process_;
};

} // namespace guest
