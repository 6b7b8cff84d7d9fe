// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The names of a flash change under the registry's lock, and only there: who holds it meets the old ones or the new ones.
#include "spi_words.hpp"

namespace conformance {
namespace {

// A change of names of a flash that has one name, "old".
struct change {
	const char *label;
	void (*prepare)();
	uint32_t code;
	std::vector<std::string> names; // afterwards; none: no array
	uint32_t count;
};

void PrintTo(const change &one, std::ostream *out)
{
	*out << one.label;
}

void everything_works() {}

void no_memory_for_the_array()
{
	harness::fail("linux_kcalloc", 0);
}

void no_memory_for_the_second_name()
{
	harness::fail("linux_kstrdup", 0, 2);
}

const harness::parts_spec new_parts = {.parts = {{"new"}, {"newer"}}};

class spi_names : public on_spi_board_with_driver, public testing::WithParamInterface<change> {
protected:
	void SetUp() override
	{
		on_spi_board_with_driver::SetUp();
		ASSERT_EQ(create(0x20, {"old"}), 0u);
		record_ = find(0x20);
	}

	// Prepares it; the old name and its array stay.
	void expect_change()
	{
		expect_leak({.heap = 2});
		GetParam().prepare();
	}

	uint32_t change_names() const { return harness::call("drv_flash_init_info_mtdname", {record_, &new_parts}); }

	void expect_changed() const
	{
		if (GetParam().names.empty())
			expect_no_names(record_, GetParam().count);
		else
			expect_names(record_, GetParam().names);
	}

	uint64_t record_ = 0;
};

TEST_P(spi_names, are_the_old_ones_until_the_lock_is_asked_for)
{
	expect_change();
	stopped_call changing("linux_spin_lock", [this] { return change_names(); });
	expect_names(record_, {"old"});
	EXPECT_EQ(changing.let_go(), GetParam().code);
	expect_changed();
}

TEST_P(spi_names, are_the_new_ones_before_the_lock_is_released)
{
	CONFORMANCE_HOST_ONLY("it waits with a spinlock held");
	expect_change();
	stopped_call changing("linux_spin_unlock", [this] { return change_names(); });
	expect_changed();
	EXPECT_EQ(changing.let_go(), GetParam().code);
}

TEST_P(spi_names, are_changed_in_one_hold_of_the_lock)
{
	expect_change();
	harness::forget();
	EXPECT_EQ(change_names(), GetParam().code);
	EXPECT_EQ(calls_of("linux_spin_lock").size(), 1u);
	EXPECT_EQ(calls_of("linux_spin_unlock").size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(when, spi_names,
			 testing::Values(change{"everything_works", everything_works, 0, {"new", "newer"}, 2},
					 change{"the_array_finds_no_memory", no_memory_for_the_array, no_memory, {}, 1},
					 change{"a_name_finds_no_memory", no_memory_for_the_second_name, copy_failed, {}, 2}),
			 [](const auto &row) { return std::string(row.param.label); });

} // namespace
} // namespace conformance
