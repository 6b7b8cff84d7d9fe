// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What a command found or did: facts, to be told in words or in JSON.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "backup_folder.hpp"
#include "bytes.hpp"
#include "code_words.hpp"
#include "failure.hpp"
#include "flash.hpp"
#include "health.hpp"
#include "request.hpp"
#include "troubleshooting.hpp"

namespace flashctl {

struct list_outcome {
	std::vector<mtd_device> devices;
	std::vector<health_report> health = {}; // of each device, or none
};

struct partition_info {
	mtd_device device;
	std::uint32_t bad_blocks;
	health_report health;
};

struct info_outcome {
	std::optional<flash_mng::user_data> user_data;
	std::vector<partition_info> partitions;
};

struct mapped_partition {
	mtd_device device;
	health_report health;
	std::optional<std::vector<block_state>> blocks; // nothing: where its bad blocks are cannot be told
};

struct map_outcome {
	bool scanned;
	std::vector<mapped_partition> partitions;
};

struct range {
	mtd_device device;
	std::uint32_t offset;
	std::uint32_t length;
};

struct read_outcome {
	flashctl::range range;
	std::string sha256;
	std::string output;
};

struct verify_outcome {
	flashctl::range range;
	std::string expected_sha256;
	std::string found_sha256;
	std::optional<difference> differs; // positions count from the start of the partition; nothing with a hash only
	bool equal() const { return expected_sha256 == found_sha256; }
};

struct write_outcome {
	enum class action { planned, unchanged, written };

	flashctl::range range;
	action done = action::planned;
	verification verify = verification::all;
	std::string sha256;			 // of the data
	std::optional<std::uint64_t> changes;	 // bytes of the range that get another value; nothing when it was not read
	std::uint32_t blocks = 0;		 // erase blocks that the range touches
	std::uint64_t compared = 0;		 // bytes compared after the write, the range included
	std::optional<std::string> found_sha256; // of the range, read back
	std::optional<difference> range_differs;
	std::optional<difference> around_differs;
	std::optional<std::uint32_t> header = {};      // its bytes, when it was or would be written last
	std::optional<std::uint32_t> held_blocks = {}; // those of `blocks` that held the data before; of a resumed write only
	bool equal() const { return !range_differs && !around_differs; }
};

struct backup_outcome {
	std::string folder;
	backup_contents contents;
};

// One partition of a restore.
struct restored_image {
	enum class action {
		planned,   // would be written
		unchanged, // held the image before
		written,   // and verified
		refused,   // for the reason in `words`
		failed,	   // while it was written; `words` tells what the flash holds
		left,	   // not written, for the sake of another one or of a signal
	};

	backup_image image;
	action done = action::left;
	std::optional<std::uint64_t> changes = {}; // bytes that get another value; nothing when it was not read
	std::string words = {};
};

struct restore_outcome {
	std::string folder, time; // when the backup was made
	bool dry_run;
	std::vector<restored_image> images;
	std::optional<failure> wrong = {}; // why not all of them were written, or would be
};

struct spi_outcome {
	spi_controller_config config;
};

struct explain_outcome {
	std::vector<code_words> codes;
	std::vector<explained_message> messages;
};

using outcome = std::variant<list_outcome, info_outcome, map_outcome, read_outcome, verify_outcome, write_outcome, backup_outcome,
			     restore_outcome, spi_outcome, explain_outcome>;

} // namespace flashctl
