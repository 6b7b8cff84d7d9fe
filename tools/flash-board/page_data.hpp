// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// What the page of a board shows, as the JSON that its script reads.
#pragma once

#include <nlohmann/json.hpp>

#include "page.hpp"

namespace flash_board {

inline constexpr std::size_t most_shown_variants = 100;

nlohmann::ordered_json page_data(const page_content &of);

} // namespace flash_board
