// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Commands that look up the SPI flash of a partition, or of an instance.
#include "ioctl_words.hpp"
#include "spi_words.hpp"

namespace conformance {
namespace {

constexpr std::size_t record_size = 56, config_at = 16;

bytes request(uint32_t instance, uint32_t name_length, uint64_t name)
{
	bytes record(record_size, 0xC5);
	std::memcpy(&record[0], &instance, sizeof(instance));
	std::memcpy(&record[12], &name_length, sizeof(name_length));
	std::memcpy(&record[48], &name, sizeof(name));
	return record;
}

// A record in the program's memory, and the name that it points to.
class question {
public:
	question(std::string_view name, uint32_t instance = 0x12345678)
		: name_(bytes(name.begin(), name.end())), asked_(request(instance, static_cast<uint32_t>(name.size()), name_.address())),
		  record_(asked_)
	{
	}
	question(uint32_t instance, uint32_t name_length, uint64_t name)
		: name_(0), asked_(request(instance, name_length, name)), record_(asked_)
	{
	}

	harness::ioctl_result ask(uint32_t command) const { return harness::ioctl(command, record_.address()); }
	uint32_t code(uint32_t command) const { return ask(command).code(); }

	// The answer has these settings, and everything else is as it was asked.
	void expect_answer(const settings &flash) const
	{
		bytes expected = asked_;
		const bytes config = in_memory(flash);
		std::copy(config.begin(), config.end(), expected.begin() + config_at);
		EXPECT_EQ(record_.content(), expected);
	}

	void expect_untouched() const { EXPECT_EQ(record_.content(), asked_); }

