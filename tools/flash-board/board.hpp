// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// A board description as flash-board holds it between reading and writing. docs/board-xml.md explains the meaning.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace flash_board {

using named_texts = std::vector<std::pair<std::string, std::string>>;

struct entry {
	std::string name;
	named_texts attributes; // without the name
	named_texts elements;
};

struct node {
	std::string name;
	std::vector<entry> entries;
};

struct section {
	std::string name;
	std::vector<node> nodes;
};

struct hard_lock {
	std::uint32_t type = 0;
	std::uint32_t lock_val = 0;
	std::uint32_t unlock_val = 0;
};

struct instance {
	std::uint32_t id = 0;
	std::optional<std::uint32_t> parent;
	std::optional<std::uint32_t> card;
	std::optional<std::uint32_t> bom;
	std::vector<hard_lock> hard_locks;
	std::vector<section> sections;
};

struct board {
	std::string name;
	std::optional<std::uint32_t> bom;
	std::vector<instance> instances;
};

} // namespace flash_board
