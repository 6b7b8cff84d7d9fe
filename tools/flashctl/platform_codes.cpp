// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "platform_codes.hpp"

#include <fstream>
#include <map>
#include <sstream>

#include "number.hpp"
#include "platform_status.h"

namespace flashctl {

namespace {

constexpr char to_range[] = "choose a range within avail_size of the partition, in the node \"mtd_info\" of the board's XML";
constexpr char to_log[] = "look into the log of the platform and of the kernel";
constexpr char to_modules[] = "programs are not given this code; look into the log for the module that was";
constexpr auto any = asked_for::anything;

platform_table make_reference_table()
{
	return {"reference platform",
		{{BOUNDED_BAD_ARGUMENT, asked_for::write, true, "BOUNDED_BAD_ARGUMENT",
		  "the range begins at or beyond the end of the partition's usable bytes", to_range},
		 {BOUNDED_NO_ROOM, asked_for::write, true, "BOUNDED_NO_ROOM", "the range ends beyond the partition's usable bytes",
		  to_range},
		 {LOG_BAD_ARGUMENT, any, false, "LOG_BAD_ARGUMENT", "a log was registered without id or name", to_modules},
		 {LOG_ALREADY_REGISTERED, any, false, "LOG_ALREADY_REGISTERED", "the module id has a registered log", to_modules},
		 {LOG_NOT_REGISTERED, any, false, "LOG_NOT_REGISTERED", "the module id has no registered log", to_modules},
		 {LOG_TOO_MANY, any, false, "LOG_TOO_MANY", "there is no room for another log", to_modules},
		 {LOG_NO_MEMORY, any, false, "LOG_NO_MEMORY", "the log had no memory", to_modules},
		 {XML_BAD_ARGUMENT, any, false, "XML_BAD_ARGUMENT", "the board description was asked for without a place for the answer",
		  to_modules},
		 {XML_NO_INSTANCE, any, false, "XML_NO_INSTANCE", "the board description has no such instance", to_modules},
		 {XML_NO_NODE, any, false, "XML_NO_NODE", "the instance has no such node in the board description", to_modules},
		 {XML_NO_ENTRY, any, false, "XML_NO_ENTRY", "the node has no such entry in the board description", to_modules},
		 {XML_NO_ATTRIBUTE, any, false, "XML_NO_ATTRIBUTE", "the entry has no such attribute in the board description", to_modules},
		 {XML_NO_ELEMENT, any, false, "XML_NO_ELEMENT", "the entry has no such element in the board description", to_modules},
		 {XML_BAD_NUMBER, any, false, "XML_BAD_NUMBER", "a text of the board description is no number of 32 bits", to_modules},
		 {XML_TEXT_TOO_LONG, any, false, "XML_TEXT_TOO_LONG", "a text of the board description is too long", to_modules},
		 {XML_NO_VALUE, any, false, "XML_NO_VALUE", "the board description does not state the value", to_modules},
		 {INSTANCE_BAD_ARGUMENT, any, false, "INSTANCE_BAD_ARGUMENT", "an instance was asked for without a place for the answer",
		  to_modules},
		 {INSTANCE_UNKNOWN, any, false, "INSTANCE_UNKNOWN", "the board description has no such instance", to_modules},
		 {INSTANCE_NO_PARENT, any, false, "INSTANCE_NO_PARENT", "the instance states no parent", to_modules},
		 {HARD_LOCK_BAD_REQUEST, any, false, "HARD_LOCK_BAD_REQUEST", "the request for a hardware lock does not fit the call",
		  to_modules},
		 {HARD_LOCK_BUSY, any, false, "HARD_LOCK_BUSY", "the hardware lock is held", to_modules},
		 {HARD_LOCK_NOT_HELD, any, false, "HARD_LOCK_NOT_HELD", "the hardware lock is free", to_modules},
		 {HARD_LOCK_BAD_OWNER, any, false, "HARD_LOCK_BAD_OWNER", "the hardware lock is held by another instance", to_modules},
		 {HARD_LOCK_BAD_VALUE, any, false, "HARD_LOCK_BAD_VALUE", "the hardware lock has another value in the board description",
		  to_modules},
		 {HARD_LOCK_TOO_MANY, any, false, "HARD_LOCK_TOO_MANY", "there is no room for another held hardware lock", to_modules},
		 {CAPABILITY_BAD_ARGUMENT, any, false, "CAPABILITY_BAD_ARGUMENT",
		  "a capability was asked for without a place for the answer", to_modules},
		 {CAPABILITY_UNKNOWN, any, false, "CAPABILITY_UNKNOWN", "the board does not answer for this capability", to_modules},
		 {FLASH_BUFFER_BAD_ARGUMENT, any, false, "FLASH_BUFFER_BAD_ARGUMENT", "the flash service was called without path or buffer",
		  to_log},
		 {FLASH_BUFFER_BAD_PATH, any, false, "FLASH_BUFFER_BAD_PATH", "the flash service was given a path that is no MTD device",
		  to_log},
		 {FLASH_BUFFER_NO_DEVICE, any, false, "FLASH_BUFFER_NO_DEVICE", "there is no MTD device of that number any more", to_log},
		 {FLASH_BUFFER_NO_ERASE_BLOCKS, any, false, "FLASH_BUFFER_NO_ERASE_BLOCKS", "the MTD device states no erase block size",
		  to_log},
		 {FLASH_BUFFER_BEYOND_END, any, true, "FLASH_BUFFER_BEYOND_END", "the range ends beyond the partition",
		  "choose a smaller range; an avail_size over the partition's size, in the board's XML, ends here too"},
		 {FLASH_BUFFER_OUT_OF_BLOCKS, any, false, "FLASH_BUFFER_OUT_OF_BLOCKS",
		  "too many blocks of the partition are bad for this range",
		  "the flash is worn out: choose a smaller range, or replace it"},
		 {FLASH_BUFFER_BAD_BLOCK_CHECK, any, false, "FLASH_BUFFER_BAD_BLOCK_CHECK", "whether a block is bad could not be read",
		  to_log},
		 {FLASH_BUFFER_UNCORRECTABLE, any, false, "FLASH_BUFFER_UNCORRECTABLE",
		  "the flash holds data that its error correction could not correct", to_log},
		 {FLASH_BUFFER_READ_FAILED, any, false, "FLASH_BUFFER_READ_FAILED", "the flash could not be read", to_log},
		 {FLASH_BUFFER_ERASE_FAILED, any, false, "FLASH_BUFFER_ERASE_FAILED", "a block of the flash could not be erased", to_log},
		 {FLASH_BUFFER_WRITE_FAILED, any, false, "FLASH_BUFFER_WRITE_FAILED", "a block of the flash could not be written", to_log},
		 {FLASH_BUFFER_NO_MEMORY, any, false, "FLASH_BUFFER_NO_MEMORY", "the flash service had no memory", to_log},
		 {SPI_FLASH_BAD_ARGUMENT, any, false, "SPI_FLASH_BAD_ARGUMENT", "a size was asked for without a place for it", to_modules},
		 {SPI_FLASH_UNKNOWN, any, false, "SPI_FLASH_UNKNOWN", "there is no SPI flash at that chip, controller and chip select",
		  to_modules},
		 {SPI_FLASH_NO_PARTS, any, false, "SPI_FLASH_NO_PARTS", "an SPI flash was to be created without partitions", to_modules},
		 {SPI_FLASH_TOO_MANY_PARTS, any, false, "SPI_FLASH_TOO_MANY_PARTS", "the SPI flash has fewer erase blocks than partitions",
		  to_modules},
		 {SPI_FLASH_BAD_NAME, any, false, "SPI_FLASH_BAD_NAME", "a partition's name is empty or has no end", to_modules},
		 {SPI_FLASH_NAME_TWICE, any, false, "SPI_FLASH_NAME_TWICE", "two partitions have one name", to_modules},
		 {SPI_FLASH_NAME_IN_USE, any, false, "SPI_FLASH_NAME_IN_USE", "an MTD device has the name of a partition", to_modules},
		 {SPI_FLASH_BAD_ALIGNMENT, any, false, "SPI_FLASH_BAD_ALIGNMENT", "a partition is not made of whole erase blocks",
		  to_modules},
		 {SPI_FLASH_BEYOND_END, any, false, "SPI_FLASH_BEYOND_END", "a partition ends behind the SPI flash", to_modules},
		 {SPI_FLASH_OVERLAP, any, false, "SPI_FLASH_OVERLAP", "two partitions overlap", to_modules},
		 {SPI_FLASH_ALREADY_CREATED, any, false, "SPI_FLASH_ALREADY_CREATED",
		  "the SPI flash is there already, perhaps for another instance with the same chip, controller and chip select",
		  to_modules},
		 {SPI_FLASH_NOT_CREATED, any, false, "SPI_FLASH_NOT_CREATED", "the SPI flash was not created", to_modules},
		 {SPI_FLASH_IN_USE, any, false, "SPI_FLASH_IN_USE", "a partition of the SPI flash is open", to_modules},
		 {SPI_FLASH_NO_MEMORY, any, false, "SPI_FLASH_NO_MEMORY", "the flash driver had no memory", to_modules},
		 {SPI_FLASH_MTD_FAILED, any, false, "SPI_FLASH_MTD_FAILED", "the kernel's MTD functions failed", to_modules}}};
}

std::optional<platform_code> row_of(const std::string &line)
{
	static const std::map<std::string, asked_for> places = {
		{"any", asked_for::anything}, {"read", asked_for::read}, {"write", asked_for::write}};
	std::istringstream words(line);
	std::string code, where, kind, name, meaning;
	words >> code >> where >> kind >> name >> std::ws;
	std::getline(words, meaning);
	const auto number = parse_code(code);
	const auto place = places.find(where);
	if (!number || place == places.end() || (kind != "range" && kind != "failure") || meaning.empty())
		return std::nullopt;
	return platform_code{*number, place->second, kind == "range", name, meaning, kind == "range" ? to_range : to_log};
}

} // namespace

const platform_table &reference_platform_table()
{
	static const platform_table table = make_reference_table();
	return table;
}

std::optional<platform_table> read_platform_table(const std::string &path)
{
	std::ifstream file(path);
	if (!file)
		return std::nullopt;
	platform_table table = {"platform", {}};
	for (std::string line; std::getline(file, line);)
		if (const auto row = row_of(line))
			table.codes.push_back(*row);
	return table;
}

} // namespace flashctl
