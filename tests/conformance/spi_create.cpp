// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Making the partitions of a flash: the names that are kept, the lock, the driver.
#include "spi_words.hpp"

namespace conformance {
namespace {

const harness::parts_spec three_parts = {
	.parts = {{"mtd_00000020_a", 0, 0x1000}, {"mtd_00000020_b", 0x1000, 0x20000}, {"c", 0xFFFFFFFF, 0}}};
const std::vector<std::string> three_names = {"mtd_00000020_a", "mtd_00000020_b", "c"};

std::string copied(std::string_view name)
{
	return "linux_kstrdup(" + quoted(name) + ")";
}

std::string array_of(uint32_t count)
{
	return "linux_kcalloc(" + decimal(count) + ", 8)";
}

// The calls seen so far without messages and without the registry's lock; array sizes are fixed by what the array holds.
call_list deeds_of_create()
{
	return calls_without({"drv_log_record", "linux_spin_lock", "linux_spin_unlock"});
}

const call_list three_names_made = {array_of(3), copied("mtd_00000020_a"), copied("mtd_00000020_b"), copied("c")};

log_line no_create_function(uint32_t instance)
{
	return own_log(serious, "inst " + hexadecimal(instance) + " flash create funcs NULL");
}

log_line no_names(uint32_t instance, uint32_t code)
{
	return own_log(serious, "inst " + hexadecimal(instance) + " init mtdname failed, ret=" + hexadecimal(code));
}

log_line no_room_for_names(uint32_t count)
{
	return own_log(serious, "Malloc " + decimal(count) + " fail for init mtdname");
}

class spi_create : public on_spi_board_with_driver {};
class spi_create_without_driver : public on_spi_board {};

// ---------------------------------------------------------------------------------------------------------------- all of it

struct created_flash {
	const char *label;
	settings flash;
};

class spi_create_of : public spi_create, public testing::WithParamInterface<created_flash> {
protected:
	// Only lock type 1 does not lock.
	static call_list asked(const settings &flash)
	{
		if (flash.hardlock_type != 1)
			return {hard_lock(flash), driver_call("create", flash), hard_unlock(flash)};
		return {driver_call("create", flash)};
	}
};

TEST_P(spi_create_of, makes_names_then_locks_then_asks_the_driver)
{
	find(GetParam().flash.inst_id);
	harness::forget();
	EXPECT_EQ(create(GetParam().flash.inst_id, three_parts), 0u);
	EXPECT_EQ(deeds_of_create(), joined({three_names_made, asked(GetParam().flash)}));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_P(spi_create_of, hands_the_parts_to_the_driver_as_they_are)
{
	EXPECT_EQ(create(GetParam().flash.inst_id, three_parts), 0u);
	EXPECT_EQ(harness::created_parts(), three_parts.parts);
}

TEST_P(spi_create_of, keeps_the_names)
{
	EXPECT_EQ(create(GetParam().flash.inst_id, three_parts), 0u);
	EXPECT_EQ(instances(), std::vector<uint32_t>{GetParam().flash.inst_id});
	EXPECT_EQ(settings_of(find(GetParam().flash.inst_id)), in_memory(GetParam().flash));
	expect_names(find(GetParam().flash.inst_id), three_names);
}

INSTANTIATE_TEST_SUITE_P(flash, spi_create_of,
			 testing::Values(created_flash{"without_lock_settings", unlocked_flash},
					 created_flash{"of_lock_type_0", locked_flash}, created_flash{"of_lock_type_1", never_locked_flash},
					 created_flash{"of_lock_type_2", create_locked_flash},
					 created_flash{"of_the_highest_lock_type", extreme_flash}, created_flash{"of_a_card", first_card},
					 created_flash{"of_a_locked_card", second_card}),
			 [](const auto &row) { return row.param.label; });

TEST_F(spi_create, makes_a_record_at_first_use)
{
	EXPECT_EQ(create(0x20, {"a"}), 0u);
	EXPECT_EQ(deeds_beside_registry(),
		  joined({{record_allocated},
			  settings_read(0x20),
			  {record_linked, "linux_kcalloc(1, -)", copied("a"), driver_call("create", unlocked_flash)}}));
}

TEST_F(spi_create, takes_many_parts)
{
	harness::parts_spec parts;
	std::vector<std::string> names;
	for (uint32_t i = 0; i < 200; ++i) {
		names.push_back("part" + decimal(i));
		parts.parts.push_back({names.back(), i, i});
	}
	EXPECT_EQ(create(0x20, parts), 0u);
	expect_names(find(0x20), names);
	EXPECT_EQ(harness::created_parts(), parts.parts);
}

TEST_F(spi_create, takes_fewer_parts_than_there_are)
{
	harness::parts_spec parts = three_parts;
	parts.part_num = 2;
	EXPECT_EQ(create(0x20, parts), 0u);
	expect_names(find(0x20), {"mtd_00000020_a", "mtd_00000020_b"});
}

class spi_create_name : public spi_create, public testing::WithParamInterface<std::string> {};

TEST_P(spi_create_name, is_kept_whole)
{
	EXPECT_EQ(create(0x20, {GetParam().c_str()}), 0u);
	expect_names(find(0x20), {GetParam()});
	EXPECT_TRUE(called("suite_driver_create"));
}

INSTANTIATE_TEST_SUITE_P(of_characters, spi_create_name,
			 testing::Values(name_of_length(0), name_of_length(1), name_of_length(30), name_of_length(31), name_of_length(32)),
			 [](const auto &row) { return decimal(row.param.size()); });

TEST_F(spi_create, takes_a_name_that_fills_its_field_between_others)
{
	EXPECT_EQ(create(0x20, {"before", name_of_32, "after"}), 0u);
	expect_names(find(0x20), {"before", name_of_32, "after"});
}

TEST_F(spi_create, takes_equal_names)
{
	EXPECT_EQ(create(0x20, {"a", "a"}), 0u);
	expect_names(find(0x20), {"a", "a"});
}

// ---------------------------------------------------------------------------------------------------------------- without a driver

TEST_F(spi_create_without_driver, fails_and_makes_no_record)
{
	EXPECT_EQ(create(0x20, {"a"}), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_create_function(0x20)});
	EXPECT_EQ(harness::calls(), call_list{message(own, serious, "inst 0x%x flash create funcs NULL")});
	EXPECT_EQ(records(), std::vector<uint64_t>());
}

TEST_F(spi_create_without_driver, fails_before_the_parts_are_looked_at)
{
	EXPECT_EQ(harness::call("drv_flash_create", {0x20, nullptr}), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_create_function(0x20)});
}

TEST_F(spi_create_without_driver, fails_too_with_one_that_lacks_the_function)
{
	harness::register_driver({.create = false});
	EXPECT_EQ(create(default_instance, {"a"}), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_create_function(default_instance)});
	EXPECT_EQ(deeds(), call_list());
}

