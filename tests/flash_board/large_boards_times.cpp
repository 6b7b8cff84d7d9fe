// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Processor time of check, with its report, and of map on large boards of each kind:
//   cmake --preset release && cmake --build --preset release --target flash_board_times
//   build/host/release/tests/flash_board/flash_board_times
#include <cstdio>
#include <ctime>

#include "check.hpp"
#include "large_boards.hpp"
#include "map.hpp"
#include "report.hpp"

namespace {

double processor_seconds()
{
	return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

void show(const large_boards::kind &kind, std::size_t rows)
{
	const auto layout = flash_board::read_mtdparts("flash:1M(boot),4M(config),8M(usrdata),-(rootfs)");
	const auto text = kind.make(rows);
	const auto start = processor_seconds();
	const flash_board::source from(text, "board.xml");
	const auto found = flash_board::check(from, &layout);
	const auto report = as_text(from, found);
	const auto checked = processor_seconds();
	const flash_board::document of(from);
	const auto map = as_text(flash_board::map_of(of, &layout, std::nullopt));
	const auto drawn = processor_seconds();

	std::printf("| %s | %zu | %.2f | %.2f |\n", kind.name.c_str(), rows, checked - start, drawn - checked);
}

} // namespace

int main()
{
	std::puts("| rows | number | check, s | map, s |\n|---|---|---|---|");
	for (const auto &kind : large_boards::all())
		for (const std::size_t rows : {1000, 10000, 100000})
			show(kind, rows);
}
