// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What flash_mng is on the board "sequences", as far as the operations can tell.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sequences {

using bytes = std::vector<std::uint8_t>;

enum device { usrdata, boot, env, sections, devices };
inline constexpr std::uint32_t device_size = 0x3000, erase_size = 0x1000, usable_size = 0x2000;

inline std::uint8_t first_byte_of(int device)
{
	return static_cast<std::uint8_t>(0x11 * (device + 1));
}

struct flash_record {
	std::uint32_t inst_id;
	std::vector<std::string> names;
	bool operator==(const flash_record &) const = default;
};

struct model {
	bool loaded = false;
	bool driver = false;
	std::array<bytes, devices> content;
	std::vector<flash_record> records;     // in order of first use
	std::vector<std::string> last_created; // by the flash driver
	long heap = 0;			       // pieces of memory that the module holds, those included that it never gives back

	static constexpr long tables = 3; // sections, their entry, listed partitions

	model()
	{
		for (int i = 0; i < devices; ++i)
			content[static_cast<std::size_t>(i)] = bytes(device_size, first_byte_of(i));
	}

	void load()
	{
		loaded = true;
		heap += tables;
	}

	// SPI flashes keep their memory, and nobody knows it any more.
	void unload()
	{
		loaded = driver = false;
		heap -= tables;
		records.clear();
	}

	flash_record *find(std::uint32_t inst_id)
	{
		for (flash_record &one : records)
			if (one.inst_id == inst_id)
				return &one;
		return nullptr;
	}

	// The record of an instance, from its first use on.
	flash_record &use(std::uint32_t inst_id)
	{
		if (flash_record *const known = find(inst_id))
			return *known;
		++heap;
		return records.emplace_back(flash_record{inst_id, {}});
	}

	// Names of an earlier create stay allocated.
	void create(std::uint32_t inst_id, const std::vector<std::string> &names)
	{
		use(inst_id).names = names;
		heap += 1 + static_cast<long>(names.size());
		last_created = names;
	}

	void destroy(std::uint32_t inst_id)
	{
		const flash_record &gone = use(inst_id);
		heap -= 1 + (gone.names.empty() ? 0 : 1 + static_cast<long>(gone.names.size()));
		records.erase(records.begin() + (&gone - records.data()));
	}

	std::optional<std::uint32_t> instance_with(const std::string &name) const
	{
		for (const flash_record &one : records)
			for (const std::string &known : one.names)
				if (known == name)
					return one.inst_id;
		return std::nullopt;
	}
};

} // namespace sequences
