// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Faults after which an operation answers 0: those that do not matter, and those that it does not learn of.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace faults {

// What an operation that answers 0 in spite of a fault has done: all, all but what the fault leaves out, or, where the flash failed too,
// perhaps nothing of what it was to write. The last is a false success; it stands here because it is documented.
enum class effect { whole, in_part, lost };

// Whether a row covers the call at a position of a trace of an operation; it is then counted as met. What the operation must still do
// goes to `left`.
bool is_accepted(std::string_view operation, const std::vector<std::string> &trace, std::size_t position, effect &left);

// Whether an operation that makes this call does not learn of a write that the flash refuses.
bool loses_silently(std::string_view operation, std::string_view call);

// Rows that no fault has met, described.
std::vector<std::string> rows_never_met();

} // namespace faults