TEST_F(spi_create_without_driver, succeeds_with_one_that_has_only_the_function)
{
	harness::register_driver({.get_size = false, .destroy = false});
	EXPECT_EQ(create(0x20, {"a"}), 0u);
}

// ---------------------------------------------------------------------------------------------------------------- without parts

TEST_F(spi_create, without_parts_info_says_so_and_goes_on_to_fail)
{
	EXPECT_EQ(harness::call("drv_flash_create", {0x20, nullptr}), failed);
	EXPECT_EQ(harness::log(), (log_lines{own_log(serious, "inst 0x20 flash create parts info is NULL"), no_names(0x20, 0xFFFFFFFF)}));
	EXPECT_EQ(calls_of("drv_log_record"), (call_list{message(own, serious, "inst 0x%x flash create parts info is NULL"),
							 message(own, serious, "inst 0x%x init mtdname failed, ret=%#x")}));
}

TEST_F(spi_create, without_parts_info_makes_a_record)
{
	EXPECT_EQ(harness::call("drv_flash_create", {0x21, nullptr}), failed);
	EXPECT_EQ(instances(), std::vector<uint32_t>{0x21});
	expect_no_names(find(0x21));
	EXPECT_FALSE(called("linux_kcalloc"));
	EXPECT_FALSE(called("drv_hard_trylock"));
	EXPECT_FALSE(called("suite_driver_create"));
}

TEST_F(spi_create, without_parts_info_says_so_before_the_record_is_looked_up)
{
	EXPECT_EQ(harness::call("drv_flash_create", {bare_instance, nullptr}), failed);
	EXPECT_EQ(harness::log(), (log_lines{own_log(serious, "inst 0x39 flash create parts info is NULL"), no_parent(bare_instance),
					     no_record(bare_instance)}));
}

TEST_F(spi_create, of_no_parts_fails)
{
	harness::parts_spec parts = three_parts;
	parts.part_num = 0;
	EXPECT_EQ(create(0x20, parts), failed);
	EXPECT_EQ(harness::log(), log_lines{no_names(0x20, 0xFFFFFFFF)});
	EXPECT_FALSE(called("linux_kcalloc"));
	EXPECT_FALSE(called("suite_driver_create"));
	expect_no_names(find(0x20));
}

