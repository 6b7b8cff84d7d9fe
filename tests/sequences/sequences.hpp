// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Sequences of operations, each from power-on, compared with a model of what the documents say.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace sequences {

// The operations, by number.
std::size_t operation_count();
std::string_view operation_name(std::size_t operation);

struct counts {
	std::uint64_t sequences = 0; // made
	std::uint64_t calls = 0;
	std::uint64_t impossible = 0; // prefixes with an operation that cannot be: an export of a module that is not loaded, a second load
};

// The first and shortest sequence that does not do what the model says; nothing is wrong when `what` is empty.
struct counterexample {
	std::vector<std::size_t> operations;
	std::string what;

	std::string text() const;
};

// Makes all sequences of this length that begin with one of the operations from `first` up to before `end`. Each begins at power-on, with
// the module loaded; each call's answer is compared, and all that can be seen at the end.
counterexample try_all(std::size_t length, std::size_t first, std::size_t end, counts &of);

// The sequence that is being made, for who has to say where a rule of the simulation was broken.
const counterexample &now_tried();

// One sequence; what is wrong about it.
std::string try_one(const std::vector<std::size_t> &operations);

} // namespace sequences
