// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Faults after which an operation rightly answers 0.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace faults {

// What an operation does in spite of a harmless fault.
enum class effect { whole, in_part };

// Whether a row covers the call at a position of a trace of an operation; it is then counted as met. What the operation must still do
// goes to `left`.
bool is_harmless(std::string_view operation, const std::vector<std::string> &trace, std::size_t position, effect &left);

// Rows that no fault has met, described.
std::vector<std::string> rows_never_met();

} // namespace faults
