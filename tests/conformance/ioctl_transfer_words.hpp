// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Words for cases about the commands that read and write listed partitions.
#pragma once

#include "ioctl_words.hpp"
#include "listed_words.hpp"

namespace conformance {

inline uint32_t number_of(direction way)
{
	return way == direction::read ? mtd_read_command : mtd_write_command;
}

// The last message of a command whose transfer failed.
inline log_line command_failure(direction way, uint32_t offset, uint32_t len, uint32_t code, const std::string &path = "/dev/mtd2")
{
	return own_log(ordinary, "Flash mtd " + path + " " + as_case_name(way) + " offset " + decimal(offset) + " len " + decimal(len) +
					 " fail " + hexadecimal(code));
}

} // namespace conformance
