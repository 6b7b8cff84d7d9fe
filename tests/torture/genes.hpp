// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// An input of the fuzzer: up to some calls, each a gene of eight numbers. Any numbers make a call; what they mean is said by model.cpp.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "choices.hpp"

namespace torture {

struct gene {
	std::array<uint32_t, 8> words;
};

using input = std::vector<gene>;

constexpr std::size_t most_genes = 6;

input new_input(choices &choice);
// A small change of an input, or a piece of another one put into it.
input changed(const input &parent, const input &other, choices &choice);

// One line of text: the words in hexadecimal, separated by blanks, genes by commas.
std::string text_of(const input &one);
std::optional<input> input_of(const std::string &line);

} // namespace torture