TEST_F(spi_create, of_parts_at_no_address_fails)
{
	EXPECT_EQ(create(0x20, {.parts = {}, .part_num = 3, .null_parts = true}), failed);
	EXPECT_EQ(harness::log(), log_lines{no_names(0x20, 0xFFFFFFFF)});
	EXPECT_FALSE(called("suite_driver_create"));
	expect_no_names(find(0x20));
}

TEST_F(spi_create, of_no_parts_leaves_earlier_names)
{
	ASSERT_EQ(create(0x20, three_parts), 0u);
	EXPECT_EQ(create(0x20, harness::parts_spec()), failed);
	EXPECT_EQ(harness::call("drv_flash_create", {0x20, nullptr}), failed);
	expect_names(find(0x20), three_names);
}

TEST_F(spi_create, of_an_instance_without_settings_fails)
{
	EXPECT_EQ(create(bare_instance, {"a"}), failed);
	EXPECT_EQ(harness::log(), (log_lines{no_parent(bare_instance), no_record(bare_instance)}));
	EXPECT_FALSE(called("linux_kcalloc"));
}

// ---------------------------------------------------------------------------------------------------------------- names that fail

TEST_F(spi_create, without_memory_for_the_array_fails)
{
	harness::fail("linux_kcalloc", 0);
	EXPECT_EQ(create(0x21, three_parts), no_memory);
	EXPECT_EQ(harness::log(), (log_lines{no_room_for_names(3), no_names(0x21, 0x4AA)}));
	EXPECT_EQ(last(deeds_of_create(), 1), call_list{array_of(3)});
	EXPECT_EQ(instances(), std::vector<uint32_t>{0x21});
	expect_no_names(find(0x21), 0);
}

TEST_F(spi_create, says_the_format_of_its_message_about_the_array)
{
	harness::fail("linux_kcalloc", 0);
	create(0x20, three_parts);
	EXPECT_EQ(calls_of("drv_log_record"), (call_list{message(own, serious, "Malloc %u fail for init mtdname"),
							 message(own, serious, "inst 0x%x init mtdname failed, ret=%#x")}));
}

TEST_F(spi_create, without_memory_for_the_array_forgets_earlier_names_but_not_their_count)
{
	ASSERT_EQ(create(0x20, three_parts), 0u);
	harness::fail("linux_kcalloc", 0);
	EXPECT_EQ(create(0x20, {"x"}), no_memory);
	expect_no_names(find(0x20), 3);
	expect_leak({.heap = 4});
}

class spi_create_part_num : public spi_create, public testing::WithParamInterface<uint32_t> {};

TEST_P(spi_create_part_num, is_too_large_for_memory)
{
	harness::parts_spec parts = three_parts;
	parts.part_num = GetParam();
	EXPECT_EQ(create(0x20, parts), no_memory);
	EXPECT_EQ(harness::log(), (log_lines{no_room_for_names(GetParam()), no_names(0x20, 0x4AA)}));
	EXPECT_EQ(last(deeds_of_create(), 1), call_list{array_of(GetParam())});
	expect_no_names(find(0x20));
}

// In 32 bits, eight times the second is 8 and eight times the third is 0.
INSTANTIATE_TEST_SUITE_P(of, spi_create_part_num, testing::Values(0xFFFFFFFFu, 0x20000001u, 0x20000000u, 0x80000000u),
			 [](const auto &row) { return as_case_name(row.param); });

class spi_create_failed_copy : public spi_create, public testing::WithParamInterface<unsigned> {};

TEST_P(spi_create_failed_copy, frees_what_was_copied_before)
{
	find(0x21);
	harness::forget();
	harness::fail("linux_kstrdup", 0, GetParam());
	EXPECT_EQ(create(0x21, three_parts), copy_failed);
	call_list expected(three_names_made.begin(), three_names_made.begin() + 1 + GetParam());
	EXPECT_EQ(deeds_of_create(), joined({expected, repeated({freed}, GetParam())}));
	EXPECT_EQ(harness::log(), log_lines{no_names(0x21, 0x4A2)});
}

TEST_P(spi_create_failed_copy, leaves_no_names_but_their_count)
{
	harness::fail("linux_kstrdup", 0, GetParam());
	EXPECT_EQ(create(0x20, three_parts), copy_failed);
	EXPECT_EQ(instances(), std::vector<uint32_t>{0x20});
	expect_no_names(find(0x20), 3);
}

