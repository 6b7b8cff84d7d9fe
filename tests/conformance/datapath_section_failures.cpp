// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Sections read and written when a call fails: the code, the message, and that all is given back in order.
#include "section_words.hpp"

namespace conformance {
namespace {

// A transfer of one section in one direction, with one call made to fail.
template <typename forced> class failing_transfer : public on_sections, public testing::WithParamInterface<std::tuple<direction, forced>> {
protected:
	direction way() const { return std::get<0>(this->GetParam()); }
	const forced &given() const { return std::get<1>(this->GetParam()); }

	uint32_t transfer(uint32_t section = one, uint32_t offset = 0x1010, uint32_t len = 0x10)
	{
		return section_transfer(way(), default_instance, section, offset, &buf_, len);
	}

	void expect_nothing_moved()
	{
		EXPECT_EQ(buf_, bytes(64, 0xEE));
		expect_unchanged(nor);
	}

	bytes buf_ = bytes(64, 0xEE);
};

const auto both_ways = testing::Values(direction::read, direction::write);

template <typename forced> std::string way_and_number(const testing::TestParamInfo<std::tuple<direction, forced>> &row)
{
	return as_case_name(std::get<0>(row.param)) + "_" + as_case_name(std::get<1>(row.param));
}

// ---------------------------------------------------------------------------------------------------------------- the device

class datapath_section_lookup : public failing_transfer<long long> {};

TEST_P(datapath_section_lookup, failure_ends_it)
{
	harness::fail("get_mtd_device_nm", given());
	EXPECT_EQ(transfer(), invalid);
	EXPECT_EQ(harness::log(), log_lines{no_device_said(way(), "nor")});
	EXPECT_EQ(deeds(), call_list{looked_up("nor")});
	expect_nothing_moved();
}

INSTANTIATE_TEST_SUITE_P(given_as, datapath_section_lookup,
			 testing::Combine(both_ways, testing::Values(0LL, -1LL, error_no_device, error_last)), way_and_number<long long>);

class datapath_section_path : public failing_transfer<long long> {};

TEST_P(datapath_section_path, failure_ends_it_with_the_device_released_after_the_message)
{
	harness::fail("snprintf_s", given());
	EXPECT_EQ(transfer(), copy_failed);
	const char *const text = by(way(), "Flash mng snprintf_s name failed", "Flash mng write snprintf_s name failed");
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, text)});
	EXPECT_EQ(harness::calls(), (call_list{looked_up("nor"), path_formed, message(own, ordinary, text), reference_put}));
	EXPECT_EQ(harness::mtd_use_count(nor), 0);
	expect_nothing_moved();
}

INSTANTIATE_TEST_SUITE_P(given_as, datapath_section_path, testing::Combine(both_ways, testing::Values(-1LL, -34LL, -2147483648LL)),
			 way_and_number<long long>);

class datapath_section_path_length : public failing_transfer<long long> {};

TEST_P(datapath_section_path_length, does_not_matter)
{
	harness::fail("snprintf_s", given());
	harness::fail("filp_open", -2);
	EXPECT_EQ(transfer(), not_opened);
	EXPECT_EQ(calls_of("filp_open"), call_list{std::string("filp_open(\"\", ") + by(way(), "0x0", "0x101002") + ", 0x0)"})
		<< "the path was cleared before";
	EXPECT_EQ(harness::log(), log_lines{not_opened_said(way(), "nor", -2)});
}

INSTANTIATE_TEST_SUITE_P(given_as, datapath_section_path_length, testing::Combine(both_ways, testing::Values(0LL, 1LL, 31LL)),
			 way_and_number<long long>);

// ---------------------------------------------------------------------------------------------------------------- waiting

class datapath_section_wait : public failing_transfer<long long> {};

TEST_P(datapath_section_wait, ends_it_when_the_task_is_killed)
{
	harness::fail("down_killable", given());
	EXPECT_EQ(transfer(), interrupted);
	EXPECT_EQ(harness::log(), log_lines{interrupted_said(way(), static_cast<int>(given()))});
	EXPECT_EQ(deeds(), (call_list{looked_up("nor"), path_formed, reference_put, access_taken}));
	expect_nothing_moved();
	EXPECT_EQ(transfer(), 0u) << "the next one";
}

