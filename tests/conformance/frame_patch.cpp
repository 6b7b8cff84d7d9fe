// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The two patch hooks and the area reserved beside them.
#include "load_words.hpp"

namespace conformance {
namespace {

struct hook {
	const char *function;
	const char *said;
};

void PrintTo(const hook &row, std::ostream *out)
{
	*out << row.function;
}

class frame_patch_hook : public on_loaded_module, public testing::WithParamInterface<hook> {};

TEST_P(frame_patch_hook, gives_0)
{
	EXPECT_EQ(harness::call(GetParam().function, {}), 0u);
}

TEST_P(frame_patch_hook, leaves_a_trace_line)
{
	harness::call(GetParam().function, {});
	EXPECT_EQ(harness::log(), log_lines{own_log(trace, GetParam().said)});
}

TEST_P(frame_patch_hook, does_nothing_else)
{
	harness::call(GetParam().function, {});
	EXPECT_EQ(harness::calls(), call_list{message(own, trace, GetParam().said)});
}

TEST_P(frame_patch_hook, leaves_one_line_for_each_call)
{
	for (int i = 0; i < 10; ++i)
		EXPECT_EQ(harness::call(GetParam().function, {}), 0u);
	EXPECT_EQ(harness::log(), log_lines(10, own_log(trace, GetParam().said)));
}

INSTANTIATE_TEST_SUITE_P(number, frame_patch_hook,
			 testing::Values(hook{"flash_mng_drv_patch_func1", "flash_mng patch func1 entry"},
					 hook{"flash_mng_drv_patch_func2", "flash_mng patch func2 entry"}),
			 [](const auto &row) { return row.index == 0 ? "one" : "two"; });

class frame_patch_area : public on_loaded_module {
protected:
	static bytes area() { return harness::global("g_flash_mng_patch", 40); }
};

TEST_F(frame_patch_area, is_zero_at_load)
{
	EXPECT_EQ(area(), bytes(40, 0));
}

TEST_F(frame_patch_area, stays_zero_whatever_is_called)
{
	harness::call("flash_mng_drv_patch_func1", {});
	harness::call("flash_mng_drv_patch_func2", {});
	for (uint32_t command : all_commands)
		harness::ioctl(command, harness::user_address(harness::user_memory(8192)));
	harness::ioctl(0, harness::user_address(harness::user_memory(8192)));
	EXPECT_EQ(area(), bytes(40, 0));
}

} // namespace
} // namespace conformance
