// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Every code that flash_mng itself answers with, in words. Codes of the platform (its flash service, its bounded copy, its flash driver)
// reach programs unchanged and are not in this table.
#pragma once

#include <cstdint>
#include <string_view>

#include "uapi/flash_mng.h"

namespace flash_mng {

// What a code means and what can be done about it. All texts are literals: one sentence each, without a full stop.
struct code_text {
	std::uint32_t code;
	const char *name; // as in uapi/flash_mng.h
	const char *meaning;
	const char *advice;
};

inline constexpr code_text code_texts[] = {
	{FLASH_MNG_OK, "FLASH_MNG_OK", "the command succeeded", "nothing is to be done"},
	{FLASH_MNG_FAILED, "FLASH_MNG_FAILED", "nothing was found, or a transfer came out short; programs see -1 with the errno EPERM",
	 "check that the board has a NAND partition for user data; after a transfer, read the range back"},
	{FLASH_MNG_NULL_POINTER, "FLASH_MNG_NULL_POINTER", "a buffer, or the address of an answer, is NULL",
	 "pass the address of a record"},
	{FLASH_MNG_INVALID, "FLASH_MNG_INVALID", "a name is bad, a range leaves the partition, or a thing is not there",
	 "check the name (1 to 31 characters) and the range against the list of partitions"},
	{FLASH_MNG_UNKNOWN_COMMAND, "FLASH_MNG_UNKNOWN_COMMAND", "the module does not know the command",
	 "use a module and a program of the same release"},
	{FLASH_MNG_NO_DRIVER, "FLASH_MNG_NO_DRIVER", "no flash driver is registered, or it lacks the function",
	 "load the board's flash driver module"},
	{FLASH_MNG_BAD_LENGTH, "FLASH_MNG_BAD_LENGTH", "a name has more than 32 bytes",
	 "pass the partition's name as the board's XML has it"},
	{FLASH_MNG_NOT_FOUND, "FLASH_MNG_NOT_FOUND", "there is no SPI flash of that instance or with a partition of that name",
	 "an instance is known from its first use by a kernel module on, a name from the creation of its partitions on"},
	{FLASH_MNG_OVERFLOW, "FLASH_MNG_OVERFLOW", "offset + length does not fit in 32 bits", "ask for a range below 4 GiB"},
	{FLASH_MNG_COPY_FAILED, "FLASH_MNG_COPY_FAILED", "an answer could not be copied, or a text could not be formed",
	 "check that the record is writable memory, and that no MTD device is without a name or has one of 32 characters or more"},
	{FLASH_MNG_NO_MEMORY, "FLASH_MNG_NO_MEMORY", "the kernel had no memory for a record", "free memory and try again"},
	{FLASH_MNG_NO_DATA, "FLASH_MNG_NO_DATA", "a transfer has no buffer or no length", "pass a buffer and a length of at least 1"},
	{FLASH_MNG_REQUEST_UNREADABLE, "FLASH_MNG_REQUEST_UNREADABLE", "the caller's request could not be read",
	 "pass addresses of readable memory"},
	{FLASH_MNG_INTERRUPTED, "FLASH_MNG_INTERRUPTED", "the task was killed while it waited for the flash", "try again"},
	{FLASH_MNG_SHORT_WRITE, "FLASH_MNG_SHORT_WRITE", "less was written than asked for; part of the range may hold the new data",
	 "look for errors of the flash in the kernel log, then write again"},
	{FLASH_MNG_SHORT_READ, "FLASH_MNG_SHORT_READ", "less was read than asked for", "look for errors of the flash in the kernel log"},
	{FLASH_MNG_NOT_OPENED, "FLASH_MNG_NOT_OPENED", "the partition's block device could not be opened",
	 "check that the kernel has mtdblock and that /dev/mtdblockN is there"},
	{FLASH_MNG_ENTRY_COUNT, "FLASH_MNG_ENTRY_COUNT", "the number of entries of an XML node could not be read",
	 "check the section \"flash_mng\" of the board's XML"},
	{FLASH_MNG_NOT_LISTED, "FLASH_MNG_NOT_LISTED", "the board does not list the partition for programs",
	 "only partitions in the node \"mtd_info\" of the board's XML can be read and written by programs"},
	{FLASH_MNG_VARIANT_NAME, "FLASH_MNG_VARIANT_NAME", "the name of a board variant's table could not be formed",
	 "check the board's BOM value"},
	{FLASH_MNG_EMPTY_RANGE, "FLASH_MNG_EMPTY_RANGE", "the length is 0, or the partition has no usable bytes",
	 "ask for at least 1 byte; check avail_size in the node \"mtd_info\" of the board's XML"},
	{FLASH_MNG_PATH_FAILED, "FLASH_MNG_PATH_FAILED", "the path of a device could not be formed", "look into the module's log"},
	{FLASH_MNG_CLEAR_FAILED, "FLASH_MNG_CLEAR_FAILED", "a record could not be cleared", "look into the module's log"},
	{FLASH_MNG_NO_BUFFER, "FLASH_MNG_NO_BUFFER", "the kernel had no memory for the data, or the range ends beyond 4 GiB",
	 "ask for a smaller range, or free memory and try again"},
	{FLASH_MNG_USER_UNREADABLE, "FLASH_MNG_USER_UNREADABLE", "the caller's record or data could not be read",
	 "pass addresses of readable memory and at most 0x7FFFFFFF bytes"},
	{FLASH_MNG_USER_UNWRITABLE, "FLASH_MNG_USER_UNWRITABLE", "data could not be written to the caller's memory",
	 "pass a writable buffer of at most 0x7FFFFFFF bytes"},
	{FLASH_MNG_NO_PARTITION, "FLASH_MNG_NO_PARTITION", "the kernel has no MTD partition of that name",
	 "compare the board's XML with the list of partitions; a flash driver may not be loaded"},
	{FLASH_MNG_XML_NODE, "FLASH_MNG_XML_NODE", "a node of the board's XML could not be read",
	 "check the section \"flash_mng\" of the board's XML"},
	{FLASH_MNG_XML_ATTRIBUTE, "FLASH_MNG_XML_ATTRIBUTE", "an attribute of the board's XML could not be read",
	 "check the section \"flash_mng\" of the board's XML"},
	{FLASH_MNG_XML_NAME, "FLASH_MNG_XML_NAME", "a partition name of the board's XML could not be read",
	 "check the section \"flash_mng\" of the board's XML"},
};

// The row of a code; nullptr when the module itself has no such code.
constexpr const code_text *find_code(std::uint32_t code)
{
	for (const code_text &row : code_texts)
		if (row.code == code)
			return &row;
	return nullptr;
}

// The row of a name as in uapi/flash_mng.h; nullptr when there is none.
constexpr const code_text *find_code(std::string_view name)
{
	for (const code_text &row : code_texts)
		if (row.name == name)
			return &row;
	return nullptr;
}

} // namespace flash_mng
