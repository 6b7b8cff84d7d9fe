// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A console that remembers, and a run of flashctl on it and on a simulated flash.
#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "console.hpp"
#include "run.hpp"
#include "simulated_flash.hpp"

namespace flashctl_tests {

class simulated_console : public flashctl::console {
public:
	std::string out, err;
	std::vector<std::string> steps, questions;
	bytes input;
	answer person = answer::yes;
	bool output_terminal = false, errors_terminal = false;
	bool output_breaks = false;
	std::size_t columns = 80;
	bool utf8 = false;

	bool output_is_terminal() const override { return output_terminal; }
	bool errors_are_terminal() const override { return errors_terminal; }
	std::size_t width() const override { return columns; }
	bool speaks_utf8() const override { return utf8; }
	void print(std::string_view text) override { out += text; }
	void complain(std::string_view text) override { err += text; }
	void show_step(const std::string &text) override { steps.push_back(text); }
	answer ask(const std::string &question) override
	{
		questions.push_back(question);
		if (when_asked)
			when_asked();
		return person;
	}
	bytes take_input(std::size_t most) override
	{
		return {input.begin(), input.begin() + static_cast<std::ptrdiff_t>(std::min(input.size(), most + 1))};
	}
	std::chrono::microseconds clock() const override { return now += tick; }
	bool finish() override { return !output_breaks; }
	void hold_signals() override { held = true; }
	const char *signal() const override { return held ? pending : nullptr; }

	std::function<void()> when_asked;
	std::chrono::microseconds tick = {}; // passes from one look at the clock to the next
	mutable std::chrono::microseconds now = {};
	bool held = false;
	const char *pending = nullptr; // the signal that came
};

// flashctl on the host, for a simulated board: flashctl("read", "usrdata", ...) gives the exit status.
struct host {
	simulated_flash flash;
	simulated_console console;

	template <typename... argument_types> int flashctl(const argument_types &...arguments) { return run({std::string(arguments)...}); }

	int run(const std::vector<std::string> &arguments)
	{
		console.out.clear();
		console.err.clear();
		return flashctl::run(arguments, flash, console);
	}
};

} // namespace flashctl_tests
