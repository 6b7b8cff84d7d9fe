// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Loading that fails: the code, what was undone and in which order, what stays, and that the next load succeeds.
#include <cerrno>

#include "load_words.hpp"

namespace conformance {
namespace {

class frame_load_failure : public on_board {
protected:
	// Loads and expects this result with this failure text.
	static void load_and_fail(uint32_t result, std::string_view failure)
	{
		EXPECT_EQ(harness::load(), result);
		EXPECT_EQ(harness::faults_hit(), g_armed);
		const auto report = harness::load_report();
		ASSERT_TRUE(report);
		EXPECT_EQ(report->name, "flash_mng");
		EXPECT_EQ(report->result, result);
		EXPECT_EQ(report->failure, failure);
	}

	// Linux takes only a negative result for a failed load; any other leaves the module loaded.
	static bool stays_after(uint32_t result) { return static_cast<int32_t>(result) >= 0; }

	static void fail(std::string_view function, long long result, unsigned nth = 1)
	{
		harness::fail(function, result, nth);
		++g_armed;
	}

	static void expect_good_load()
	{
		harness::forget();
		EXPECT_EQ(harness::load(), 0u);
		EXPECT_TRUE(harness::device_registered());
		EXPECT_EQ(harness::log(), joined_lines({{load_begins}, plain_partitions_listed}));
	}

	void SetUp() override
	{
		on_board::SetUp();
		g_armed = 0;
	}

	static inline unsigned g_armed = 0;
};

const uint32_t platform_codes[] = {1, 0x1234, 0x70010002, 0x7FFFFFFF, 0x80000000, 0x811B04AA, 0xFFFFFFEA, 0xFFFFFFFF};
const long long device_errors[] = {-1, -12, -16, -22, -512, -4095, -4096, 1, 16};

template <typename type> std::string code_name(const testing::TestParamInfo<type> &row)
{
	return hexadecimal(static_cast<uint32_t>(row.param));
}

// ------------------------------------------------------------------------------------ the log

class frame_log_refused : public frame_load_failure, public testing::WithParamInterface<uint32_t> {
protected:
	static void load_without_log()
	{
		fail("drv_log_register", GetParam());
		load_and_fail(GetParam(), "log register fail");
	}
};

TEST_P(frame_log_refused, gives_the_platforms_code)
{
	load_without_log();
	EXPECT_EQ(harness::loaded(), stays_after(GetParam()));
}

TEST_P(frame_log_refused, undoes_nothing)
{
	load_without_log();
	EXPECT_EQ(steps(), (call_list{"log_get_timestamp_ms()", "drv_log_register(27, \"flash_mng\", 8192)",
				      load_end(GetParam(), "log register fail")}));
	EXPECT_EQ(harness::log(), log_lines{load_begins});
	EXPECT_FALSE(harness::device_registered());
}

TEST_P(frame_log_refused, leaves_nothing_for_an_unload_to_undo)
{
	load_without_log();
	if (!harness::loaded())
		return expect_good_load();
	harness::forget();
	harness::unload();
	EXPECT_EQ(deeds(), call_list{});
	EXPECT_EQ(harness::log(), log_lines{unload_ends});
	expect_good_load();
}

INSTANTIATE_TEST_SUITE_P(with, frame_log_refused, testing::ValuesIn(platform_codes), code_name<uint32_t>);

// A positive code leaves the module in the kernel.
using frame_kept_module = frame_log_refused;

TEST_P(frame_kept_module, has_no_tables_and_no_device)
{
	load_without_log();
	ASSERT_TRUE(harness::loaded());
	EXPECT_FALSE(has_entry(default_instance));
	EXPECT_FALSE(harness::call_finds("drv_flash_mtd_info_find", {"config"}));
	EXPECT_EQ(harness::ioctl(get_nand_is_exist, 0).errno_value, ENOENT);
}

INSTANTIATE_TEST_SUITE_P(with, frame_kept_module, testing::Values(1, 0x70010002, 0x7FFFFFFF), code_name<uint32_t>);

// ------------------------------------------------------------------------------------ the device

class frame_device_refused : public frame_load_failure, public testing::WithParamInterface<long long> {
protected:
	static uint32_t code() { return static_cast<uint32_t>(GetParam()); }

