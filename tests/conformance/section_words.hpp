// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Words for cases about sections: the board "sections", transfers by section, and what the two directions say differently.
#pragma once

#include "load_words.hpp"

namespace conformance {

// Sections of the default instance of the board "sections".
inline constexpr uint32_t one = 1, alternatives = 2, absent = 3, longer_than_its_partition = 4, beyond_4_gib = 5,
			  up_to_the_last_address = 6, up_to_4_gib = 7, long_name = 8, overlapping = 9, empty = 10, huge = 11,
			  on_listed = 12, nameless = 13, highest_id = 0xFFFFFFFF;

// A loaded module on the board "sections", without any device.
class on_sections_alone : public on_partitions {
protected:
	const char *configuration() const override { return "sections"; }
};

// With the device of most sections.
class on_sections : public on_sections_alone {
protected:
	void prepare() override
	{
		on_sections_alone::prepare();
		add_nor();
	}
};

inline uint32_t section_read(uint32_t instance, uint32_t section, uint32_t offset, bytes *buf, uint32_t len)
{
	return harness::call("drv_flash_read", {instance, section, offset, buf, len});
}

inline uint32_t section_write(uint32_t instance, uint32_t section, uint32_t offset, bytes buf, uint32_t len)
{
	return harness::call("drv_flash_write", {instance, section, offset, &buf, len});
}

inline uint32_t section_transfer(direction way, uint32_t instance, uint32_t section, uint32_t offset, bytes *buf, uint32_t len)
{
	return harness::call(way == direction::read ? "drv_flash_read" : "drv_flash_write", {instance, section, offset, buf, len});
}

template <typename type> type by(direction way, type for_read, type for_write)
{
	return way == direction::read ? for_read : for_write;
}

// ---------------------------------------------------------------------------------------------------------------- calls

inline std::string opened(direction way, int index)
{
	return "filp_open(\"/dev/mtdblock" + decimal(static_cast<uint64_t>(index)) + "\", " + by(way, "0x0", "0x101002") + ", 0x0)";
}

inline std::string moved(direction way, uint32_t len)
{
	return std::string(by(way, "kernel_read", "kernel_write")) + "(-, -, " + decimal(len) + ", -)";
}

inline std::string sought(uint32_t position)
{
	return "vfs_llseek(-, " + decimal(position) + ", 0)";
}

inline std::string looked_up(std::string_view partition)
{
	return "get_mtd_device_nm(" + quoted(partition) + ")";
}

inline const std::string path_formed = "snprintf_s(-, 32, 31, \"/dev/mtdblock%d\")", reference_put = "put_mtd_device(-)",
			 access_taken = "down_killable(-)", closed = "filp_close(-, -)", access_given_back = "up(-)";

// All that a transfer which succeeds does.
inline call_list section_transfer_calls(direction way, std::string_view partition, int index, uint32_t position, uint32_t len)
{
	return {looked_up(partition), path_formed,     reference_put, access_taken,	opened(way, index),
		sought(position),     moved(way, len), closed,	      access_given_back};
}

// ---------------------------------------------------------------------------------------------------------------- messages

inline log_line overflow_said(direction way)
{
	return own_log(ordinary, by(way, "Flash read: sum of offset and len overflow", "Flash write: sum of offset and len overflow"));
}

inline log_line no_instance_said(uint32_t instance)
{
	return own_log(ordinary, "flash_mng config about inst_id:" + hexadecimal(instance) + " is null!");
}

inline log_line no_section_said(direction way, uint32_t section, uint32_t offset, uint32_t len)
{
	return own_log(ordinary, by<std::string>(way, "drv flash read", "drv flash write") + " section_id " +
					 std::to_string(static_cast<int32_t>(section)) + " offset " + decimal(offset) + " len " +
					 decimal(len) + " error.");
}

inline log_line no_device_said(direction way, const std::string &partition)
{
	return own_log(ordinary,
		       by<std::string>(way, "Failed to find mtd index by mtd name:" + partition, "Failed to find mtd index by mtd name"));
}

inline log_line interrupted_said(direction way, int result)
{
	return own_log(ordinary, by<std::string>(way, "drv flash read down killable() ret = ", "[drv flash write] down killable() ret = ") +
					 std::to_string(result) + "!");
}

inline log_line not_opened_said(direction way, const std::string &partition, long long error)
{
	return own_log(ordinary, by<std::string>(way, "[drv flash Read]Open ", "[drv flash write] Open ") + partition +
					 " failed, errcode: " + std::to_string(error) + ".");
}

inline std::string long_hexadecimal(long long value)
{
	char text[32];
	std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(value));
	return text;
}

inline log_line not_sought_said(direction way, uint32_t offset, uint32_t position, long long reached)
{
	return own_log(ordinary, by<std::string>(way, "[drv flash Read] lseek to ", "[drv flash write] lseek to ") + hexadecimal(offset) +
					 "(" + hexadecimal(position) + ") fail, ret = " + long_hexadecimal(reached) + ".");
}

inline log_line short_transfer_said(direction way, const std::string &partition, uint32_t len, long long count)
{
	return own_log(ordinary, way == direction::read
					 ? "[drv flash Read] device " + partition + " fail, expect " + decimal(len) + ", read " +
						   std::to_string(count)
					 : "[drv flash write] device " + partition + " fail, ret = " + long_hexadecimal(count) + "!");
}

} // namespace conformance