INSTANTIATE_TEST_SUITE_P(given_as, datapath_section_wait, testing::Combine(both_ways, testing::Values(-4LL, -62LL, 1LL)),
			 way_and_number<long long>);

// ---------------------------------------------------------------------------------------------------------------- opening

class datapath_section_open : public failing_transfer<long long> {};

TEST_P(datapath_section_open, failure_ends_it)
{
	harness::fail("filp_open", given());
	EXPECT_EQ(transfer(), not_opened);
	EXPECT_EQ(harness::log(), log_lines{not_opened_said(way(), "nor", given())});
	const call_list names = call_names();
	EXPECT_EQ(last(names, 4), (call_list{"down_killable", "filp_open", "drv_log_record", "up"}));
	expect_nothing_moved();
}

INSTANTIATE_TEST_SUITE_P(given_as, datapath_section_open, testing::Combine(both_ways, testing::Values(0LL, -1LL, -2LL, -13LL, error_last)),
			 way_and_number<long long>);

// ---------------------------------------------------------------------------------------------------------------- seeking and moving

struct forced_result {
	const char *label;
	uint32_t asked; // offset of a seek, length of a transfer
	long long result;
};

std::string way_and_label(const testing::TestParamInfo<std::tuple<direction, forced_result>> &row)
{
	return as_case_name(std::get<0>(row.param)) + "_" + std::get<1>(row.param).label;
}

class on_huge_section : public failing_transfer<forced_result> {
protected:
	void prepare() override
	{
		on_sections::prepare();
		huge_device = harness::add_mtd({.name = "huge", .size = 0xFFFF0000, .type = harness::mtd_ram});
	}

	int huge_device = -1;
};

class datapath_section_seek : public on_huge_section {};

TEST_P(datapath_section_seek, to_another_place_ends_it)
{
	harness::fail("vfs_llseek", given().result);
	EXPECT_EQ(transfer(huge, given().asked, 4), invalid);
	EXPECT_EQ(harness::log(), log_lines{not_sought_said(way(), given().asked, given().asked, given().result)});
	EXPECT_EQ(last(call_names(), 5), (call_list{"filp_open", "vfs_llseek", "drv_log_record", "filp_close", "up"}));
	EXPECT_EQ(buf_, bytes(64, 0xEE));
	EXPECT_EQ(harness::mtd_content(huge_device, 0, 4), bytes(4, 0xFF));
}

INSTANTIATE_TEST_SUITE_P(
	of, datapath_section_seek,
	testing::Combine(both_ways,
			 testing::Values(forced_result{"an_error", 0x100, error_invalid}, forced_result{"one_too_few", 0x100, 0xFF},
					 forced_result{"one_too_many", 0x100, 0x101}, forced_result{"the_start", 0x100, 0},
					 forced_result{"a_place_4_gib_away", 0x100, 0x100000100},
					 forced_result{"a_place_with_the_top_bit", 0x100, static_cast<long long>(0x8000000000000100ULL)},
					 forced_result{"an_error_that_looks_like_the_place", 0xFFFFFFEA, error_invalid},
					 forced_result{"a_sign_extended_place", 0x80000000, -0x80000000LL})),
	way_and_label);

class datapath_section_direction : public on_sections, public testing::WithParamInterface<direction> {};

INSTANTIATE_TEST_SUITE_P(by, datapath_section_direction, both_ways, [](const auto &row) { return as_case_name(row.param); });

TEST_P(datapath_section_direction, says_address_and_position_of_a_seek_that_failed)
{
	harness::fail("vfs_llseek", error_invalid);
	bytes buf(4);
	EXPECT_EQ(section_transfer(GetParam(), default_instance, one, 0x1ABC, &buf, 4), invalid);
	EXPECT_EQ(harness::log(), log_lines{own_log(ordinary, std::string(by(GetParam(), "[drv flash Read]", "[drv flash write]")) +
								      " lseek to 0x1abc(0xabc) fail, ret = 0xffffffffffffffea.")});
}

TEST_P(datapath_section_direction, goes_on_from_where_the_file_stands)
{
	harness::fail("vfs_llseek", 0x100);
	bytes buf = pattern(4, 8);
	EXPECT_EQ(section_transfer(GetParam(), default_instance, one, 0x1100, &buf, 4), 0u);
	EXPECT_EQ(harness::mtd_content(nor, 0, 4), buf) << "the file is still at its start";
	EXPECT_EQ(harness::mtd_content(nor, 0x100, 4), original(nor, 0x100, 4));
}

