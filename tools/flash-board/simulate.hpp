// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
// What flash_mng makes of a board: the module's own code, loaded over a simulated kernel and platform in this process.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "board.hpp"
#include "mtd_layout.hpp"

namespace flash_board {

struct simulated_section {
	std::uint32_t id;
	std::string partition;
	std::uint32_t offset;
	std::uint32_t size;
	std::optional<std::uint32_t> served_by; // the row, from 0, that serves a request for the whole section
	std::uint32_t last_byte;		// code of reading the last byte of the section; 0 is success
};

// How the bytes of a request travel: through the platform's flash service as a whole, through the block device, or not at all.
enum class transfer_path { none, whole, block };

struct simulated_partition {
	std::string name; // as flash_mng keeps it, which is not always as it is written
	std::uint32_t avail_size;
	transfer_path of_commands;		   // of a read by a program
	transfer_path of_functions;		   // of a read by another module
	std::optional<std::uint32_t> section = {}; // the first row of the section table that is this partition

	// Two ways to the same bytes that know nothing of each other: what one writes is lost when the other writes at the same time.
	bool can_lose_writes() const { return section || of_commands != of_functions; }
};

// An instance with a partition map, one whose parent has settings of SPI flashes, or one that has some and is nobody's parent.
struct simulated_spi_flash {
	std::uint32_t instance;
	std::uint32_t code; // of the search for its settings; 0 is success
	std::uint32_t described_by = 0;
	std::uint32_t chip = 0, controller = 0, chip_select = 0;
	std::uint32_t lock_type = 0;
};

struct simulated_map_entry {
	std::uint32_t instance;
	std::string entry;
	std::uint32_t code; // of reading the entry; 0 is success
	std::string mtd_name;
	std::uint32_t offset;
	std::uint32_t size;
};

struct simulated_message {
	bool in_common_log;  // else in the module's own
	std::uint32_t level; // 1 serious, 2 ordinary, 3 trace
	std::string text;
};

struct simulation_result {
	std::uint32_t load_code; // 0 is success
	std::optional<std::string> failure;
	std::string user_data_partition; // empty when there is none
	std::vector<simulated_section> sections;
	std::vector<simulated_partition> partitions;
	std::vector<simulated_spi_flash> spi_flashes;
	std::vector<simulated_map_entry> map_entries;
	std::vector<simulated_message> load_messages;
	std::vector<simulated_message> search_messages; // of the searches for SPI flashes
};

// Loads the module on a board with these partitions, asks it, and unloads it. One call at a time. Without a layout the board has no
// partitions. Throws std::runtime_error when the simulation cannot be given the board.
simulation_result simulate(const board &of, const mtd_layout &layout);

std::string as_text(const simulation_result &result);
std::string as_json(const simulation_result &result);

} // namespace flash_board
