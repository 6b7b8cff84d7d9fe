// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The command that lists the MTD devices of the kernel.
#include "ioctl_words.hpp"

namespace conformance {
namespace {

constexpr std::size_t record_size = 7172, entry_size = 56;
constexpr uint32_t most = 128;

bytes entry_of(const bytes &record, uint32_t index)
{
	const auto start = record.begin() + 4 + static_cast<std::ptrdiff_t>(index * entry_size);
	return {start, start + entry_size};
}

std::string name_in(const bytes &entry)
{
	const auto end = std::find(entry.begin() + 24, entry.end(), 0);
	return {entry.begin() + 24, end};
}

log_line bad_name(const std::string &name)
{
	return own_log(serious, "Failed to copy mtd name: " + name);
}

log_line copy_error(std::size_t left)
{
	return own_log(serious, "Failed to get flash mtd statistics, copy to user error " + decimal(left));
}

class ioctl_statistics : public on_loaded_module {
protected:
	void prepare() override { harness::configure("no_lists"); }

	uint32_t ask()
	{
		user_bytes record(record_size);
		const uint32_t code = harness::ioctl(get_mtd_statistics, record.address()).code();
		record_ = record.content();
		return code;
	}

	uint32_t count() const { return u32_at(record_, 0); }
	bytes entry(uint32_t index) const { return entry_of(record_, index); }
	const bytes &record() const { return record_; }
	bool untouched() const { return record_ == bytes(record_size, 0xEE); }
	bool zero_from(uint32_t index) const
	{
		const auto start = record_.begin() + 4 + static_cast<std::ptrdiff_t>(index * entry_size);
		return std::all_of(start, record_.end(), [](uint8_t byte) { return byte == 0; });
	}

private:
	bytes record_;
};

// ---------------------------------------------------------------------------------------------------------------- which devices

TEST_F(ioctl_statistics, without_a_device_is_all_zero)
{
	EXPECT_EQ(ask(), 0u);
	EXPECT_EQ(record(), bytes(record_size, 0));
	EXPECT_EQ(harness::calls(), (call_list{"vzalloc(7172)", "get_mtd_device(-, 0)", "linux_copy_to_user(-, -, 7172)", "vfree(-)"}));
	EXPECT_EQ(harness::log(), log_lines());
}

TEST_F(ioctl_statistics, of_one_device_describes_it)
{
	harness::add_mtd({.name = "boot", .size = 0x50000, .type = harness::mtd_nor, .erase_size = 0x1000});
	EXPECT_EQ(ask(), 0u);
	EXPECT_EQ(count(), 1u);
	const bytes first = entry(0);
	EXPECT_EQ(u64_at(first, 0), 0x50000u);
	EXPECT_EQ(u32_at(first, 8), 0u);
	EXPECT_EQ(u32_at(first, 12), harness::mtd_nor);
	EXPECT_EQ(u32_at(first, 16), 0x1000u);
	EXPECT_EQ(u32_at(first, 20), 0u);
	EXPECT_EQ(bytes(first.begin() + 24, first.end()), [] {
		bytes name(32);
		std::memcpy(name.data(), "boot", 4);
		return name;
	}());
	EXPECT_TRUE(zero_from(1));
}

TEST_F(ioctl_statistics, takes_and_releases_one_device_after_the_other)
{
	harness::add_mtd({.name = "boot"});
	harness::add_mtd({.name = "config"});
	EXPECT_EQ(ask(), 0u);
	EXPECT_EQ(harness::calls(), (call_list{"vzalloc(7172)", "get_mtd_device(-, 0)", "strcpy_s(-, 32, \"boot\")", "put_mtd_device(-)",
					       "get_mtd_device(-, 1)", "strcpy_s(-, 32, \"config\")", "put_mtd_device(-)",
					       "get_mtd_device(-, 2)", "linux_copy_to_user(-, -, 7172)", "vfree(-)"}));
}

TEST_F(ioctl_statistics, ends_at_the_first_missing_number)
{
	for (const char *name : {"zero", "one", "two", "three"})
		harness::add_mtd({.name = name});
	harness::remove_mtd(2);
	EXPECT_EQ(ask(), 0u);
	EXPECT_EQ(count(), 2u);
	EXPECT_EQ(name_in(entry(0)), "zero");
	EXPECT_EQ(name_in(entry(1)), "one");
	EXPECT_TRUE(zero_from(2));
	EXPECT_FALSE(std::ranges::count(harness::calls(), "get_mtd_device(-, 3)"));
}

TEST_F(ioctl_statistics, without_device_0_is_empty)
{
	harness::add_mtd({.name = "zero"});
	harness::add_mtd({.name = "one"});
	harness::remove_mtd(0);
	EXPECT_EQ(ask(), 0u);
	EXPECT_EQ(record(), bytes(record_size, 0));
}

TEST_F(ioctl_statistics, is_fresh_at_each_call)
{
	harness::add_mtd({.name = "zero"});
	harness::add_mtd({.name = "one"});
	EXPECT_EQ(ask(), 0u);
	EXPECT_EQ(count(), 2u);
	harness::remove_mtd(1);
	EXPECT_EQ(ask(), 0u);
	EXPECT_EQ(count(), 1u);
	EXPECT_TRUE(zero_from(1));
}

TEST_F(ioctl_statistics, holds_no_device_afterwards)
{
	const int boot = harness::add_mtd({.name = "boot"});
	EXPECT_EQ(ask(), 0u);
	EXPECT_EQ(harness::mtd_use_count(boot), 0);
}

class ioctl_statistics_count : public ioctl_statistics {
protected:
	static std::string name_of(uint32_t index) { return "part" + decimal(index); }
	static void add_devices(uint32_t first, uint32_t end)
	{
		for (uint32_t i = first; i < end; ++i)
			harness::add_mtd({.name = name_of(i), .size = 0x10000 * (i + 1)});
	}

