// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What a command line asks for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "flash.hpp"
#include "flash_mng/client.hpp"

namespace flashctl {

struct list_request {
	bool health = false;
};

struct info_request {
	std::string partition; // empty: the NAND partitions
};

struct map_request {
	std::string partition; // empty: all
	bool scan = false;     // read every block
};

// A range of a partition. Where no length is asked for, it is the rest of the partition or the size of the data.
struct range_request {
	std::string partition;
	std::uint32_t offset = 0;
	std::optional<std::uint32_t> length;
};

struct read_request {
	range_request range;
	std::string output = "-";
	bool hex = false;
};

struct verify_request {
	range_request range;
	std::string input;  // empty with a hash
	std::string sha256; // empty with a file
};

enum class verification { all, range, none };

struct write_request {
	range_request range;
	std::string input;
	verification verify = verification::all;
	bool dry_run = false;
	bool yes = false;
	std::vector<danger> forced;		// what is known to the person and does not matter
	std::optional<std::uint32_t> last = {}; // bytes of a header, which is written when all the rest is on the flash
	bool resume = false;			// erase blocks that hold the data already are left out
	std::string sha256 = {};		// of the data; empty: not given
};

struct backup_request {
	std::string folder;
	std::vector<std::string> partitions; // empty: all that programs can read
};

struct restore_request {
	std::string folder;
	std::vector<std::string> partitions; // empty: all that the folder has
	bool dry_run = false;
	bool yes = false;
	std::vector<danger> forced;
};

struct spi_request {
	std::optional<flash_mng::instance_id> instance; // or:
	std::string name;
};

struct explain_request {
	std::optional<std::uint32_t> code;
	std::string message; // a line of a log, or words of a message; with neither all codes
};

using any_request = std::variant<list_request, info_request, map_request, read_request, verify_request, write_request, backup_request,
				 restore_request, spi_request, explain_request>;

struct options {
	bool json = false;
	bool progress = false; // also without a terminal; as lines of JSON with json
	bool quiet = false;
	bool verbose = false;
	std::string device = FLASH_MNG_DEVICE;
};

struct request {
	flashctl::options options;
	any_request what;
};

} // namespace flashctl
