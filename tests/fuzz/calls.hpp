// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// One call of the module, drawn from an input: any command with any memory, any exported function with any numbers.
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "flash_account.hpp"
#include "program.hpp"

namespace fuzz {

inline constexpr uint32_t device_size = 0x3000;
inline constexpr uint32_t erase_size = 0x1000;

// MTD devices 0, 1, 2 ...
struct device {
	const char *name;
	uint32_t type;
};
inline constexpr std::array devices = {
	device{"boot", harness::mtd_nand}, device{"config", harness::mtd_nand}, device{"usrdata", harness::mtd_nand},
	device{"nor", harness::mtd_nor},   device{"ram", harness::mtd_ram},
};

// Bytes of a device that a call reads or writes.
struct range {
	std::size_t device;
	uint32_t offset;
	uint32_t length;
};

enum class kind { question, read, write, spi_flash, reload };

struct made_call {
	kind what = kind::question;
	uint32_t code = 0;
	// Of a transfer: what it may touch, and, as far as it is known, what was to be written or what was read. No range: nothing.
	std::optional<range> touched = std::nullopt;
	bytes data = {};
	bool by_section = false;
	// Of a call for an SPI flash.
	flash_call flash = flash_call::none;
	uint32_t inst_id = 0;
};

// Draws and makes calls; a reload is left to who asked.
class caller {
public:
	made_call make(input &from);

private:
	made_call ask(input &from);
	made_call find(input &from);
	made_call request(input &from);
	made_call any_command(input &from);
	made_call transfer(input &from);
	made_call section(input &from);
	made_call ask_kernel(input &from);
	made_call spi_flash(input &from);

	// Now and then a byte of the command's record is changed, or its data taken away, while it runs.
	void interfere(input &from, uint64_t record, bytes content);

	piece records_{0x2000};
	piece data_{0x4000};
};

} // namespace fuzz
