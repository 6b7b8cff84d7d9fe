// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The console of the running program.
#pragma once

#include <thread>

#include "console.hpp"

namespace flashctl {

class terminal : public console {
public:
	bool output_is_terminal() const override;
	bool errors_are_terminal() const override;
	std::size_t width() const override;
	bool speaks_utf8() const override;
	void print(std::string_view text) override;
	void complain(std::string_view text) override;
	void show_step(const std::string &text) override;
	answer ask(const std::string &question) override;
	bytes take_input(std::size_t most) override;
	std::chrono::microseconds clock() const override;
	bool finish() override;
	void hold_signals() override;
	const char *signal() const override;

private:
	std::jthread ticker_; // redraws the step with the time that it takes
	bool output_failed_ = false;
};

// Whether the environment asks for no colours (NO_COLOR, TERM=dumb).
bool wants_no_colours();

} // namespace flashctl
