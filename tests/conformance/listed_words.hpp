// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Words for cases about listed partitions, which are transferred as a whole: the messages of both ways to them.
#pragma once

#include "partition_words.hpp"

namespace conformance {

inline constexpr uint32_t avail = 0x20000; // usable bytes of "listed"

struct range {
	uint32_t offset, len;
};

// Lets a range be refused by a copy that has room for so many bytes.
struct refused_range {
	uint32_t offset, len;
	uint32_t limit;
};

template <typename row> std::string name_of_range(const testing::TestParamInfo<row> &info)
{
	return hexadecimal(info.param.len) + "_at_" + hexadecimal(info.param.offset);
}

inline const auto statuses = testing::Values(1u, 5u, 0x811B0001u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFBu, 0xFFFFFFFFu);

inline std::string name_of_status(const testing::TestParamInfo<uint32_t> &row)
{
	return hexadecimal(row.param);
}

inline log_line normal_read_trace(const std::string &name, uint32_t offset, uint32_t len)
{
	return own_log(trace, "mtd normal read: mtd " + name + " offset " + decimal(offset) + " len " + decimal(len));
}

inline log_line normal_write_note(const std::string &name, uint32_t offset, uint32_t len)
{
	return own_log(ordinary, "mtd normal write: mtd " + name + " offset " + decimal(offset) + " len " + decimal(len));
}

inline log_line total_read_trace(uint32_t offset, uint32_t len, const std::string &path = "/dev/mtd2")
{
	return own_log(trace, "mtd total read: mtd " + path + " offset " + decimal(offset) + " len " + decimal(len));
}

inline log_line total_read_failure(uint32_t total, uint32_t code)
{
	return own_log(ordinary, "mtd total read: total_len " + decimal(total) + " fail " + hexadecimal(code));
}

inline log_line total_write_note(uint32_t offset, uint32_t len, uint32_t avail_size = avail, const std::string &path = "/dev/mtd2")
{
	return own_log(ordinary, "mtd total write: mtd " + path + " offset " + decimal(offset) + " len " + decimal(len) + " avail_size " +
					 decimal(avail_size));
}

inline log_line read_back_failure(uint32_t avail_size, uint32_t code)
{
	return own_log(serious, "mtd total write: read buf len " + decimal(avail_size) + " fail " + hexadecimal(code));
}

inline log_line patch_failure(uint32_t offset, uint32_t len, uint32_t code)
{
	return own_log(serious,
		       "mtd total write: memcpy offset " + decimal(offset) + " len " + decimal(len) + " fail " + hexadecimal(code));
}

inline log_line write_back_failure(uint32_t avail_size, uint32_t code)
{
	return own_log(serious, "mtd total write: write buf len " + decimal(avail_size) + " fail " + hexadecimal(code));
}

// The end of the calls seen, beginning with the last call of that name.
inline call_list names_from_last(std::string_view name)
{
	const call_list names = call_names();
	const auto last = std::find(names.rbegin(), names.rend(), name);
	return last == names.rend() ? call_list() : call_list(last.base() - 1, names.end());
}

} // namespace conformance
