// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The streams of the program and the person behind them. The real one is terminal; tests have one that remembers.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "bytes.hpp"

namespace flashctl {

class console {
public:
	enum class answer { yes, no, nobody };

	virtual ~console() = default;

	virtual bool output_is_terminal() const = 0;
	virtual bool errors_are_terminal() const = 0;

	virtual std::size_t width() const = 0; // columns of standard output; 80 where that is not known
	virtual bool speaks_utf8() const = 0;  // whether standard output shows UTF-8, by the environment

	virtual void print(std::string_view text) = 0;	  // standard output, binary data too
	virtual void complain(std::string_view text) = 0; // standard error

	// Shows on a terminal what is going on and for how long; an empty text ends it.
	virtual void show_step(const std::string &text) = 0;

	// Asks a person on the terminal; `nobody` when errors go to a terminal that cannot answer.
	virtual answer ask(const std::string &question) = 0;

	// Standard input to its end, or one byte more than `most`. Throws failure.
	virtual bytes take_input(std::size_t most) = 0;

	// From now on signals that would end the program (SIGINT, SIGTERM, SIGHUP) are only remembered; they end waiting for input with a
	// failure. A stream that nobody reads any more does not end the program either.
	virtual void hold_signals() = 0;

	// The name of the first one since then; nullptr when none came.
	virtual const char *signal() const = 0;

	// Time since some moment in the past; it never goes back.
	virtual std::chrono::microseconds clock() const = 0;

	// Whether everything printed so far has arrived; once not, never again.
	virtual bool finish() = 0;
};

} // namespace flashctl