class datapath_section_count : public on_huge_section {};

TEST_P(datapath_section_count, that_differs_ends_it)
{
	harness::fail(by(way(), "kernel_read", "kernel_write"), given().result);
	EXPECT_EQ(transfer(huge, 0, given().asked), by(way(), short_read, short_write));
	EXPECT_EQ(harness::log(), log_lines{short_transfer_said(way(), "huge", given().asked, given().result)});
	EXPECT_EQ(last(call_names(), 5),
		  (call_list{"vfs_llseek", by(way(), "kernel_read", "kernel_write"), "drv_log_record", "filp_close", "up"}));
}

INSTANTIATE_TEST_SUITE_P(of, datapath_section_count,
			 testing::Combine(both_ways,
					  testing::Values(forced_result{"nothing", 16, 0}, forced_result{"one_byte_less", 16, 15},
							  forced_result{"one_byte_more", 16, 17}, forced_result{"an_error", 16, error_io},
							  forced_result{"the_length_and_4_gib", 16, 0x100000010},
							  forced_result{"an_error_that_looks_like_the_length", 0xFFFFFFFB, error_io},
							  forced_result{"no_permission_that_looks_like_the_length", 0xFFFFFFFF, -1},
							  forced_result{"an_error_where_nothing_was_asked", 0, error_io},
							  forced_result{"a_byte_where_nothing_was_asked", 0, 1})),
			 way_and_label);

TEST_P(datapath_section_direction, believes_a_count_of_almost_4_gib)
{
	harness::add_mtd({.name = "huge", .size = 0xFFFF0000, .type = harness::mtd_ram});
	harness::fail(by(GetParam(), "kernel_read", "kernel_write"), 0xFFFFFFFF);
	bytes buf(4);
	EXPECT_EQ(section_transfer(GetParam(), default_instance, huge, 0, &buf, 0xFFFFFFFF), 0u);
	EXPECT_EQ(calls_of(by(GetParam(), "kernel_read", "kernel_write")), call_list{moved(GetParam(), 0xFFFFFFFF)});
	EXPECT_EQ(harness::log(), log_lines());
}

// ---------------------------------------------------------------------------------------------------------------- sweeps

struct swept {
	const char *function; // nullptr: the one that moves the bytes
	long long result;
};

class datapath_section_failure : public failing_transfer<swept> {
protected:
	const char *function() const { return given().function ? given().function : by(way(), "kernel_read", "kernel_write"); }
};

TEST_P(datapath_section_failure, holds_nothing_and_the_next_try_succeeds)
{
	const bytes data = pattern(0x40, 80);
	sweep_failures(
		function(), given().result,
		[&] {
			buf_ = data;
			return transfer(one, 0x1123, 0x40);
		},
		[&](bool succeeded) {
			if (way() == direction::write && succeeded)
				expect_changed(nor, 0x123, data);
			else
				expect_unchanged(nor);
			EXPECT_EQ(buf_, way() == direction::read && succeeded ? original(nor, 0x123, 0x40) : data);
			harness::set_mtd_content(nor, 0x123, original(nor, 0x123, 0x40));
		});
}

TEST_P(datapath_section_failure, holds_nothing_when_it_stays)
{
	const harness::holdings before = harness::held();
	harness::fail_always(function(), given().result);
	for (int i = 0; i < 3; ++i)
		EXPECT_NE(transfer(one, 0x1123, 0x40), 0u);
	EXPECT_EQ(harness::held(), before);
	EXPECT_EQ(times_called(function()), 3);
	expect_unchanged(nor);
}

INSTANTIATE_TEST_SUITE_P(in, datapath_section_failure,
			 testing::Combine(both_ways, testing::Values(swept{"get_mtd_device_nm", error_no_device}, swept{"snprintf_s", -1},
								     swept{"down_killable", -4}, swept{"filp_open", error_io},
								     swept{"vfs_llseek", error_io}, swept{nullptr, error_io})),
			 [](const auto &row) {
				 const char *const function = std::get<1>(row.param).function;
				 return as_case_name(std::get<0>(row.param)) + "_" + (function ? function : "move");
			 });

} // namespace
} // namespace conformance
