// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// "Did you mean".
#pragma once

#include <string>
#include <vector>

namespace flashctl {

// The names that a mistyped one may stand for, the likeliest first; at most three.
std::vector<std::string> similar_names(const std::string &typed, const std::vector<std::string> &names);

// "did you mean "a" or "b"?", or an empty text.
std::string did_you_mean(const std::string &typed, const std::vector<std::string> &names);

} // namespace flashctl
