// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What takes how long on large boards: eight times the rows may take little more than eight times the processor's time.
#include <gtest/gtest.h>

#include <ctime>
#include <functional>

#include "check.hpp"
#include "large_boards.hpp"
#include "layout_change.hpp"
#include "map.hpp"
#include "page.hpp"
#include "report.hpp"

namespace {

using namespace flash_board;

double processor_seconds()
{
	timespec now = {};

	clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
	return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double seconds_of(const std::function<void()> &work)
{
	const auto start = processor_seconds();

	work();
	return processor_seconds() - start;
}

// Whether eight times the rows take less than twelve times the time: linear is 8, n log n a little more, quadratic 64. What else the
// machine does is felt by caches; a second and a third try are for that.
bool is_nearly_linear(const std::function<void(const std::string &)> &work, const std::string &small, const std::string &large)
{
	for (int i = 0; i < 3; i++)
		if (seconds_of([&] { work(large); }) < 12 * seconds_of([&] { work(small); }) + 0.02)
			return true;
	return false;
}

void check_all(const std::string &text)
{
	const auto layout = read_mtdparts("flash:1M(boot),4M(config),8M(usrdata),-(rootfs)");
	const source from(text, "b.xml");
	const auto found = check(from, &layout);

	as_text(from, found);
}

void draw_all(const std::string &text)
{
	const auto layout = read_mtdparts("flash:1M(boot),4M(config),8M(usrdata),-(rootfs)");
	const source from(text, "b.xml");
	const document of(from);

	as_text(map_of(of, &layout, std::nullopt));
	as_svg(map_of(of, &layout, std::nullopt));
}

// An update of a board to a smaller one.
void compare_all(const std::string &text, const std::string &next)
{
	const auto layout = read_mtdparts("flash:1M(boot),4M(config),8M(usrdata),-(rootfs)");
	const source before(text, "b.xml"), after(next, "n.xml");
	const document old_board(before), new_board(after);

	as_text(before, after, compare({old_board, &layout}, {new_board, &layout}));
}

void write_page(const std::string &text)
{
	const auto layout = read_mtdparts("flash:1M(boot),4M(config),8M(usrdata),-(rootfs)");
	const source from(text, "b.xml");
	const findings found;

	as_page({from, found, &layout, "", {}, "", true, ""});
}

class growth : public testing::TestWithParam<large_boards::kind> {};

TEST_P(growth, is_nearly_linear)
{
	constexpr std::size_t rows = 2000;
	const auto small = GetParam().make(rows), large = GetParam().make(8 * rows);

	EXPECT_TRUE(is_nearly_linear(check_all, small, large)) << "check";
	EXPECT_TRUE(is_nearly_linear(draw_all, small, large)) << "map";
	const auto shorter = GetParam().make(rows / 8);
	EXPECT_TRUE(is_nearly_linear([&](const std::string &text) { compare_all(text, shorter); }, GetParam().make(rows / 4),
				     GetParam().make(2 * rows)))
		<< "diff";
	EXPECT_TRUE(is_nearly_linear(write_page, GetParam().make(rows / 4), GetParam().make(2 * rows))) << "report";
}

INSTANTIATE_TEST_SUITE_P(boards, growth, testing::ValuesIn(large_boards::all()), [](const auto &info) { return info.param.name; });

} // namespace