TEST_P(spi_create_failed_copy, can_be_tried_again)
{
	harness::fail("linux_kstrdup", 0, GetParam());
	EXPECT_EQ(create(0x20, three_parts), copy_failed);
	EXPECT_EQ(create(0x20, three_parts), 0u);
	expect_names(find(0x20), three_names);
}

TEST_P(spi_create_failed_copy, forgets_earlier_names)
{
	ASSERT_EQ(create(0x20, {"a"}), 0u);
	harness::fail("linux_kstrdup", 0, GetParam());
	EXPECT_EQ(create(0x20, three_parts), copy_failed);
	expect_no_names(find(0x20), 3);
	expect_leak({.heap = 2});
}

INSTANTIATE_TEST_SUITE_P(number, spi_create_failed_copy, testing::Values(1u, 2u, 3u), [](const auto &row) { return decimal(row.param); });

TEST_F(spi_create, a_second_time_replaces_the_names_and_keeps_the_old_memory)
{
	ASSERT_EQ(create(0x20, three_parts), 0u);
	harness::forget();
	EXPECT_EQ(create(0x20, {"x", "y"}), 0u);
	expect_names(find(0x20), {"x", "y"});
	EXPECT_FALSE(called("kfree"));
	expect_leak({.heap = 4});
}

TEST_F(spi_create, of_one_instance_leaves_the_names_of_another)
{
	ASSERT_EQ(create(0x20, {"a"}), 0u);
	ASSERT_EQ(create(0x21, {"b"}), 0u);
	expect_names(find(0x20), {"a"});
	expect_names(find(0x21), {"b"});
}

class spi_create_allocation : public spi_create, public testing::WithParamInterface<const char *> {};

TEST_P(spi_create_allocation, that_fails_ends_it_and_keeps_nothing)
{
	sweep_failures(GetParam(), 0, [] {
		const uint32_t code = create(0x21, three_parts);
		for (uint64_t record : records())
			harness::call("release_flash_info_alloc", {record});
		return code;
	});
}

INSTANTIATE_TEST_SUITE_P(by, spi_create_allocation, testing::Values("linux_kzalloc", "linux_kcalloc", "linux_kstrdup"),
			 [](const auto &row) { return row.param; });

// ---------------------------------------------------------------------------------------------------------------- name setup by itself

TEST_F(spi_create_without_driver, has_names_set_up_by_their_own_function)
{
	const uint64_t record = find(0x20);
	harness::forget();
	EXPECT_EQ(harness::call("drv_flash_init_info_mtdname", {record, &three_parts}), 0u);
	EXPECT_EQ(deeds_of_create(), three_names_made);
	expect_names(record, three_names);
}

TEST_F(spi_create_without_driver, has_no_names_set_up_without_parts)
{
	const uint64_t record = find(0x20);
	const harness::parts_spec none;
	harness::forget();
	EXPECT_EQ(harness::call("drv_flash_init_info_mtdname", {record, nullptr}), failed);
	EXPECT_EQ(harness::call("drv_flash_init_info_mtdname", {record, &none}), failed);
	EXPECT_EQ(harness::calls(), call_list());
}

TEST_F(spi_create_without_driver, has_no_names_set_up_without_memory_for_the_array)
{
	const uint64_t record = find(0x20);
	harness::forget();
	harness::fail("linux_kcalloc", 0);
	EXPECT_EQ(harness::call("drv_flash_init_info_mtdname", {record, &three_parts}), no_memory);
	EXPECT_EQ(harness::log(), log_lines{no_room_for_names(3)});
	expect_no_names(record);
}

TEST_F(spi_create_without_driver, has_no_names_set_up_when_one_cannot_be_copied)
{
	const uint64_t record = find(0x20);
	harness::forget();
	harness::fail("linux_kstrdup", 0, 2);
	EXPECT_EQ(harness::call("drv_flash_init_info_mtdname", {record, &three_parts}), copy_failed);
	EXPECT_EQ(harness::log(), log_lines());
	expect_no_names(record, 3);
}

// ---------------------------------------------------------------------------------------------------------------- the lock and the driver

class spi_create_status : public spi_create, public testing::WithParamInterface<uint32_t> {};

TEST_P(spi_create_status, of_the_driver_is_passed_on_in_silence_and_undoes_nothing)
{
	harness::fail("suite_driver_create", GetParam());
	EXPECT_EQ(create(0x20, three_parts), GetParam());
	EXPECT_EQ(harness::log(), log_lines());
	expect_names(find(0x20), three_names);
}

