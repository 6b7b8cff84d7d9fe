// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// agreement_boards FIRMWARE EXPECTED: writes the made up boards, compiled, to one folder, and what flash-board simulate says about each to
// another. The guest test of the same name compares it with the real module.
#include <nlohmann/json.hpp>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

#include "board_file.hpp"
#include "board_maker.hpp"
#include "board_reader.hpp"
#include "simulate.hpp"

namespace {

void write(const std::filesystem::path &path, std::string_view content)
{
	std::ofstream file(path, std::ios::binary);

	file.write(content.data(), static_cast<std::streamsize>(content.size()));
	if (!file.flush())
		throw std::runtime_error(path.string() + " cannot be written");
}

nlohmann::json described(const flash_board::mtd_layout &layout)
{
	auto list = nlohmann::json::array();

	for (const auto &one : layout)
		list.push_back({{"name", one.name}, {"size", one.size.value()}, {"erase_size", one.erase_size.value()}});
	return list;
}

void write_board(unsigned number, const std::filesystem::path &firmware, const std::filesystem::path &expected)
{
	const auto text = made_up::made_up_board(made_up::first_seed + number);
	const auto board = flash_board::read_board(text, "made up");
	const auto file = flash_board::compiled(board);
	const auto name = std::to_string(number);
	const nlohmann::json all = {{"board", text},
				    {"layout", described(made_up::layout())},
				    {"simulated", nlohmann::json::parse(as_json(flash_board::simulate(board, made_up::layout())))}};

	write(firmware / (name + ".fbd"), {reinterpret_cast<const char *>(file.data()), file.size()});
	write(expected / (name + ".json"), all.dump());
}

} // namespace

int main(int argc, char **argv)
try {
	if (argc != 3) {
		std::fputs("usage: agreement_boards FIRMWARE EXPECTED\n", stderr);
		return 2;
	}
	for (const auto *folder : {argv[1], argv[2]})
		std::filesystem::create_directories(folder);
	for (unsigned number = 0; number < made_up::boards_for_the_board; number++)
		write_board(number, argv[1], argv[2]);
	return 0;
} catch (const std::exception &error) {
	std::fprintf(stderr, "agreement_boards: %s\n", error.what());
	return 1;
}