	static void load_without_device()
	{
		fail("misc_register", GetParam());
		load_and_fail(code(), "device register fail");
	}
};

TEST_P(frame_device_refused, gives_linuxs_code)
{
	load_without_device();
	EXPECT_EQ(harness::loaded(), stays_after(code()));
}

TEST_P(frame_device_refused, removes_the_log_alone)
{
	load_without_device();
	EXPECT_EQ(steps(), joined({registered, {log_removed, load_end(code(), "device register fail")}}));
	EXPECT_EQ(harness::log(), log_lines{load_begins});
	EXPECT_FALSE(harness::device_registered());
}

TEST_P(frame_device_refused, leaves_nothing_for_an_unload_to_undo)
{
	load_without_device();
	if (!harness::loaded())
		return expect_good_load();
	harness::forget();
	harness::unload();
	EXPECT_EQ(deeds(), call_list{});
	EXPECT_EQ(harness::log(), log_lines{unload_ends});
	expect_good_load();
}

INSTANTIATE_TEST_SUITE_P(with, frame_device_refused, testing::ValuesIn(device_errors), code_name<long long>);

// ------------------------------------------------------------------------------------ the flash config entry

class frame_entry_refused : public frame_load_failure {
protected:
	void load_without_entry()
	{
		expect_leak({.heap = 1}); // the sections just read
		fail("linux_kzalloc", 0);
		load_and_fail(failed, "get xml config fail");
	}
};

TEST_F(frame_entry_refused, fails_the_load)
{
	load_without_entry();
	EXPECT_FALSE(harness::loaded());
	EXPECT_FALSE(harness::device_registered());
}

TEST_F(frame_entry_refused, removes_the_device_and_then_the_log)
{
	load_without_entry();
	EXPECT_EQ(steps(), joined({registered,
				   usrdata_absent,
				   {node_count_of(default_instance), list_of(default_instance, "attr")},
				   rows_read(3),
				   {"linux_kzalloc(-)", device_removed, log_removed, load_end(failed, "get xml config fail")}}));
}

TEST_F(frame_entry_refused, is_said_to_the_common_log)
{
	load_without_entry();
	EXPECT_EQ(harness::log(), (log_lines{load_begins, entry_without_memory(default_instance)}));
}

TEST_F(frame_entry_refused, keeps_the_sections_just_read)
{
	load_without_entry();
	EXPECT_EQ(harness::held(), harness::holdings{.heap = 1});
}

TEST_F(frame_entry_refused, does_not_get_to_the_listed_partitions)
{
	load_without_entry();
	EXPECT_EQ(calls_of("xml_get_entry_list"), call_list{list_of(default_instance, "attr")});
}

TEST_F(frame_entry_refused, does_not_spoil_the_next_load)
{
	load_without_entry();
	expect_good_load();
}

// ------------------------------------------------------------------------------------ the listed partitions

struct refused_partitions {
	const char *name;
	const char *configuration;
	const char *function; // to fail, or none
	unsigned nth;
	uint32_t result;
	call_list reading; // after the entry was made
	log_lines said;
	std::size_t rows;
};

void PrintTo(const refused_partitions &row, std::ostream *out)
{
	*out << row.name;
}

const call_list partition_list_read = {list_of(default_instance, "mtd_info"), "linux_kcalloc(2, -)"};
const log_line first_partition_listed = partition_listed(default_instance, 0, "part0", 0x10000);

const refused_partitions partition_rows[] = {
	{"no_memory", "plain", "linux_kcalloc", 2, no_buffer, partition_list_read, {partitions_without_memory}, 3},
	{"no_name",
	 "broken_name",
	 nullptr,
	 0,
	 xml_name_unreadable,
	 joined({partition_list_read, partition_read, {name_attribute, freed}}),
	 {first_partition_listed, partition_name_missing("item1")},
	 2},
	{"no_size",
	 "broken_size",
	 nullptr,
	 0,
	 xml_attribute_unreadable,
	 joined({partition_list_read, partition_read, {name_attribute, number_attribute("avail_size"), freed}}),
	 {first_partition_listed, number_missing(serious, "item1", "avail_size")},
	 2},
	{"unreadable_name",
	 "plain",
	 "xml_get_attr_string",
	 4,
	 xml_name_unreadable,
	 joined({partition_list_read, {name_attribute, freed}}),
	 {partition_name_missing("part0")},
	 3},
	{"unreadable_size",
	 "plain",
	 "xml_get_attr_value_u32",
	 10,
	 xml_attribute_unreadable,
	 joined({partition_list_read, {name_attribute, number_attribute("avail_size"), freed}}),
	 {number_missing(serious, "part0", "avail_size")},
	 3},
};

class frame_partitions_refused : public frame_load_failure, public testing::WithParamInterface<refused_partitions> {
protected:
	static void load_without_partitions()
	{
		harness::configure(GetParam().configuration);
		if (GetParam().function)
			fail(GetParam().function, std::string_view(GetParam().function) == "linux_kcalloc" ? 0 : 5, GetParam().nth);
		load_and_fail(GetParam().result, "mtd info init fail");
	}
};

TEST_P(frame_partitions_refused, fails_the_load)
{
	load_without_partitions();
	EXPECT_FALSE(harness::loaded());
	EXPECT_FALSE(harness::device_registered());
}

TEST_P(frame_partitions_refused, removes_the_entry_the_device_and_the_log)
{
	load_without_partitions();
	EXPECT_EQ(steps(), joined({registered,
				   usrdata_absent,
				   configured_from_single_table(default_instance, GetParam().rows),
				   GetParam().reading,
				   entry_removed,
				   {device_removed, log_removed, load_end(GetParam().result, "mtd info init fail")}}));
}

TEST_P(frame_partitions_refused, is_said)
{
	load_without_partitions();
	EXPECT_EQ(harness::log(), joined_lines({{load_begins}, GetParam().said}));
}

TEST_P(frame_partitions_refused, keeps_nothing)
{
	load_without_partitions();
	EXPECT_EQ(harness::held(), harness::holdings{});
}

TEST_P(frame_partitions_refused, does_not_spoil_the_next_load)
{
	load_without_partitions();
	harness::configure("plain");
	expect_good_load();
}

INSTANTIATE_TEST_SUITE_P(with, frame_partitions_refused, testing::ValuesIn(partition_rows),
			 [](const auto &row) { return std::string(row.param.name); });

TEST_F(frame_load_failure, without_sections_has_no_entry_to_remove)
{
	harness::configure("partitions_only");
	fail("linux_kcalloc", 0);
	load_and_fail(no_buffer, "mtd info init fail");
	EXPECT_EQ(last(steps(), 4),
		  (call_list{"linux_kcalloc(2, -)", device_removed, log_removed, load_end(no_buffer, "mtd info init fail")}));
}

// ------------------------------------------------------------------------------------ in general

TEST_F(frame_load_failure, ignores_what_the_logs_removal_says)
{
	fail("misc_register", -16);
	fail("drv_log_deregister", 7);
	load_and_fail(static_cast<uint32_t>(-16), "device register fail");
	EXPECT_EQ(last(steps(), 2), (call_list{log_removed, load_end(static_cast<uint32_t>(-16), "device register fail")}));
}

TEST_F(frame_load_failure, reports_when_the_load_began)
{
	fail("log_get_timestamp_ms", 0x123456789A);
	fail("misc_register", -12);
	load_and_fail(static_cast<uint32_t>(-12), "device register fail");
	EXPECT_EQ(harness::load_report()->start_ms, 0x123456789Au);
}

TEST_F(frame_load_failure, leaves_no_device_to_ask)
{
	fail("linux_kcalloc", 0, 2);
	load_and_fail(no_buffer, "mtd info init fail");
	EXPECT_EQ(harness::ioctl(get_part_num, 0).errno_value, ENOENT);
}

TEST_F(frame_load_failure, can_come_several_times_in_a_row)
{
	for (int i = 0; i < 5; ++i) {
		SCOPED_TRACE(i);
		fail("linux_kcalloc", 0, 2);
		load_and_fail(no_buffer, "mtd info init fail");
		EXPECT_EQ(harness::held(), harness::holdings{});
	}
	expect_good_load();
}

// ------------------------------------------------------------------------------------ the k-th failure of every call

struct swept {
	const char *configuration;
	const char *function;
	long long result;
	bool fails_the_load; // always, whichever call it is
};

void PrintTo(const swept &row, std::ostream *out)
{
	*out << row.function << " on " << row.configuration;
}

class frame_load_sweep : public on_board, public testing::WithParamInterface<swept> {
protected:
	static void prepare()
	{
		harness::reset();
		harness::configure(GetParam().configuration);
		harness::add_mtd({.name = "usrdata"});
	}

