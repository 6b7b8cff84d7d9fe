// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "check.hpp"

#include "board_file.hpp"
#include "board_reader.hpp"
#include "check_instances.hpp"
#include "check_mtd_info.hpp"
#include "check_nodes.hpp"
#include "check_sections.hpp"
#include "check_spi.hpp"
#include "check_structure.hpp"

namespace flash_board {
namespace {

void check_compiled_size(document &of)
{
	if (!first_refusal(of.found()) && compiled(read_board(of)).size() > board_file_limit)
		of.add("board-too-large", {}, 0, "the compiled board would be longer than 1 MiB");
}

} // namespace

findings check(const source &from, const mtd_layout *layout)
{
	document of(from);

	if (of.is_whole()) {
		check_structure(of);
		check_instances(of);
		check_nodes(of, layout);
		check_sections(of, layout);
		check_mtd_info(of, layout);
		check_spi(of);
		check_compiled_size(of);
	}
	auto found = of.found();
	sort_by_place(found);
	return found;
}

} // namespace flash_board
