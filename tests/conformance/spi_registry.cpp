// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The registry of SPI flashes: records made at first use, found again, released.
#include "spi_words.hpp"

namespace conformance {
namespace {

class spi_registry : public on_spi_board {};
class spi_registry_of_created : public on_spi_board_with_driver {};

TEST_F(spi_registry, starts_empty)
{
	EXPECT_EQ(records(), std::vector<uint64_t>());
}

TEST_F(spi_registry, is_not_filled_by_a_load)
{
	harness::unload();
	ASSERT_EQ(harness::load(), 0u);
	EXPECT_FALSE(called("xml_is_node_exist"));
	EXPECT_EQ(records(), std::vector<uint64_t>());
}

// ---------------------------------------------------------------------------------------------------------------- find

struct found_flash {
	const char *label;
	settings flash;
};

class spi_registry_find : public spi_registry, public testing::WithParamInterface<found_flash> {};

TEST_P(spi_registry_find, makes_a_record_with_all_settings_and_no_names)
{
	const uint64_t record = find(GetParam().flash.inst_id);
	ASSERT_NE(record, 0u);
	EXPECT_EQ(settings_of(record), in_memory(GetParam().flash));
	expect_no_names(record);
	EXPECT_EQ(records(), std::vector<uint64_t>{record});
}

INSTANTIATE_TEST_SUITE_P(of, spi_registry_find,
			 testing::Values(found_flash{"an_instance", unlocked_flash}, found_flash{"a_locked_instance", locked_flash},
					 found_flash{"extreme_values", extreme_flash}, found_flash{"a_card", second_card}),
			 [](const auto &row) { return row.param.label; });

TEST_F(spi_registry, makes_a_record_without_the_lock_and_links_it_with_it)
{
	ASSERT_NE(find(0x20), 0u);
	EXPECT_EQ(steps_and_messages(),
		  joined({registry_searched, {record_allocated}, settings_read(0x20), {lock_taken, record_linked, lock_released}}));
}

TEST_F(spi_registry, finds_a_record_again)
{
	const long before = harness::held().heap;
	const uint64_t record = find(0x20);
	EXPECT_EQ(find(0x20), record);
	EXPECT_EQ(records(), std::vector<uint64_t>{record});
	EXPECT_EQ(harness::held().heap, before + 1);
}

TEST_F(spi_registry, reads_the_xml_once)
{
	find(0x20);
	harness::forget();
	find(0x20);
	EXPECT_EQ(harness::calls(), registry_searched);
}

TEST_F(spi_registry, is_in_order_of_first_use)
{
	for (uint32_t instance : {0x31u, 0x20u, 0x24u, 0x20u, 0x21u, 0x31u})
		ASSERT_NE(find(instance), 0u);
	EXPECT_EQ(instances(), (std::vector<uint32_t>{0x31, 0x20, 0x24, 0x21}));
}

TEST_F(spi_registry, keeps_instances_apart)
{
	const uint64_t one = find(0x31), other = find(0x32);
	EXPECT_NE(one, other);
	EXPECT_EQ(settings_of(one), in_memory(first_card));
	EXPECT_EQ(settings_of(other), in_memory(second_card));
	EXPECT_EQ(find(0x31), one);
	EXPECT_EQ(find(0x32), other);
}

TEST_F(spi_registry, finds_the_last_of_many)
{
	for (uint32_t instance : {0x20u, 0x21u, 0x22u, 0x23u, 0x24u, 0x31u, 0x32u, 0x33u})
		find(instance);
	const uint64_t last = records().back();
	harness::forget();
	EXPECT_EQ(find(0x33), last);
	EXPECT_EQ(harness::calls(), registry_searched);
}

TEST_F(spi_registry, without_settings_gives_nothing_each_time)
{
	const harness::holdings before = harness::held();
	const log_lines lines = {no_parent(bare_instance), no_record(bare_instance)};
	EXPECT_EQ(find(bare_instance), 0u);
	EXPECT_EQ(find(bare_instance), 0u);
	EXPECT_EQ(harness::log(), joined_lines({lines, lines}));
	EXPECT_EQ(records(), std::vector<uint64_t>());
	EXPECT_EQ(harness::held(), before);
}

TEST_F(spi_registry, frees_a_record_without_settings_before_it_says_so)
{
	EXPECT_EQ(find(bare_instance), 0u);
	EXPECT_EQ(steps_and_messages(), joined({registry_searched,
						{record_allocated, existence(bare_instance), parent_of(bare_instance),
						 message(own, ordinary, "can not get parent inst id, invalid inst_id %#x"), freed,
						 message(own, ordinary, "inst 0x%x flash no sfc config")}}));
}

TEST_F(spi_registry, leaves_others_alone_when_one_has_no_settings)
{
	const uint64_t record = find(0x20);
	EXPECT_EQ(find(unknown_instance), 0u);
	EXPECT_EQ(records(), std::vector<uint64_t>{record});
}

class spi_registry_flawed : public spi_registry, public testing::WithParamInterface<uint32_t> {};

TEST_P(spi_registry_flawed, settings_make_no_record)
{
	const harness::holdings before = harness::held();
	EXPECT_EQ(find(GetParam()), 0u);
	EXPECT_EQ(harness::log().back(), no_record(GetParam()));
	EXPECT_EQ(records(), std::vector<uint64_t>());
	EXPECT_EQ(harness::held(), before);
}

INSTANTIATE_TEST_SUITE_P(instance, spi_registry_flawed,
			 testing::Values(0x34u, 0x36u, 0x37u, 0x40u, 0x41u, 0x42u, 0x44u, 0x46u, 0x48u, default_instance),
			 [](const auto &row) { return hexadecimal(row.param); });

TEST_F(spi_registry, without_memory_makes_no_record)
{
	harness::fail("linux_kzalloc", 0);
	EXPECT_EQ(find(0x20), 0u);
	EXPECT_EQ(harness::log(), log_lines{record_without_memory(0x20)});
	EXPECT_EQ(steps_and_messages(),
		  joined({registry_searched, {record_allocated, message(own, ordinary, "inst 0x%x flash alloc fail")}}));
	EXPECT_EQ(records(), std::vector<uint64_t>());
}

TEST_F(spi_registry, without_memory_still_finds_old_records)
{
	const uint64_t record = find(0x20);
	harness::fail_always("linux_kzalloc", 0);
	EXPECT_EQ(find(0x20), record);
	EXPECT_EQ(find(0x21), 0u);
}

struct failing_call {
	const char *function;
	long long result;
};

class spi_registry_failure : public spi_registry, public testing::WithParamInterface<failing_call> {};

TEST_P(spi_registry_failure, is_not_remembered)
{
	const harness::holdings before = harness::held();
	harness::fail(GetParam().function, GetParam().result);
	EXPECT_EQ(find(0x21), 0u);
	EXPECT_EQ(harness::held(), before);
	harness::forget();
	const uint64_t record = find(0x21);
	ASSERT_NE(record, 0u);
	EXPECT_EQ(settings_of(record), in_memory(locked_flash));
	EXPECT_EQ(deeds_beside_registry(), joined({{record_allocated}, settings_read(0x21), {record_linked}}));
}

INSTANTIATE_TEST_SUITE_P(of, spi_registry_failure,
			 testing::Values(failing_call{"linux_kzalloc", 0}, failing_call{"xml_is_node_exist", 1},
					 failing_call{"xml_get_entry_num", 1}, failing_call{"xml_get_element_value_u32", 1},
					 failing_call{"sprintf_s", -1}),
			 [](const auto &row) { return row.param.function; });

TEST_F(spi_registry, fails_with_each_required_setting)
{
	for (unsigned read = 1; read <= 4; ++read) {
		SCOPED_TRACE(read);
		const harness::holdings before = harness::held();
		harness::fail("xml_get_element_value_u32", xml_bad_number, read);
		EXPECT_EQ(find(0x20), 0u);
		EXPECT_EQ(harness::log().back(), no_record(0x20));
		EXPECT_EQ(harness::held(), before);
	}
	EXPECT_NE(find(0x20), 0u);
}

// ---------------------------------------------------------------------------------------------------------------- release

TEST_F(spi_registry, releases_a_record)
{
	const harness::holdings before = harness::held();
	const uint64_t record = find(0x20);
	harness::forget();
	harness::call("release_flash_info_alloc", {record});
	EXPECT_EQ(harness::calls(), (call_list{lock_taken, unlinked, lock_released, freed}));
	EXPECT_EQ(records(), std::vector<uint64_t>());
	EXPECT_EQ(harness::held(), before);
}

TEST_F(spi_registry, releases_nothing_for_null)
{
	const uint64_t record = find(0x20);
	harness::forget();
	harness::call("release_flash_info_alloc", {nullptr});
	EXPECT_EQ(harness::calls(), call_list());
	EXPECT_EQ(records(), std::vector<uint64_t>{record});
}

class spi_registry_release : public spi_registry, public testing::WithParamInterface<std::size_t> {};

TEST_P(spi_registry_release, keeps_the_others_in_order)
{
	for (uint32_t instance : {0x20u, 0x21u, 0x22u})
		find(instance);
	std::vector<uint64_t> expected = records();
	harness::call("release_flash_info_alloc", {expected[GetParam()]});
	expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(GetParam()));
	EXPECT_EQ(records(), expected);
}

INSTANTIATE_TEST_SUITE_P(of, spi_registry_release, testing::Values(0u, 1u, 2u),
			 [](const auto &row) { return as_case_name(static_cast<long long>(row.param)); });

TEST_F(spi_registry, makes_a_released_record_anew_at_the_tail)
{
	find(0x20);
	find(0x22);
	harness::call("release_flash_info_alloc", {find(0x20)});
	harness::forget();
	ASSERT_NE(find(0x20), 0u);
	EXPECT_EQ(instances(), (std::vector<uint32_t>{0x22, 0x20}));
	EXPECT_EQ(deeds_beside_registry(), joined({{record_allocated}, settings_read(0x20), {record_linked}}));
}

TEST_F(spi_registry_of_created, releases_the_names_after_the_record_is_out_of_the_list)
{
	const harness::holdings before = harness::held();
	ASSERT_EQ(create(0x20, {"a", "b", "c"}), 0u);
	harness::forget();
	harness::call("release_flash_info_alloc", {find(0x20)});
	EXPECT_EQ(harness::calls(), joined({registry_searched, {lock_taken, unlinked, lock_released}, repeated({freed}, 5)}));
	EXPECT_EQ(harness::held(), before);
}

TEST_F(spi_registry_of_created, makes_a_released_record_anew_without_names)
{
	ASSERT_EQ(create(0x20, {"a", "b"}), 0u);
	harness::call("release_flash_info_alloc", {find(0x20)});
	expect_no_names(find(0x20));
}

TEST_F(spi_registry_of_created, finds_a_record_with_its_names)
{
	ASSERT_EQ(create(0x20, {"a", "b"}), 0u);
	expect_names(find(0x20), {"a", "b"});
}

// ---------------------------------------------------------------------------------------------------------------- release of names

TEST_F(spi_registry_of_created, releases_names_and_keeps_their_count)
{
	ASSERT_EQ(create(0x20, {"a", "b", "c"}), 0u);
	const uint64_t record = find(0x20);
	harness::forget();
	harness::call("release_flash_mtd_name_alloc", {record, 3});
	EXPECT_EQ(harness::calls(), repeated({freed}, 4));
	expect_no_names(record, 3);
	EXPECT_EQ(records(), std::vector<uint64_t>{record});
}

TEST_F(spi_registry_of_created, releases_only_the_array_for_a_count_of_0)
{
	ASSERT_EQ(create(0x20, {"a", "b", "c"}), 0u);
	const uint64_t record = find(0x20);
	harness::forget();
	harness::call("release_flash_mtd_name_alloc", {record, 0});
	EXPECT_EQ(harness::calls(), call_list{freed});
	expect_no_names(record, 3);
	expect_leak({.heap = 3});
}

TEST_F(spi_registry_of_created, releases_the_first_names_for_a_smaller_count)
{
	ASSERT_EQ(create(0x20, {"a", "b", "c"}), 0u);
	const uint64_t record = find(0x20);
	harness::forget();
	harness::call("release_flash_mtd_name_alloc", {record, 2});
	EXPECT_EQ(harness::calls(), repeated({freed}, 3));
	expect_no_names(record, 3);
	expect_leak({.heap = 1});
}

TEST_F(spi_registry_of_created, releases_names_once)
{
	ASSERT_EQ(create(0x20, {"a"}), 0u);
	const uint64_t record = find(0x20);
	harness::call("release_flash_mtd_name_alloc", {record, 1});
	harness::forget();
	harness::call("release_flash_mtd_name_alloc", {record, 1});
	EXPECT_EQ(harness::calls(), call_list());
}

TEST_F(spi_registry, releases_no_names_where_there_are_none)
{
	const uint64_t record = find(0x20);
	harness::forget();
	harness::call("release_flash_mtd_name_alloc", {record, 5});
	harness::call("release_flash_mtd_name_alloc", {nullptr, 5});
	EXPECT_EQ(harness::calls(), call_list());
	expect_no_names(record);
}

// ---------------------------------------------------------------------------------------------------------------- unload

TEST_F(spi_registry, is_left_as_it_is_by_an_unload)
{
	find(0x20);
	harness::forget();
	harness::unload();
	EXPECT_FALSE(called("linux_spin_lock"));
	expect_leak({.heap = 1});
}

TEST_F(spi_registry_of_created, begins_empty_after_the_next_load_and_what_was_left_is_all_that_differs)
{
	const auto load_again = [] {
		harness::unload();
		harness::forget();
		EXPECT_EQ(harness::load(), 0u);
		return harness::calls();
	};
	const call_list fresh = load_again();
	const harness::holdings before = harness::held();
	harness::register_driver();
	ASSERT_EQ(create(0x20, {"a", "b"}), 0u);
	ASSERT_NE(find(0x21), 0u);

	EXPECT_EQ(load_again(), fresh);
	EXPECT_EQ(records(), std::vector<uint64_t>());
	EXPECT_EQ(harness::global("g_flash_funcs", 8), bytes(8, 0));
	harness::holdings after = before;
	after.heap += 5; // two records, a list of names and its two names
	EXPECT_EQ(harness::held(), after);
	expect_leak({.heap = 5});
}

TEST_F(spi_registry_of_created, keeps_names_over_an_unload)
{
	ASSERT_EQ(create(0x20, {"a", "b"}), 0u);
	harness::unload();
	expect_leak({.heap = 4});
}

} // namespace
} // namespace conformance
