// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The flash driver's registration, and the size of a flash.
#include "spi_words.hpp"

namespace conformance {
namespace {

uint64_t registered_driver()
{
	return u64_at(harness::global("g_flash_funcs", 8), 0);
}

log_line no_size_function(uint32_t instance)
{
	return own_log(serious, "inst " + hexadecimal(instance) + " flash funcs NULL");
}

// ---------------------------------------------------------------------------------------------------------------- registration

class spi_driver : public on_spi_board {};

TEST_F(spi_driver, is_none_after_a_load)
{
	EXPECT_EQ(registered_driver(), 0u);
}

TEST_F(spi_driver, is_the_third_argument)
{
	EXPECT_EQ(harness::call("drv_flash_driver_register", {1, 2, 0x1122334455667788u}), 0u);
	EXPECT_EQ(registered_driver(), 0x1122334455667788u);
	EXPECT_EQ(harness::call("drv_flash_driver_register", {UINT64_MAX, UINT64_MAX, nullptr}), 0u);
	EXPECT_EQ(registered_driver(), 0u);
}

TEST_F(spi_driver, replaces_an_earlier_one)
{
	EXPECT_EQ(harness::call("drv_flash_driver_register", {0, 0, 0x1000}), 0u);
	EXPECT_EQ(harness::call("drv_flash_driver_register", {0, 0, 0x2000}), 0u);
	EXPECT_EQ(registered_driver(), 0x2000u);
	harness::call("drv_flash_driver_unregister", {});
}

TEST_F(spi_driver, is_gone_when_it_unregisters)
{
	harness::register_driver();
	EXPECT_NE(registered_driver(), 0u);
	harness::call("drv_flash_driver_unregister", {});
	EXPECT_EQ(registered_driver(), 0u);
	harness::call("drv_flash_driver_unregister", {});
	EXPECT_EQ(registered_driver(), 0u);
}

TEST_F(spi_driver, comes_and_goes_in_silence)
{
	harness::register_driver();
	harness::call("drv_flash_driver_unregister", {});
	EXPECT_EQ(harness::calls(), call_list());
}

TEST_F(spi_driver, keeps_the_registry_when_it_unregisters)
{
	harness::register_driver();
	ASSERT_EQ(create(0x20, {"a"}), 0u);
	harness::call("drv_flash_driver_unregister", {});
	EXPECT_EQ(instances(), std::vector<uint32_t>{0x20});
	expect_names(find(0x20), {"a"});
}

// ---------------------------------------------------------------------------------------------------------------- size

class spi_size : public on_spi_board_with_driver {};

struct sized_flash {
	const char *label;
	settings flash;
};

class spi_size_of : public spi_size, public testing::WithParamInterface<sized_flash> {
protected:
	// Only lock type 0 locks.
	static call_list asked(const settings &flash)
	{
		if (flash.hardlock_type == 0)
			return {hard_lock(flash), driver_call("get_size", flash), hard_unlock(flash)};
		return {driver_call("get_size", flash)};
	}
};

TEST_P(spi_size_of, is_what_the_driver_says)
{
	bytes size(8);
	EXPECT_EQ(harness::call("drv_flash_get_size", {GetParam().flash.inst_id, 0, &size}), 0u);
	EXPECT_EQ(u64_at(size, 0), harness::suite_flash_size);
}

TEST_P(spi_size_of, is_asked_with_its_settings_and_its_lock)
{
	find(GetParam().flash.inst_id);
	harness::forget();
	EXPECT_EQ(get_size(GetParam().flash.inst_id), 0u);
	EXPECT_EQ(deeds_beside_registry(), asked(GetParam().flash));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_P(spi_size_of, is_asked_again_without_the_xml)
{
	EXPECT_EQ(get_size(GetParam().flash.inst_id), 0u);
	harness::forget();
	EXPECT_EQ(get_size(GetParam().flash.inst_id), 0u);
	EXPECT_EQ(deeds_beside_registry(), asked(GetParam().flash));
}

INSTANTIATE_TEST_SUITE_P(flash, spi_size_of,
			 testing::Values(sized_flash{"without_lock_settings", unlocked_flash}, sized_flash{"of_lock_type_0", locked_flash},
					 sized_flash{"of_lock_type_1", never_locked_flash},
					 sized_flash{"of_lock_type_2", create_locked_flash},
					 sized_flash{"of_the_highest_lock_type", extreme_flash}, sized_flash{"of_a_card", first_card},
					 sized_flash{"of_a_locked_card", second_card}),
			 [](const auto &row) { return row.param.label; });

TEST_F(spi_size, makes_a_record_at_first_use)
{
	EXPECT_EQ(get_size(0x20), 0u);
	EXPECT_EQ(deeds_beside_registry(),
		  joined({{record_allocated}, settings_read(0x20), {record_linked, driver_call("get_size", unlocked_flash)}}));
	EXPECT_EQ(instances(), std::vector<uint32_t>{0x20});
	expect_no_names(find(0x20));
}

TEST_F(spi_size, ignores_its_second_argument)
{
	bytes size(8);
	EXPECT_EQ(harness::call("drv_flash_get_size", {0x20, UINT64_MAX, &size}), 0u);
	EXPECT_EQ(u64_at(size, 0), harness::suite_flash_size);
}

TEST_F(spi_size, of_an_instance_without_settings_fails)
{
	bytes size(8, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_size", {bare_instance, 0, &size}), failed);
	EXPECT_EQ(harness::log(), (log_lines{no_parent(bare_instance), no_record(bare_instance)}));
	EXPECT_EQ(size, bytes(8, 0xEE));
	EXPECT_FALSE(called("suite_driver_get_size"));
}

TEST_F(spi_size, without_memory_for_the_record_fails)
{
	harness::fail("linux_kzalloc", 0);
	EXPECT_EQ(get_size(0x20), failed);
	EXPECT_EQ(harness::log(), log_lines{record_without_memory(0x20)});
}

TEST_F(spi_size, to_nowhere_fails_before_the_instance_is_looked_up)
{
	EXPECT_EQ(harness::call("drv_flash_get_size", {0x20, 0, nullptr}), null_pointer);
	EXPECT_EQ(harness::log(), log_lines{own_log(serious, "inst 0x20 flash size is NULL")});
	EXPECT_EQ(harness::calls(), call_list{message(own, serious, "inst 0x%x flash size is NULL")});
	EXPECT_EQ(records(), std::vector<uint64_t>());
}

TEST_F(spi_driver, that_is_missing_has_no_size)
{
	EXPECT_EQ(get_size(0x20), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_size_function(0x20)});
	EXPECT_EQ(harness::calls(), call_list{message(own, serious, "inst 0x%x flash funcs NULL")});
	EXPECT_EQ(records(), std::vector<uint64_t>());
}

TEST_F(spi_driver, that_is_missing_comes_before_a_null_address)
{
	EXPECT_EQ(harness::call("drv_flash_get_size", {0x20, 0, nullptr}), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_size_function(0x20)});
}

TEST_F(spi_driver, without_the_function_has_no_size)
{
	harness::register_driver({.get_size = false});
	EXPECT_EQ(get_size(default_instance), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_size_function(default_instance)});
	EXPECT_EQ(deeds(), call_list());
}

TEST_F(spi_driver, with_only_that_function_has_a_size)
{
	harness::register_driver({.create = false, .destroy = false});
	EXPECT_EQ(get_size(0x20), 0u);
}

class spi_size_status : public spi_size, public testing::WithParamInterface<uint32_t> {};

TEST_P(spi_size_status, of_the_driver_is_passed_on_in_silence)
{
	bytes size(8, 0xEE);
	harness::fail("suite_driver_get_size", GetParam());
	EXPECT_EQ(harness::call("drv_flash_get_size", {0x20, 0, &size}), GetParam());
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(size, bytes(8, 0xEE));
	EXPECT_EQ(instances(), std::vector<uint32_t>{0x20});
}

TEST_P(spi_size_status, of_the_driver_is_passed_on_after_the_lock_is_released)
{
	harness::fail("suite_driver_get_size", GetParam());
	EXPECT_EQ(get_size(0x21), GetParam());
	EXPECT_EQ(last(deeds_beside_registry(), 3),
		  (call_list{hard_lock(locked_flash), driver_call("get_size", locked_flash), hard_unlock(locked_flash)}));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_P(spi_size_status, of_a_refused_lock_is_passed_on)
{
	find(0x21);
	harness::forget();
	harness::fail("drv_hard_trylock", GetParam());
	EXPECT_EQ(get_size(0x21), GetParam());
	EXPECT_EQ(harness::log(),
		  log_lines{own_log(serious, "get flash size lock failed, inst_id:0x21, lock_type:0, rc=" + hexadecimal(GetParam()))});
	EXPECT_EQ(deeds_beside_registry(), call_list{hard_lock(locked_flash)});
}

TEST_P(spi_size_status, of_a_failed_release_is_passed_on)
{
	harness::fail("drv_hard_unlock", GetParam());
	EXPECT_EQ(get_size(0x21), GetParam());
	EXPECT_EQ(harness::log(),
		  log_lines{own_log(serious, "inst:0x21 get flash size unlock failed, lock_type:0, rc=" + hexadecimal(GetParam()))});
}

TEST_P(spi_size_status, of_a_failed_release_replaces_that_of_the_driver)
{
	harness::fail("suite_driver_get_size", 5);
	harness::fail("drv_hard_unlock", GetParam());
	EXPECT_EQ(get_size(0x21), GetParam());
	EXPECT_EQ(harness::log().size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(value, spi_size_status, testing::Values(1u, 0x70030012u, 0x80000000u, 0xFFFFFFFFu),
			 [](const auto &row) { return as_case_name(row.param); });

TEST_F(spi_size, says_the_formats_of_its_lock_messages)
{
	harness::fail("drv_hard_trylock", 1);
	get_size(0x21);
	EXPECT_EQ(calls_of("drv_log_record"),
		  call_list{message(own, serious, "get flash size lock failed, inst_id:%#x, lock_type:%u, rc=%#x")});
	harness::forget();
	harness::fail("drv_hard_unlock", 1);
	get_size(0x21);
	EXPECT_EQ(calls_of("drv_log_record"),
		  call_list{message(own, serious, "inst:%#x get flash size unlock failed, lock_type:%u, rc=%#x")});
}

TEST_F(spi_size, tries_its_lock_once)
{
	harness::fail("drv_hard_trylock", 1);
	EXPECT_EQ(get_size(0x21), 1u);
	EXPECT_EQ(times_called("drv_hard_trylock"), 1);
	EXPECT_EQ(get_size(0x21), 0u);
	EXPECT_EQ(times_called("drv_hard_trylock"), 2);
}

TEST_F(spi_size, releases_its_lock_for_the_next)
{
	for (int round = 0; round < 3; ++round)
		EXPECT_EQ(get_size(0x21), 0u);
}

// ---------------------------------------------------------------------------------------------------------------- a driver that goes away

TEST_F(spi_size, of_a_driver_that_goes_away_meanwhile_fails)
{
	find(0x20);
	harness::forget();
	harness::unregister_driver_at("linux_spin_lock");
	EXPECT_EQ(get_size(0x20), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_size_function(0x20)});
	EXPECT_EQ(deeds_beside_registry(), call_list());
}

TEST_F(spi_size, of_a_driver_that_goes_away_under_the_lock_releases_it)
{
	find(0x21);
	harness::forget();
	harness::unregister_driver_at("drv_hard_trylock");
	EXPECT_EQ(get_size(0x21), no_driver);
	EXPECT_EQ(deeds_beside_registry(), (call_list{hard_lock(locked_flash), hard_unlock(locked_flash)}));
	EXPECT_EQ(harness::log(), log_lines{no_size_function(0x21)});
}

TEST_F(spi_size, of_a_driver_that_goes_away_gives_way_to_a_failed_release)
{
	harness::unregister_driver_at("drv_hard_trylock");
	harness::fail("drv_hard_unlock", 6);
	EXPECT_EQ(get_size(0x21), 6u);
	EXPECT_EQ(harness::log(),
		  (log_lines{no_size_function(0x21), own_log(serious, "inst:0x21 get flash size unlock failed, lock_type:0, rc=0x6")}));
}

TEST_F(spi_size, of_a_driver_replaced_by_one_without_the_function_fails)
{
	harness::replace_driver_at("drv_hard_trylock", {.get_size = false});
	EXPECT_EQ(get_size(0x21), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_size_function(0x21)});
	EXPECT_EQ(last(deeds_beside_registry(), 1), call_list{hard_unlock(locked_flash)});
}

TEST_F(spi_size, of_a_driver_replaced_by_one_with_the_function_is_good)
{
	harness::replace_driver_at("drv_hard_trylock", {.create = false, .destroy = false});
	EXPECT_EQ(get_size(0x21), 0u);
	EXPECT_TRUE(called("suite_driver_get_size"));
}

} // namespace
} // namespace conformance
