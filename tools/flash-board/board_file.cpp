// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "board_file.hpp"

#include <board_file.h>

#include <algorithm>

#include "board_reader.hpp"
#include "flat_tree.hpp"

namespace flash_board {
namespace {

void put_number(std::vector<std::uint8_t> &file, std::size_t at, std::uint32_t value)
{
	for (std::size_t i = 0; i < 4; i++)
		file[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

} // namespace

const std::size_t board_file_limit = BOARD_FILE_MAX_SIZE;

std::uint32_t checksum(const std::uint8_t *bytes, std::size_t size)
{
	std::uint32_t crc = 0xFFFFFFFF;

	for (std::size_t i = 0; i < size; i++) {
		crc ^= bytes[i];
		for (int bit = 0; bit < 8; bit++)
			crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320 : 0);
	}
	return ~crc;
}

std::vector<std::uint8_t> compiled(const board &from)
{
	const auto tree = flatten(from);
	std::vector<std::uint8_t> file(BOARD_FILE_HEADER_SIZE);

	file.insert(file.end(), tree.begin(), tree.end());
	std::copy_n(BOARD_FILE_MAGIC, BOARD_FILE_MAGIC_SIZE, file.begin());
	put_number(file, BOARD_FILE_AT_VERSION, BOARD_FILE_VERSION);
	put_number(file, BOARD_FILE_AT_LENGTH, static_cast<std::uint32_t>(file.size()));
	put_number(file, BOARD_FILE_AT_CHECKSUM, checksum(tree.data(), tree.size()));
	return file;
}

std::vector<std::uint8_t> compile(std::string_view xml, std::string_view file_name)
{
	auto file = compiled(read_board(xml, file_name));

	if (file.size() > board_file_limit)
		throw input_error(std::string(file_name) + ":1:1: the compiled board would be longer than 1 MiB");
	return file;
}

} // namespace flash_board
