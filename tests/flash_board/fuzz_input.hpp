// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What has to hold for any text at all: nothing crashes, check refuses what compile refuses and nothing else, and what is not refused has a
// map. Ends the process where it does not.
#pragma once

#include <cstdlib>
#include <string>

#include "board_file.hpp"
#include "board_reader.hpp"
#include "check.hpp"
#include "layout_change.hpp"
#include "map.hpp"
#include "report.hpp"
#include "xml_writer.hpp"

inline bool compiles(const std::string &text)
{
	try {
		flash_board::compile(text, "b.xml");
		return true;
	} catch (const flash_board::input_error &) {
		return false;
	}
}

inline void try_text(const std::string &text)
{
	static const auto layout = flash_board::read_mtdparts("flash:1M(boot),4M(config),8M(usrdata),-(rootfs)");
	const flash_board::source from(text, "b.xml");
	const auto found = flash_board::check(from, &layout);

	for (const auto &one : found)
		if (one.offset > text.size() || one.element > text.size())
			std::abort();
	as_text(from, found);
	as_json(from, found);
	if ((flash_board::first_refusal(found) == nullptr) != compiles(text))
		std::abort();
	if (flash_board::first_refusal(found))
		return;
	// Written again it is the same board.
	const auto board = flash_board::read_board(text, "b.xml");
	if (compiled(flash_board::read_board(as_xml(board), "again.xml")) != compiled(board))
		std::abort();
	const flash_board::document of(from);
	as_text(map_of(of, &layout, std::nullopt));
	as_svg(map_of(of, nullptr, 1));
	// It is no update to itself.
	if (const auto made = flash_board::compare({of, &layout}, {of, &layout}); !made.changes.empty())
		std::abort();
}
