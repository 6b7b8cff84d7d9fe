// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Other processes of the board, for cases that need them.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace guest {

// Runs a program and gives what it wrote; throws when it does not exit with 0.
std::string output_of(const std::vector<std::string> &command);

// How a program ended.
struct ended_program {
	int exit;	    // 128 and the signal when one ended it
	std::string output; // what it wrote, to both of its streams
};

// What a program is started with.
struct surroundings {
	std::string input = "/dev/null";
	std::string errors = ""; // file of its standard error; empty: with its output
	uid_t user = 0;
};

// A program that runs beside this one, until end() or the end of the scope.
class started_program {
public:
	explicit started_program(const std::vector<std::string> &command, const surroundings &around = {});
	~started_program();
	started_program(const started_program &) = delete;
	started_program &operator=(const started_program &) = delete;

	// Waits for its end.
	ended_program end();

private:
	std::FILE *output_;
	pid_t process_;
};

// Runs a program to its end.
ended_program run_program(const std::vector<std::string> &command, const surroundings &around = {});

// Waits, for two minutes at most, until something has happened; a busy host can make a board very slow.
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