TEST_P(spi_create_status, of_the_driver_is_passed_on_after_the_lock_is_released)
{
	harness::fail("suite_driver_create", GetParam());
	EXPECT_EQ(create(0x22, {"a"}), GetParam());
	EXPECT_EQ(deeds_beside_registry().back(), hard_unlock(create_locked_flash));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_P(spi_create_status, of_a_refused_lock_is_passed_on_and_the_names_stay)
{
	harness::fail("drv_hard_trylock", GetParam());
	EXPECT_EQ(create(0x22, three_parts), GetParam());
	EXPECT_EQ(harness::log(), log_lines{own_log(serious, "inst 0x22 create mtd lock failed, rc=" + hexadecimal(GetParam()))});
	EXPECT_EQ(deeds_beside_registry().back(), hard_lock(create_locked_flash));
	expect_names(find(0x22), three_names);
}

TEST_P(spi_create_status, of_a_failed_release_is_passed_on)
{
	harness::fail("drv_hard_unlock", GetParam());
	EXPECT_EQ(create(0x22, three_parts), GetParam());
	EXPECT_EQ(harness::log(), log_lines{own_log(serious, "inst 0x22 create mtd unlock failed, rc=" + hexadecimal(GetParam()))});
	expect_names(find(0x22), three_names);
}

TEST_P(spi_create_status, of_a_failed_release_replaces_that_of_the_driver)
{
	harness::fail("suite_driver_create", 5);
	harness::fail("drv_hard_unlock", GetParam());
	EXPECT_EQ(create(0x21, {"a"}), GetParam());
	EXPECT_EQ(harness::log(), log_lines{own_log(serious, "inst 0x21 create mtd unlock failed, rc=" + hexadecimal(GetParam()))});
}

INSTANTIATE_TEST_SUITE_P(value, spi_create_status, testing::Values(1u, 0x70030012u, 0x80000000u, 0xFFFFFFFFu),
			 [](const auto &row) { return as_case_name(row.param); });

TEST_F(spi_create, says_the_formats_of_its_lock_messages)
{
	harness::fail("drv_hard_trylock", 1);
	create(0x21, {"a"});
	EXPECT_EQ(calls_of("drv_log_record"), call_list{message(own, serious, "inst %#x create mtd lock failed, rc=%#x")});
	harness::call("release_flash_info_alloc", {find(0x21)});
	harness::forget();
	harness::fail("drv_hard_unlock", 1);
	create(0x21, {"a"});
	EXPECT_EQ(calls_of("drv_log_record"), call_list{message(own, serious, "inst %#x create mtd unlock failed, rc=%#x")});
}

TEST_F(spi_create, tries_its_lock_once)
{
	harness::fail_always("drv_hard_trylock", 1);
	EXPECT_EQ(create(0x21, {"a"}), 1u);
	EXPECT_EQ(times_called("drv_hard_trylock"), 1);
}

// ---------------------------------------------------------------------------------------------------------------- a driver that goes away

TEST_F(spi_create, of_a_driver_that_goes_away_meanwhile_fails_and_keeps_the_names)
{
	harness::unregister_driver_at("linux_kcalloc");
	EXPECT_EQ(create(0x20, three_parts), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_create_function(0x20)});
	expect_names(find(0x20), three_names);
}

TEST_F(spi_create, of_a_driver_that_goes_away_under_the_lock_releases_it)
{
	harness::unregister_driver_at("drv_hard_trylock");
	EXPECT_EQ(create(0x22, {"a"}), no_driver);
	EXPECT_EQ(last(deeds_beside_registry(), 2), (call_list{hard_lock(create_locked_flash), hard_unlock(create_locked_flash)}));
	EXPECT_EQ(harness::log(), log_lines{no_create_function(0x22)});
}

TEST_F(spi_create, of_a_driver_that_goes_away_gives_way_to_a_failed_release)
{
	harness::unregister_driver_at("drv_hard_trylock");
	harness::fail("drv_hard_unlock", 6);
	EXPECT_EQ(create(0x22, {"a"}), 6u);
	EXPECT_EQ(harness::log(), (log_lines{no_create_function(0x22), own_log(serious, "inst 0x22 create mtd unlock failed, rc=0x6")}));
}

TEST_F(spi_create, of_a_driver_replaced_by_one_without_the_function_fails)
{
	harness::replace_driver_at("linux_kcalloc", {.create = false});
	EXPECT_EQ(create(0x20, {"a"}), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_create_function(0x20)});
}

} // namespace
} // namespace conformance
