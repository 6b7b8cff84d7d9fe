// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Destroying a flash: the driver first, then the record.
#include "spi_words.hpp"

namespace conformance {
namespace {

log_line no_destroy_function(uint32_t instance)
{
	return own_log(serious, "inst " + hexadecimal(instance) + " flash destroy funcs NULL");
}

class spi_destroy : public on_spi_board_with_driver {};
class spi_destroy_without_driver : public on_spi_board {};

struct destroyed_flash {
	const char *label;
	settings flash;
};

class spi_destroy_of : public spi_destroy, public testing::WithParamInterface<destroyed_flash> {};

TEST_P(spi_destroy_of, asks_the_driver_without_a_lock_and_releases_the_record)
{
	const harness::holdings before = harness::held();
	ASSERT_EQ(create(GetParam().flash.inst_id, {"a", "b"}), 0u);
	harness::forget();
	EXPECT_EQ(destroy(GetParam().flash.inst_id), 0u);
	EXPECT_EQ(deeds_beside_registry(), joined({{driver_call("destroy", GetParam().flash), unlinked}, repeated({freed}, 4)}));
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_EQ(records(), std::vector<uint64_t>());
	EXPECT_EQ(harness::held(), before);
}

TEST_P(spi_destroy_of, that_was_never_created_reads_its_settings)
{
	EXPECT_EQ(destroy(GetParam().flash.inst_id), 0u);
	EXPECT_EQ(calls_of("suite_driver_destroy"), call_list{driver_call("destroy", GetParam().flash)});
	EXPECT_EQ(records(), std::vector<uint64_t>());
}

INSTANTIATE_TEST_SUITE_P(
	flash, spi_destroy_of,
	testing::Values(destroyed_flash{"without_lock_settings", unlocked_flash}, destroyed_flash{"of_lock_type_0", locked_flash},
			destroyed_flash{"of_lock_type_1", never_locked_flash}, destroyed_flash{"of_lock_type_2", create_locked_flash},
			destroyed_flash{"of_the_highest_lock_type", extreme_flash}, destroyed_flash{"of_a_card", first_card}),
	[](const auto &row) { return row.param.label; });

TEST_F(spi_destroy, of_an_unused_instance_makes_its_record_and_frees_it)
{
	const harness::holdings before = harness::held();
	EXPECT_EQ(destroy(0x20), 0u);
	EXPECT_EQ(deeds_beside_registry(), joined({{record_allocated},
						   settings_read(0x20),
						   {record_linked, driver_call("destroy", unlocked_flash), unlinked, freed}}));
	EXPECT_EQ(harness::held(), before);
}

TEST_F(spi_destroy, takes_the_record_out_under_the_registrys_lock)
{
	find(0x20);
	harness::forget();
	EXPECT_EQ(destroy(0x20), 0u);
	const call_list calls = harness::calls();
	const auto out = std::find(calls.begin(), calls.end(), unlinked);
	ASSERT_TRUE(out != calls.begin() && out != calls.end());
	EXPECT_EQ(*(out - 1), lock_taken);
	EXPECT_EQ(*(out + 1), lock_released);
}

// One that leaves may be the last, and another be leaving at the same time.
TEST_F(spi_destroy, counts_the_users_of_a_record_under_the_registrys_lock)
{
	find(0x20);
	harness::forget();
	EXPECT_EQ(get_size(0x20), 0u);
	EXPECT_EQ(deeds(), (call_list{lock_taken, lock_released, driver_call("get_size", unlocked_flash), lock_taken, lock_released}));
}

TEST_F(spi_destroy, makes_the_next_use_read_the_xml_again)
{
	ASSERT_EQ(create(0x20, {"a"}), 0u);
	ASSERT_EQ(destroy(0x20), 0u);
	harness::forget();
	EXPECT_EQ(get_size(0x20), 0u);
	EXPECT_EQ(deeds_beside_registry(),
		  joined({{record_allocated}, settings_read(0x20), {record_linked, driver_call("get_size", unlocked_flash)}}));
	expect_no_names(find(0x20));
}

TEST_F(spi_destroy, can_be_followed_by_a_create)
{
	for (int round = 0; round < 3; ++round) {
		SCOPED_TRACE(round);
		EXPECT_EQ(create(0x21, {"a", "b"}), 0u);
		expect_names(find(0x21), {"a", "b"});
		EXPECT_EQ(destroy(0x21), 0u);
		EXPECT_EQ(records(), std::vector<uint64_t>());
	}
}

TEST_F(spi_destroy, can_be_repeated)
{
	ASSERT_EQ(create(0x20, {"a"}), 0u);
	EXPECT_EQ(destroy(0x20), 0u);
	EXPECT_EQ(destroy(0x20), 0u);
	EXPECT_EQ(times_called("suite_driver_destroy"), 2);
	EXPECT_EQ(records(), std::vector<uint64_t>());
}

TEST_F(spi_destroy, leaves_other_instances)
{
	for (uint32_t instance : {0x20u, 0x21u, 0x22u})
		ASSERT_EQ(create(instance, {"a"}), 0u);
	EXPECT_EQ(destroy(0x21), 0u);
	EXPECT_EQ(instances(), (std::vector<uint32_t>{0x20, 0x22}));
	expect_names(find(0x20), {"a"});
	expect_names(find(0x22), {"a"});
}

TEST_F(spi_destroy, after_a_failed_create_frees_the_record)
{
	const harness::holdings before = harness::held();
	harness::fail("linux_kstrdup", 0, 2);
	ASSERT_EQ(create(0x20, {"a", "b", "c"}), copy_failed);
	EXPECT_EQ(destroy(0x20), 0u);
	EXPECT_EQ(harness::held(), before);
}

TEST_F(spi_destroy, of_an_instance_without_settings_fails)
{
	EXPECT_EQ(destroy(bare_instance), failed);
	EXPECT_EQ(harness::log(), (log_lines{no_parent(bare_instance), no_record(bare_instance)}));
	EXPECT_FALSE(called("suite_driver_destroy"));
}

TEST_F(spi_destroy, without_memory_for_the_record_fails)
{
	harness::fail("linux_kzalloc", 0);
	EXPECT_EQ(destroy(0x20), failed);
	EXPECT_EQ(harness::log(), log_lines{record_without_memory(0x20)});
	EXPECT_FALSE(called("suite_driver_destroy"));
}

class spi_destroy_refused : public spi_destroy, public testing::WithParamInterface<uint32_t> {};

TEST_P(spi_destroy_refused, keeps_the_record_and_its_names)
{
	ASSERT_EQ(create(0x21, {"a", "b"}), 0u);
	const uint64_t record = find(0x21);
	harness::forget();
	harness::fail("suite_driver_destroy", GetParam());
	EXPECT_EQ(destroy(0x21), GetParam());
	EXPECT_EQ(harness::log(), log_lines{own_log(serious, "inst 0x21 flash destroy failed")});
	EXPECT_EQ(calls_of("drv_log_record"), call_list{message(own, serious, "inst 0x%x flash destroy failed")});
	EXPECT_FALSE(called("kfree"));
	EXPECT_EQ(records(), std::vector<uint64_t>{record});
	expect_names(record, {"a", "b"});
}

TEST_P(spi_destroy_refused, can_be_tried_again)
{
	ASSERT_EQ(create(0x21, {"a", "b"}), 0u);
	harness::fail("suite_driver_destroy", GetParam());
	EXPECT_EQ(destroy(0x21), GetParam());
	EXPECT_EQ(destroy(0x21), 0u);
	EXPECT_EQ(records(), std::vector<uint64_t>());
}

TEST_P(spi_destroy_refused, of_an_unused_instance_keeps_its_new_record)
{
	harness::fail("suite_driver_destroy", GetParam());
	EXPECT_EQ(destroy(0x20), GetParam());
	EXPECT_EQ(instances(), std::vector<uint32_t>{0x20});
}

INSTANTIATE_TEST_SUITE_P(with_status, spi_destroy_refused, testing::Values(1u, 0x80000000u, 0xFFFFFFFFu),
			 [](const auto &row) { return as_case_name(row.param); });

TEST_F(spi_destroy_without_driver, fails_and_makes_no_record)
{
	EXPECT_EQ(destroy(0x20), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_destroy_function(0x20)});
	EXPECT_EQ(harness::calls(), call_list{message(own, serious, "inst 0x%x flash destroy funcs NULL")});
	EXPECT_EQ(records(), std::vector<uint64_t>());
}

TEST_F(spi_destroy_without_driver, keeps_a_record)
{
	const uint64_t record = find(0x20);
	EXPECT_EQ(destroy(0x20), no_driver);
	EXPECT_EQ(records(), std::vector<uint64_t>{record});
}

TEST_F(spi_destroy_without_driver, fails_too_with_one_that_lacks_the_function)
{
	harness::register_driver({.destroy = false});
	EXPECT_EQ(destroy(default_instance), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_destroy_function(default_instance)});
	EXPECT_EQ(deeds(), call_list());
}

TEST_F(spi_destroy_without_driver, succeeds_with_one_that_has_only_the_function)
{
	harness::register_driver({.get_size = false, .create = false});
	EXPECT_EQ(destroy(0x20), 0u);
}

TEST_F(spi_destroy, of_a_driver_that_goes_away_meanwhile_keeps_the_record)
{
	ASSERT_EQ(create(0x20, {"a"}), 0u);
	harness::forget();
	harness::unregister_driver_at("linux_spin_lock");
	EXPECT_EQ(destroy(0x20), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_destroy_function(0x20)});
	EXPECT_EQ(deeds_beside_registry(), call_list());
	expect_names(find(0x20), {"a"});
}

TEST_F(spi_destroy, of_a_driver_replaced_by_one_without_the_function_keeps_the_record)
{
	find(0x20);
	harness::forget();
	harness::replace_driver_at("linux_spin_lock", {.destroy = false});
	EXPECT_EQ(destroy(0x20), no_driver);
	EXPECT_EQ(harness::log(), log_lines{no_destroy_function(0x20)});
	EXPECT_EQ(instances(), std::vector<uint32_t>{0x20});
}

} // namespace
} // namespace conformance