	user_bytes &record() { return record_; }

private:
	user_bytes name_;
	bytes asked_;
	user_bytes record_;
};

question by_instance(uint32_t instance)
{
	return {instance, 0, 0};
}

void expect_not_found(const question &asked, uint32_t command)
{
	expect_seen_as(asked.ask(command), not_found, 0);
	asked.expect_untouched();
	EXPECT_EQ(harness::log(), log_lines());
}

// Two created flashes, one that was only asked for its size, and one whose partition shares a name with the first.
class ioctl_lookup : public on_spi_board_with_driver {
protected:
	void SetUp() override
	{
		on_spi_board_with_driver::SetUp();
		ASSERT_EQ(create(0x20, {"mtd_00000020_a", "mtd_00000020_b", "shared"}), 0u);
		ASSERT_EQ(create(0x32, {"mtd_00000032_a", "shared", name_of_32, name_of_31}), 0u);
		ASSERT_EQ(get_size(0x21), 0u);
		harness::forget();
	}
};

class ioctl_lookup_in_empty_registry : public on_spi_board {};

// ---------------------------------------------------------------------------------------------------------------- by name

struct named_flash {
	const char *label;
	std::string name;
	settings flash;
};

class ioctl_lookup_by_name : public ioctl_lookup, public testing::WithParamInterface<named_flash> {};

TEST_P(ioctl_lookup_by_name, finds_the_flash)
{
	const question asked(GetParam().name);
	expect_seen_as(asked.ask(find_config), 0, 0);
	asked.expect_answer(GetParam().flash);
	EXPECT_EQ(harness::log(), log_lines());
}

INSTANTIATE_TEST_SUITE_P(
	of, ioctl_lookup_by_name,
	testing::Values(named_flash{"the_first_partition", "mtd_00000020_a", unlocked_flash},
			named_flash{"a_later_partition", "mtd_00000020_b", unlocked_flash},
			named_flash{"a_partition_of_a_later_flash", "mtd_00000032_a", second_card},
			named_flash{"a_partition_of_two_flashes", "shared", unlocked_flash},
			named_flash{"31_characters", name_of_31, second_card}, named_flash{"32_characters", name_of_32, second_card},
			named_flash{"a_name_with_its_nul", std::string("shared", 7), unlocked_flash},
			named_flash{"a_name_in_32_bytes", std::string("mtd_00000020_b\0another one here..", 32), unlocked_flash}),
	[](const auto &row) { return row.param.label; });

class ioctl_lookup_by_absent_name : public ioctl_lookup, public testing::WithParamInterface<named_flash> {};

TEST_P(ioctl_lookup_by_absent_name, finds_nothing)
{
	expect_not_found(question(GetParam().name), find_config);
}

INSTANTIATE_TEST_SUITE_P(that_is, ioctl_lookup_by_absent_name,
			 testing::Values(named_flash{"unknown", "nosuchpartition", {}},
					 named_flash{"the_start_of_one", "mtd_00000020_", {}},
					 named_flash{"the_start_of_32_characters", std::string(name_of_32).substr(0, 30), {}},
					 named_flash{"one_and_more", "mtd_00000020_ab", {}}, named_flash{"in_capitals", "SHARED", {}},
					 named_flash{"a_blank_longer", "shared ", {}}, named_flash{"one_character", "m", {}},
					 named_flash{"another_of_32_characters", "abcdefghijklmnopqrstuvwxyz01234X", {}},
					 named_flash{"30_and_a_nul", std::string("abcdefghijklmnopqrstuvwxyz0123\0x", 32), {}}),
			 [](const auto &row) { return row.param.label; });

TEST_F(ioctl_lookup, by_name_makes_its_calls_in_order)
{
	EXPECT_EQ(question("mtd_00000032_a").code(find_config), 0u);
	EXPECT_EQ(harness::calls(), (call_list{"linux_copy_from_user(-, -, 56)", "linux_copy_from_user(-, -, 14)", lock_taken,
					       lock_released, "linux_copy_to_user(-, -, 56)"}));
}

TEST_F(ioctl_lookup, by_absent_name_writes_nothing)
{
	EXPECT_EQ(question("nothing").code(find_config), not_found);
	EXPECT_EQ(harness::calls(),
		  (call_list{"linux_copy_from_user(-, -, 56)", "linux_copy_from_user(-, -, 7)", lock_taken, lock_released}));
}

TEST_F(ioctl_lookup, by_name_ignores_the_instance)
{
	const question asked("mtd_00000020_a", 0x32);
	EXPECT_EQ(asked.code(find_config), 0u);
	asked.expect_answer(unlocked_flash);
}

TEST_F(ioctl_lookup, by_name_can_be_repeated)
{
	const question asked("mtd_00000032_a");
	for (int round = 0; round < 3; ++round) {
		EXPECT_EQ(asked.code(find_config), 0u);
		asked.expect_answer(second_card);
	}
}

class ioctl_lookup_length : public ioctl_lookup, public testing::WithParamInterface<uint32_t> {};

TEST_P(ioctl_lookup_length, is_refused_before_the_name_is_read)
{
	const question asked(0, GetParam(), harness::unmapped_address());
	expect_seen_as(asked.ask(find_config), bad_length, 0);
	asked.expect_untouched();
	EXPECT_EQ(harness::calls(), call_list{"linux_copy_from_user(-, -, 56)"});
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_lookup_length, testing::Values(33u, 34u, 0x10000u, 0x80000000u, 0xFFFFFFFFu),
			 [](const auto &row) { return as_case_name(row.param); });

TEST_F(ioctl_lookup, by_a_name_of_32_bytes_reads_them_all)
{
	EXPECT_EQ(question("abcdefghijklmnopqrstuvwxyz01234X").code(find_config), not_found);
	EXPECT_EQ(calls_of("linux_copy_from_user").back(), "linux_copy_from_user(-, -, 32)");
}

TEST_F(ioctl_lookup, by_an_empty_name_finds_nothing_without_looking)
{
	expect_not_found(question(""), find_config);
	EXPECT_EQ(harness::calls(), call_list{"linux_copy_from_user(-, -, 56)"});
}

TEST_F(ioctl_lookup, by_an_empty_name_does_not_look_at_its_address)
{
	expect_not_found(question(0, 0, harness::kernel_address()), find_config);
}

TEST_F(ioctl_lookup, by_a_name_that_begins_with_a_nul_finds_nothing_without_looking)
{
	expect_not_found(question(std::string_view("\0shared", 7)), find_config);
	EXPECT_FALSE(called("linux_spin_lock"));
}

TEST_F(ioctl_lookup, by_an_empty_name_misses_a_nameless_partition)
{
	ASSERT_EQ(create(0x22, {""}), 0u);
	expect_not_found(question(""), find_config);
	expect_not_found(question(std::string_view("\0", 1)), find_config);
}

class ioctl_lookup_name_address : public ioctl_lookup, public testing::WithParamInterface<bad_address> {};

TEST_P(ioctl_lookup_name_address, is_unreadable)
{
	const question asked(0, 6, make_bad_address(GetParam(), 6));
	expect_seen_as(asked.ask(find_config), request_unreadable, 0);
	asked.expect_untouched();
	EXPECT_EQ(harness::log(), log_lines());
	EXPECT_FALSE(called("linux_spin_lock"));
}

INSTANTIATE_TEST_SUITE_P(that_is, ioctl_lookup_name_address, unreadable_addresses, name_of_address);

TEST_F(ioctl_lookup, by_a_name_in_read_only_memory_is_good)
{
	user_bytes name(bytes{'s', 'h', 'a', 'r', 'e', 'd'});
	name.allow(access::read_only);
	const question asked(0, 6, name.address());
	EXPECT_EQ(asked.code(find_config), 0u);
	asked.expect_answer(unlocked_flash);
}

TEST_F(ioctl_lookup, by_a_name_of_which_a_byte_is_missing_fails)
{
	user_bytes name(bytes{'s', 'h', 'a', 'r', 'e', 'd'});
	const question asked(0, 7, name.address());
	EXPECT_EQ(asked.code(find_config), request_unreadable);
	asked.expect_untouched();
}

TEST_F(ioctl_lookup, by_a_name_with_one_byte_left_uncopied_fails)
{
	harness::fail("linux_copy_from_user", 1, 2);
	const question asked("shared");
	EXPECT_EQ(asked.code(find_config), request_unreadable);
	asked.expect_untouched();
}

// Stores 0 in the 8 bytes at an address of the kernel: two answers on a board without user data.
void store_null(uint64_t address)
{
	for (const uint64_t half : {address, address + 4})
		ASSERT_EQ(harness::call("drv_flash_get_nand_is_exist", {half}), 0u);
}

TEST_F(ioctl_lookup, by_name_passes_over_a_name_that_is_missing)
{
	ASSERT_EQ(create(0x23, {"first", "second", "third"}), 0u);
	store_null(names_of(find(0x23)) + 8);
	expect_not_found(question("second"), find_config);
	for (const char *name : {"first", "third"}) {
		const question asked(name);
		EXPECT_EQ(asked.code(find_config), 0u) << name;
		asked.expect_answer(never_locked_flash);
	}
	expect_leak({.heap = 1}); // the name that is in no record any more
}

TEST_F(ioctl_lookup, by_name_finds_the_older_of_two_flashes)
{
	ASSERT_EQ(destroy(0x20), 0u);
	const question asked("shared");
	EXPECT_EQ(asked.code(find_config), 0u);
	asked.expect_answer(second_card);
	ASSERT_EQ(create(0x20, {"shared"}), 0u);
	EXPECT_EQ(asked.code(find_config), 0u);
	asked.expect_answer(second_card);
}

TEST_F(ioctl_lookup, by_name_goes_by_first_use_and_not_by_creation)
{
	ASSERT_EQ(get_size(0x22), 0u);
	ASSERT_EQ(create(0x23, {"late"}), 0u);
	ASSERT_EQ(create(0x22, {"late"}), 0u);
	const question asked("late");
	EXPECT_EQ(asked.code(find_config), 0u);
	asked.expect_answer(create_locked_flash);
}

TEST_F(ioctl_lookup, by_name_finds_new_names_and_not_replaced_ones)
{
	ASSERT_EQ(create(0x20, {"fresh"}), 0u);
	const question asked("fresh");
	EXPECT_EQ(asked.code(find_config), 0u);
	asked.expect_answer(unlocked_flash);
	expect_not_found(question("mtd_00000020_a"), find_config);
	expect_leak({.heap = 4});
}

TEST_F(ioctl_lookup, by_name_misses_a_flash_whose_names_could_not_be_copied)
{
	harness::fail("linux_kstrdup", 0, 2);
	ASSERT_EQ(create(0x22, {"one", "two", "three"}), copy_failed);
	ASSERT_EQ(name_count_of(find(0x22)), 3u);
	harness::forget();
	expect_not_found(question("one"), find_config);
	const question asked = by_instance(0x22);
	EXPECT_EQ(asked.code(find_config_by_inst), 0u);
	asked.expect_answer(create_locked_flash);
}

TEST_F(ioctl_lookup, by_name_misses_a_flash_whose_new_names_found_no_memory)
{
	harness::fail("linux_kcalloc", 0);
	ASSERT_EQ(create(0x20, {"one"}), no_memory);
	ASSERT_EQ(name_count_of(find(0x20)), 3u);
	harness::forget();
	expect_not_found(question("mtd_00000020_a"), find_config);
	const question asked("shared");
	EXPECT_EQ(asked.code(find_config), 0u);
	asked.expect_answer(second_card);
	expect_leak({.heap = 4});
}

struct failing_create {
	const char *function;
	long long result;
};

class ioctl_lookup_after_failed_create : public ioctl_lookup, public testing::WithParamInterface<failing_create> {};

TEST_P(ioctl_lookup_after_failed_create, finds_the_names)
{
	harness::fail(GetParam().function, GetParam().result);
	ASSERT_EQ(create(0x22, {"kept"}), 9u);
	const question asked("kept");
	EXPECT_EQ(asked.code(find_config), 0u);
	asked.expect_answer(create_locked_flash);
}

INSTANTIATE_TEST_SUITE_P(by, ioctl_lookup_after_failed_create,
			 testing::Values(failing_create{"drv_hard_trylock", 9}, failing_create{"suite_driver_create", 9},
					 failing_create{"drv_hard_unlock", 9}),
			 [](const auto &row) { return row.param.function; });

// ---------------------------------------------------------------------------------------------------------------- by instance

struct used_instance {
	const char *label;
	settings flash;
};

class ioctl_lookup_by_instance : public ioctl_lookup, public testing::WithParamInterface<used_instance> {};

TEST_P(ioctl_lookup_by_instance, finds_the_flash)
{
	const question asked = by_instance(GetParam().flash.inst_id);
	expect_seen_as(asked.ask(find_config_by_inst), 0, 0);
	asked.expect_answer(GetParam().flash);
	EXPECT_EQ(harness::log(), log_lines());
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_lookup_by_instance,
			 testing::Values(used_instance{"the_first", unlocked_flash}, used_instance{"a_card", second_card},
					 used_instance{"one_without_partitions", locked_flash}),
			 [](const auto &row) { return row.param.label; });

TEST_F(ioctl_lookup, by_instance_makes_its_calls_in_order)
{
	EXPECT_EQ(by_instance(0x32).code(find_config_by_inst), 0u);
	EXPECT_EQ(harness::calls(),
		  (call_list{"linux_copy_from_user(-, -, 56)", lock_taken, lock_released, "linux_copy_to_user(-, -, 56)"}));
}

TEST_F(ioctl_lookup, by_absent_instance_writes_nothing)
{
	expect_not_found(by_instance(0x22), find_config_by_inst);
	EXPECT_EQ(harness::calls(), (call_list{"linux_copy_from_user(-, -, 56)", lock_taken, lock_released}));
}

TEST_F(ioctl_lookup, by_instance_does_not_look_at_the_name)
{
	const question asked(0x20, 0xFFFFFFFF, harness::kernel_address());
	EXPECT_EQ(asked.code(find_config_by_inst), 0u);
	asked.expect_answer(unlocked_flash);
}

TEST_F(ioctl_lookup, by_instance_compares_all_32_bits)
{
	for (uint32_t instance : {0x80000020u, 0x00010020u, 0x2000u, 0u, 0xFFFFFFFFu, 0x10u}) {
		SCOPED_TRACE(instance);
		expect_not_found(by_instance(instance), find_config_by_inst);
	}
}

TEST_F(ioctl_lookup, by_instance_finds_the_settings_of_a_refused_destroy)
{
	harness::fail("suite_driver_destroy", 1);
	ASSERT_EQ(destroy(0x20), 1u);
	const question asked = by_instance(0x20);
	EXPECT_EQ(asked.code(find_config_by_inst), 0u);
	asked.expect_answer(unlocked_flash);
}

TEST_F(ioctl_lookup, needs_no_driver)
{
	harness::call("drv_flash_driver_unregister", {});
	EXPECT_EQ(by_instance(0x20).code(find_config_by_inst), 0u);
	EXPECT_EQ(question("shared").code(find_config), 0u);
}

TEST_F(ioctl_lookup, finds_the_default_instance)
{
	harness::unload();
	harness::configure("spi_default");
	ASSERT_EQ(harness::load(), 0u);
	harness::register_driver();
	ASSERT_EQ(create(default_instance, {"top"}), 0u);
	const settings expected = {default_instance, default_instance, 21, 22, 23};
	const question asked = by_instance(default_instance), named("top");
	EXPECT_EQ(asked.code(find_config_by_inst), 0u);
	asked.expect_answer(expected);
	EXPECT_EQ(named.code(find_config), 0u);
	named.expect_answer(expected);
	expect_leak({.heap = 12}); // what the unload left behind: three records, two arrays, seven names
}

// ---------------------------------------------------------------------------------------------------------------- by either

class ioctl_either_lookup : public ioctl_lookup, public testing::WithParamInterface<uint32_t> {
protected:
	static question good() { return question("mtd_00000020_a", 0x20); }
};

TEST_P(ioctl_either_lookup, finds_no_destroyed_flash)
{
	ASSERT_EQ(destroy(0x20), 0u);
	harness::forget();
	expect_not_found(good(), GetParam());
}

TEST_P(ioctl_either_lookup, makes_no_record)
{
	const std::vector<uint64_t> before = records();
	harness::forget();
	expect_not_found(question("mtd_00000022_a", 0x22), GetParam());
	EXPECT_EQ(records(), before);
	EXPECT_FALSE(called("xml_is_node_exist"));
	EXPECT_FALSE(called("linux_kzalloc"));
}

TEST_P(ioctl_either_lookup, writes_not_a_byte_around_its_record)
{
	const user_bytes name(bytes{'s', 'h', 'a', 'r', 'e', 'd'});
	bytes asked = request(0x20, 6, name.address());
	bytes around(8, 0x11);
	around.insert(around.end(), asked.begin(), asked.end());
	around.insert(around.end(), 16, 0x22);
	const user_bytes memory(around);
	EXPECT_EQ(harness::ioctl(GetParam(), memory.address(8)).code(), 0u);
	const bytes config = in_memory(unlocked_flash);
	std::copy(config.begin(), config.end(), around.begin() + 8 + config_at);
	EXPECT_EQ(memory.content(), around);
}

TEST_P(ioctl_either_lookup, takes_any_alignment)
{
	const user_bytes name(bytes{'s', 'h', 'a', 'r', 'e', 'd'});
	const bytes asked = request(0x20, 6, name.address());
	const user_bytes memory(record_size + 3);
	std::memcpy(reinterpret_cast<void *>(memory.address(3)), asked.data(), asked.size());
	EXPECT_EQ(harness::ioctl(GetParam(), memory.address(3)).code(), 0u);
	const bytes content = memory.content();
	EXPECT_EQ(bytes(content.begin() + 3 + config_at, content.begin() + 3 + 48), in_memory(unlocked_flash));
}

TEST_P(ioctl_either_lookup, of_a_record_of_which_a_byte_is_missing_fails)
{
	const user_bytes memory(record_size - 1);
	expect_seen_as(harness::ioctl(GetParam(), memory.address()), request_unreadable, 0);
	EXPECT_EQ(memory.content(), bytes(record_size - 1, 0xEE));
}

TEST_P(ioctl_either_lookup, of_a_record_with_one_byte_left_uncopied_fails)
{
	harness::fail("linux_copy_from_user", 1);
	const question asked = good();
	expect_seen_as(asked.ask(GetParam()), request_unreadable, 0);
	asked.expect_untouched();
	EXPECT_EQ(harness::calls(), call_list{"linux_copy_from_user(-, -, 56)"});
}

TEST_P(ioctl_either_lookup, can_be_asked_again_after_a_failure)
{
	harness::fail("linux_copy_from_user", 56);
	const question asked = good();
	EXPECT_EQ(asked.code(GetParam()), request_unreadable);
	EXPECT_EQ(asked.code(GetParam()), 0u);
	asked.expect_answer(unlocked_flash);
}

TEST_P(ioctl_either_lookup, of_a_read_only_record_gives_the_bytes_that_it_could_not_write)
{
	question asked = good();
	asked.record().allow(access::read_only);
	expect_seen_as(asked.ask(GetParam()), 56, 0);
	asked.expect_untouched();
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_P(ioctl_either_lookup, of_a_partly_read_only_record_gives_the_bytes_that_it_could_not_write)
{
	constexpr std::size_t page = 0x10000, before = 40; // the largest that Linux has on Arm
	const user_bytes name(bytes{'s', 'h', 'a', 'r', 'e', 'd'});
	const bytes asked = request(0x20, 6, name.address());
	std::uint8_t *memory = harness::user_memory(2 * page);
	std::uint8_t *record = memory + page - before;
	std::copy(asked.begin(), asked.end(), record);
	harness::protect(memory + page, page, access::read_only);
	const harness::ioctl_result result = harness::ioctl(GetParam(), harness::user_address(record));
	EXPECT_EQ(result.errno_value, 0);
	EXPECT_GE(result.value, static_cast<long>(record_size - before));
	EXPECT_LE(result.value, static_cast<long>(record_size));
	if (harness::world() == harness::world_kind::host) {
		EXPECT_EQ(result.value, static_cast<long>(record_size - before));
	}
	EXPECT_EQ(bytes(record + before, record + record_size), bytes(asked.begin() + before, asked.end()));
}

TEST_P(ioctl_either_lookup, gives_the_count_of_unwritten_bytes_as_it_is)
{
	for (long left : {1, 2, 40, 55, 56}) {
		SCOPED_TRACE(left);
		harness::fail("linux_copy_to_user", left);
		const question asked = good();
		expect_seen_as(asked.ask(GetParam()), left, 0);
		EXPECT_EQ(harness::log(), log_lines());
	}
}

INSTANTIATE_TEST_SUITE_P(by, ioctl_either_lookup, testing::Values(find_config, find_config_by_inst),
			 [](const auto &row) { return row.param == find_config ? "name" : "instance"; });

class ioctl_lookup_address : public ioctl_lookup, public testing::WithParamInterface<std::tuple<uint32_t, bad_address>> {};

TEST_P(ioctl_lookup_address, is_unreadable)
{
	const auto &[command, kind] = GetParam();
	expect_seen_as(harness::ioctl(command, make_bad_address(kind, record_size)), request_unreadable, 0);
	EXPECT_EQ(harness::calls(), call_list{"linux_copy_from_user(-, -, 56)"});
}

INSTANTIATE_TEST_SUITE_P(that_is, ioctl_lookup_address,
			 testing::Combine(testing::Values(find_config, find_config_by_inst), unreadable_addresses), [](const auto &row) {
				 return std::string(std::get<0>(row.param) == find_config ? "by_name_" : "by_instance_") +
					name_of(std::get<1>(row.param));
			 });

class ioctl_lookup_nowhere : public ioctl_lookup_in_empty_registry, public testing::WithParamInterface<uint32_t> {};

TEST_P(ioctl_lookup_nowhere, finds_nothing)
{
	expect_not_found(question("mtd_00000020_a", 0x20), GetParam());
	EXPECT_EQ(records(), std::vector<uint64_t>());
	EXPECT_EQ(times_called("linux_spin_lock"), 1);
	EXPECT_EQ(times_called("linux_spin_unlock"), 1);
}

INSTANTIATE_TEST_SUITE_P(by, ioctl_lookup_nowhere, testing::Values(find_config, find_config_by_inst),
			 [](const auto &row) { return row.param == find_config ? "name" : "instance"; });

} // namespace
} // namespace conformance