	void expect_list(uint32_t listed)
	{
		harness::forget();
		EXPECT_EQ(ask(), 0u);
		EXPECT_EQ(count(), listed);
		EXPECT_TRUE(zero_from(listed));
		call_list expected;
		for (uint32_t i = 0; i < listed; ++i) {
			SCOPED_TRACE(i);
			EXPECT_EQ(u64_at(entry(i), 0), 0x10000u * (i + 1));
			EXPECT_EQ(u32_at(entry(i), 8), i);
			EXPECT_EQ(name_in(entry(i)), name_of(i));
			expected.push_back("get_mtd_device(-, " + decimal(i) + ")");
		}
		if (listed < most)
			expected.push_back("get_mtd_device(-, " + decimal(listed) + ")");
		EXPECT_EQ(calls_of("get_mtd_device"), expected);
		EXPECT_EQ(times_called("put_mtd_device"), static_cast<long>(listed));
	}
};

TEST_F(ioctl_statistics_count, is_that_of_the_devices)
{
	add_devices(0, 1);
	expect_list(1);
	add_devices(1, 2);
	expect_list(2);
}

// Making so many devices takes a real kernel seconds: one case looks at everything about the last ones.
TEST_F(ioctl_statistics_count, is_128_at_most_and_no_further_device_is_looked_at)
{
	const harness::mtd_spec long_name = {.name = std::string(32, 'm'), .size = 0x10000};
	add_devices(0, most - 1);
	expect_list(most - 1);

	harness::add_mtd(long_name);
	EXPECT_EQ(ask(), copy_failed);
	EXPECT_TRUE(untouched());
	harness::remove_mtd(most - 1);

	add_devices(most - 1, most);
	expect_list(most);
	harness::add_mtd(long_name);
	expect_list(most);
}

class ioctl_statistics_missing : public ioctl_statistics, public testing::WithParamInterface<long long> {};

TEST_P(ioctl_statistics_missing, device_ends_the_list)
{
	for (const char *name : {"zero", "one", "two"})
		harness::add_mtd({.name = name});
	harness::fail("get_mtd_device", GetParam(), 2);
	EXPECT_EQ(ask(), 0u);
	EXPECT_EQ(count(), 1u);
	EXPECT_TRUE(zero_from(1));
	EXPECT_EQ(calls_of("get_mtd_device"), (call_list{"get_mtd_device(-, 0)", "get_mtd_device(-, 1)"}));
	EXPECT_EQ(times_called("put_mtd_device"), 1);
}

INSTANTIATE_TEST_SUITE_P(given_as, ioctl_statistics_missing, testing::Values(0, -1, error_no_device, error_last),
			 [](const auto &row) { return as_case_name(row.param); });

// ---------------------------------------------------------------------------------------------------------------- fields

struct described {
	const char *label;
	mtd_spec spec;
	uint32_t flags;
};

class ioctl_statistics_entry : public ioctl_statistics, public testing::WithParamInterface<described> {};

TEST_P(ioctl_statistics_entry, holds_what_the_kernel_knows)
{
	harness::add_mtd({.name = "before"});
	const mtd_spec &spec = GetParam().spec;
	const int index = harness::add_mtd(spec);
	ASSERT_EQ(index, 1);
	EXPECT_EQ(ask(), 0u);
	ASSERT_EQ(count(), 2u);
	EXPECT_EQ(u64_at(entry(1), 0), spec.size);
	EXPECT_EQ(u32_at(entry(1), 8), 1u);
	EXPECT_EQ(u32_at(entry(1), 12), spec.type);
	EXPECT_EQ(u32_at(entry(1), 16), spec.erase_size);
	EXPECT_EQ(u32_at(entry(1), 20), GetParam().flags);
	EXPECT_EQ(name_in(entry(1)), spec.name);
}

mtd_spec partition(uint32_t flags)
{
	return {.name = "part", .size = 0x20000, .partition_flags = flags};
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_statistics_entry,
			 testing::Values(described{"ram", {.name = "ram", .type = harness::mtd_ram}, 0},
					 described{"nor", {.name = "nor", .type = harness::mtd_nor}, 0},
					 described{"nand", {.name = "nand", .type = harness::mtd_nand}, 0},
					 described{"mlc", {.name = "mlc", .type = harness::mtd_mlc_nand}, 0},
					 described{"rom", {.name = "rom", .type = 2}, 0},
					 described{"small_blocks", {.name = "small", .size = 0x4000, .erase_size = 0x200}, 0},
					 described{"large_blocks", {.name = "large", .size = 0x400000, .erase_size = 0x200000}, 0},
					 described{"nearly_4_gib", {.name = "big", .size = 0xFFFF0000}, 0},
					 described{"4_gib", {.name = "giant", .size = 0x100000000}, 0},
					 described{"4_gib_and_a_block", {.name = "giant", .size = 0x100010000}, 0},
					 described{"64_gib", {.name = "giant", .size = 0x1000000000}, 0},
					 described{"partition_without_flags", partition(0), 0},
					 described{"writable_partition", partition(0x400), 0x400},
					 described{"partition_with_more_flags", partition(0xC00), 0xC00},
					 described{"partition_with_a_high_flag", partition(0x80000400), 0x80000400}),
			 [](const auto &row) { return row.param.label; });

class ioctl_statistics_name : public ioctl_statistics, public testing::WithParamInterface<std::size_t> {};

TEST_P(ioctl_statistics_name, that_fits_ends_in_nul_and_zeros)
{
	const std::string name(GetParam(), 'm');
	harness::add_mtd({.name = name});
	EXPECT_EQ(ask(), 0u);
	bytes expected(32);
	std::copy(name.begin(), name.end(), expected.begin());
	const bytes first = entry(0);
	EXPECT_EQ(bytes(first.begin() + 24, first.end()), expected);
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_statistics_name, testing::Values(1, 2, 16, 30, 31), [](const auto &row) { return decimal(row.param); });

class ioctl_statistics_long_name : public ioctl_statistics, public testing::WithParamInterface<std::size_t> {};

TEST_P(ioctl_statistics_long_name, makes_the_command_fail)
{
	const std::string name(GetParam(), 'm');
	harness::add_mtd({.name = name});
	EXPECT_EQ(ask(), copy_failed);
	EXPECT_EQ(harness::log(), log_lines{bad_name(name)});
	EXPECT_TRUE(untouched());
	EXPECT_EQ(call_names(), (call_list{"vzalloc", "get_mtd_device", "strcpy_s", "drv_log_record", "put_mtd_device", "vfree"}));
}

TEST_P(ioctl_statistics_long_name, behind_good_ones_makes_the_command_fail_too)
{
	const std::string name(GetParam(), 'm');
	harness::add_mtd({.name = "good"});
	const int index = harness::add_mtd({.name = name});
	harness::add_mtd({.name = "good too"});
	EXPECT_EQ(ask(), copy_failed);
	EXPECT_EQ(harness::log(), log_lines{bad_name(name)});
	EXPECT_TRUE(untouched());
	EXPECT_EQ(harness::mtd_use_count(index), 0);
	EXPECT_FALSE(called("linux_copy_to_user"));
	EXPECT_EQ(times_called("get_mtd_device"), 2);
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_statistics_long_name, testing::Values(32, 33, 40, 64),
			 [](const auto &row) { return decimal(row.param); });

TEST_F(ioctl_statistics, of_a_nameless_device_fails)
{
	const int index = harness::add_mtd({.name = "", .nameless = true});
	EXPECT_EQ(ask(), copy_failed);
	EXPECT_EQ(harness::log(), log_lines{bad_name("(null)")});
	EXPECT_TRUE(untouched());
	EXPECT_EQ(call_names(), (call_list{"vzalloc", "get_mtd_device", "drv_log_record", "put_mtd_device", "vfree"}));
	EXPECT_EQ(harness::mtd_use_count(index), 0);
}

TEST_F(ioctl_statistics, of_a_nameless_device_behind_a_good_one_fails)
{
	harness::add_mtd({.name = "good"});
	harness::add_mtd({.name = "", .nameless = true});
	EXPECT_EQ(ask(), copy_failed);
	EXPECT_EQ(harness::log(), log_lines{bad_name("(null)")});
	EXPECT_TRUE(untouched());
}

TEST_F(ioctl_statistics, does_not_reach_a_long_name_behind_a_gap)
{
	for (const char *name : {"zero", "one"})
		harness::add_mtd({.name = name});
	harness::add_mtd({.name = std::string(40, 'm')});
	harness::remove_mtd(1);
	EXPECT_EQ(ask(), 0u);
	EXPECT_EQ(count(), 1u);
}

class ioctl_statistics_name_copy : public ioctl_statistics, public testing::WithParamInterface<long long> {};

TEST_P(ioctl_statistics_name_copy, that_fails_makes_the_command_fail)
{
	harness::add_mtd({.name = "zero"});
	harness::add_mtd({.name = "one"});
	harness::fail("strcpy_s", GetParam(), 2);
	EXPECT_EQ(ask(), copy_failed);
	EXPECT_EQ(harness::log(), log_lines{bad_name("one")});
	EXPECT_TRUE(untouched());
	EXPECT_EQ(call_names(), (call_list{"vzalloc", "get_mtd_device", "strcpy_s", "put_mtd_device", "get_mtd_device", "strcpy_s",
					   "drv_log_record", "put_mtd_device", "vfree"}));
}

INSTANTIATE_TEST_SUITE_P(given_as, ioctl_statistics_name_copy, testing::Values(1, 22, 34, -1),
			 [](const auto &row) { return as_case_name(row.param); });

// ---------------------------------------------------------------------------------------------------------------- memory

TEST_F(ioctl_statistics, without_memory_fails)
{
	harness::add_mtd({.name = "zero"});
	harness::fail("vzalloc", 0);
	user_bytes record(record_size);
	expect_seen_as(harness::ioctl(get_mtd_statistics, record.address()), no_memory, 0);
	EXPECT_EQ(harness::log(), log_lines{own_log(serious, "Failed to alloc mtd statistics buf")});
	EXPECT_EQ(deeds(), call_list{"vzalloc(7172)"});
	EXPECT_EQ(record.content(), bytes(record_size, 0xEE));
}

TEST_F(ioctl_statistics, writes_7172_bytes_and_not_one_around_them)
{
	harness::add_mtd({.name = "zero"});
	user_bytes memory(record_size + 24);
	EXPECT_EQ(harness::ioctl(get_mtd_statistics, memory.address(8)).code(), 0u);
	const bytes content = memory.content();
	EXPECT_EQ(bytes(content.begin(), content.begin() + 8), bytes(8, 0xEE));
	EXPECT_EQ(u32_at(content, 8), 1u);
	EXPECT_EQ(bytes(content.end() - 16, content.end()), bytes(16, 0xEE));
	EXPECT_EQ(content[record_size + 7], 0);
}

TEST_F(ioctl_statistics, writes_to_any_alignment)
{
	harness::add_mtd({.name = "zero"});
	user_bytes memory(record_size + 1);
	EXPECT_EQ(harness::ioctl(get_mtd_statistics, memory.address(1)).code(), 0u);
	EXPECT_EQ(u32_at(memory.content(), 1), 1u);
	EXPECT_EQ(memory.content()[5 + 24], 'z');
}

TEST_F(ioctl_statistics, reads_nothing_from_the_program)
{
	EXPECT_EQ(ask(), 0u);
	EXPECT_FALSE(called("linux_copy_from_user"));
}

class ioctl_statistics_address : public ioctl_statistics, public testing::WithParamInterface<bad_address> {};

TEST_P(ioctl_statistics_address, leaves_every_byte_uncopied)
{
	harness::add_mtd({.name = "zero"});
	const harness::holdings before = harness::held();
	expect_seen_as(harness::ioctl(get_mtd_statistics, make_bad_address(GetParam(), record_size)), copy_failed, 0);
	EXPECT_EQ(harness::log(), log_lines{copy_error(record_size)});
	EXPECT_EQ(call_names().back(), "vfree");
	EXPECT_EQ(harness::held(), before);
}

INSTANTIATE_TEST_SUITE_P(that_is, ioctl_statistics_address, unwritable_addresses, name_of_address);

class ioctl_statistics_rest : public ioctl_statistics, public testing::WithParamInterface<std::size_t> {};

TEST_P(ioctl_statistics_rest, that_stays_uncopied_is_in_the_message)
{
	harness::fail("linux_copy_to_user", static_cast<long long>(GetParam()));
	EXPECT_EQ(ask(), copy_failed);
	EXPECT_EQ(harness::log(), log_lines{copy_error(GetParam())});
	EXPECT_EQ(call_names(), (call_list{"vzalloc", "get_mtd_device", "linux_copy_to_user", "drv_log_record", "vfree"}));
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_statistics_rest, testing::Values(1, 4, 7171, 7172), [](const auto &row) { return decimal(row.param); });

TEST_F(ioctl_statistics, to_memory_one_byte_short_fails)
{
	user_bytes memory(record_size - 1);
	EXPECT_EQ(harness::ioctl(get_mtd_statistics, memory.address()).code(), copy_failed);
	ASSERT_EQ(harness::log().size(), 1u);
	const log_line message = harness::log().front();
	const std::string start = copy_error(0).text;
	EXPECT_TRUE(message.text.starts_with(start.substr(0, start.size() - 1))) << message.text;
	const unsigned long left = std::stoul("0" + message.text.substr(std::min(start.size() - 1, message.text.size())));
	EXPECT_GE(left, 1u);
	EXPECT_LE(left, record_size);
	EXPECT_EQ(message, copy_error(left));
}

TEST_F(ioctl_statistics, to_memory_with_one_byte_missing_says_how_many_are_missing)
{
	CONFORMANCE_HOST_ONLY("how many bytes of a partly mapped range are copied is the processor's affair");
	user_bytes memory(record_size - 1);
	EXPECT_EQ(harness::ioctl(get_mtd_statistics, memory.address()).code(), copy_failed);
	EXPECT_EQ(harness::log(), log_lines{copy_error(1)});
}

// ---------------------------------------------------------------------------------------------------------------- sweeps

struct swept {
	const char *function;
	long long result;
};

class ioctl_statistics_failure : public ioctl_statistics, public testing::WithParamInterface<swept> {};

TEST_P(ioctl_statistics_failure, holds_nothing_and_the_next_call_succeeds)
{
	for (const char *name : {"zero", "one", "two"})
		harness::add_mtd({.name = name});
	sweep_failures(
		GetParam().function, GetParam().result, [&] { return ask(); },
		[&](bool succeeded) {
			EXPECT_EQ(harness::held().mtd_references, 0);
			EXPECT_EQ(succeeded ? count() : 3u, 3u);
		});
}

INSTANTIATE_TEST_SUITE_P(in, ioctl_statistics_failure,
			 testing::Values(swept{"vzalloc", 0}, swept{"strcpy_s", 34}, swept{"linux_copy_to_user", 5}),
			 [](const auto &row) { return row.param.function; });

} // namespace
} // namespace conformance
