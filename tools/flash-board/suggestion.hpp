// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// What somebody may have meant by a word that is not known.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace flash_board {

// The candidate that is nearest to a word, when at most a third of it differs; else empty.
std::string_view nearest(std::string_view word, std::span<const std::string_view> candidates);

// "did you mean <what>?" about the nearest candidate between two marks; empty when none is near.
std::string did_you_mean(std::string_view word, std::span<const std::string_view> candidates, std::string_view before = "\"",
			 std::string_view after = "\"");

} // namespace flash_board