	static log_lines log_of_good_load()
	{
		prepare();
		EXPECT_EQ(harness::load(), 0u);
		const log_lines log = harness::log();
		harness::unload();
		return log;
	}

	// Loads with an armed fault; whether it was hit. Whatever happened, an unloaded module holds nothing that it should not.
	static bool load_with_fault()
	{
		const uint32_t result = harness::load();
		const bool hit = harness::faults_hit() > 0;
		EXPECT_EQ(harness::loaded(), result == 0);
		EXPECT_EQ(harness::device_registered(), result == 0);
		EXPECT_EQ(harness::load_report()->failure.has_value(), result != 0);
		if (hit && GetParam().fails_the_load) {
			EXPECT_NE(result, 0u);
		}
		if (harness::loaded())
			harness::unload();
		EXPECT_EQ(harness::held(), kept(result)) << "after the load with the fault";
		return hit;
	}

	// Only the failed allocation of the entry keeps the sections read for it.
	static harness::holdings kept(uint32_t result)
	{
		return {.heap = std::string_view(GetParam().function) == "linux_kzalloc" && result != 0 ? 1 : 0};
	}

	static void expect_good_load(const log_lines &log)
	{
		const harness::holdings before = harness::held();
		harness::forget();
		EXPECT_EQ(harness::load(), 0u);
		EXPECT_EQ(harness::log(), log);
		if (harness::loaded())
			harness::unload();
		EXPECT_EQ(harness::held(), before);
	}
};

TEST_P(frame_load_sweep, once)
{
	const log_lines good = log_of_good_load();
	for (unsigned nth = 1;; ++nth) {
		SCOPED_TRACE(testing::Message() << "call " << nth);
		ASSERT_LT(nth, 100u);
		prepare();
		harness::fail(GetParam().function, GetParam().result, nth);
		const bool hit = load_with_fault();
		if (!hit) {
			EXPECT_GT(nth, 1u) << "a load never makes this call";
			return;
		}
		expect_good_load(good);
		harness::reset();
	}
}

TEST_P(frame_load_sweep, from_then_on)
{
	const log_lines good = log_of_good_load();
	unsigned nth = 1;
	do {
		SCOPED_TRACE(testing::Message() << "from call " << nth);
		ASSERT_LT(nth, 100u);
		prepare();
		harness::fail_always(GetParam().function, GetParam().result, nth++);
	} while (load_with_fault());
	prepare();
	expect_good_load(good);
}

const swept sweeps[] = {
	{"plain", "drv_log_register", 0x811B0001, true},
	{"plain", "misc_register", -12, true},
	{"plain", "get_mtd_device_nm", 0, false},
	{"plain", "get_mtd_device_nm", -19, false},
	{"plain", "strcpy_s", 34, false},
	{"plain", "xml_get_specified_node_num", 0x70020001, false},
	{"plain", "xml_get_entry_list", 0x70020001, false},
	{"plain", "linux_kcalloc", 0, false},
	{"plain", "linux_kzalloc", 0, true},
	{"plain", "xml_get_attr_value_u32", 0x70020001, false},
	{"plain", "xml_get_attr_string", 0x70020001, false},
	{"variants", "drv_board_get_bom_value", 0x70020001, false},
	{"variants", "sprintf_s", -1, false},
	{"variants", "xml_get_entry_list", 1, false},
};

INSTANTIATE_TEST_SUITE_P(fails, frame_load_sweep, testing::ValuesIn(sweeps),
			 [](const auto &row) { return decimal(row.index) + "_" + row.param.function + "_on_" + row.param.configuration; });

} // namespace
} // namespace conformance
