// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// That the flash whose power is cut refuses what flash cannot do, and is torn where it is said to be.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "strict_flash.hpp"

using namespace powercut;

namespace {

class strict_flash_test : public testing::Test {
protected:
	strict_flash_test() { mtd = get_mtd_device(nullptr, 0); }

	int erase(std::uint64_t address, std::uint64_t length = 8)
	{
		erase_info wanted = {address, length};
		return mtd_erase(mtd, &wanted);
	}
	int program(std::uint64_t address, const bytes &content)
	{
		unsigned long done;
		return mtd_write(mtd, static_cast<long long>(address), content.size(), &done, content.data());
	}
	int read(std::uint64_t address, bytes &content)
	{
		unsigned long done;
		return mtd_read(mtd, static_cast<long long>(address), content.size(), &done, content.data());
	}
	void cut_at(const cut_point &cut)
	{
		flash.power_on(cut);
		mtd = get_mtd_device(nullptr, 0);
	}
	void power_on_again()
	{
		flash.power_on();
		mtd = get_mtd_device(nullptr, 0);
	}

	strict_flash flash{{.page_size = 2, .pages = 4, .blocks = 3, .has_ecc = true}};
	mtd_info *mtd;
	const bytes numbers = {1, 2, 3, 4, 5, 6, 7, 8};
	bytes seen = bytes(8);
};

TEST_F(strict_flash_test, keeps_what_is_programmed)
{
	EXPECT_EQ(program(8, numbers), 0);
	EXPECT_EQ(read(8, seen), 0);
	EXPECT_EQ(seen, numbers);
	EXPECT_EQ(erase(8), 0);
	EXPECT_EQ(read(8, seen), 0);
	EXPECT_EQ(seen, bytes(8, 0xff));
	EXPECT_EQ(flash.operations(), (std::vector<operation>{{action::program, 1}, {action::erase, 1}}));
}

TEST_F(strict_flash_test, refuses_to_program_what_is_not_erased)
{
	program(8, numbers);
	EXPECT_THROW(program(8, numbers), misuse);
}

TEST_F(strict_flash_test, refuses_operations_that_are_not_one_whole_block)
{
	EXPECT_THROW(erase(4), misuse);
	EXPECT_THROW(erase(0, 16), misuse);
	EXPECT_THROW(erase(24), misuse);
	EXPECT_THROW(program(2, numbers), misuse);
	EXPECT_THROW(program(0, bytes(2)), misuse);
}

TEST_F(strict_flash_test, refuses_bad_blocks)
{
	flash.mark_bad(1);
	EXPECT_EQ(mtd_block_isbad(mtd, 0), 0);
	EXPECT_EQ(mtd_block_isbad(mtd, 8), 1);
	EXPECT_THROW(erase(8), misuse);
	EXPECT_THROW(program(8, numbers), misuse);
	EXPECT_THROW(mtd_block_isbad(mtd, 24), misuse);
}

TEST_F(strict_flash_test, refuses_reads_beyond_its_end)
{
	EXPECT_THROW(read(20, seen), misuse);
}

TEST_F(strict_flash_test, refuses_everything_without_a_reference)
{
	put_mtd_device(mtd);
	EXPECT_THROW(erase(0), misuse);
	EXPECT_THROW(program(0, numbers), misuse);
	EXPECT_THROW(read(0, seen), misuse);
	EXPECT_THROW(put_mtd_device(mtd), misuse);
}

TEST_F(strict_flash_test, has_one_device)
{
	EXPECT_EQ(get_mtd_device(nullptr, 1), reinterpret_cast<mtd_info *>(-ENODEV));
}

TEST_F(strict_flash_test, locks_and_memory_are_counted)
{
	rw_semaphore semaphore = {};
	put_mtd_device(mtd);
	EXPECT_TRUE(flash.at_rest());
	down_write(&semaphore);
	EXPECT_FALSE(flash.at_rest());
	EXPECT_THROW(down_read(&semaphore), misuse);
	up_write(&semaphore);
	EXPECT_THROW(up_read(&semaphore), misuse);
	void *memory = vmalloc(3);
	EXPECT_FALSE(flash.at_rest());
	vfree(memory);
	EXPECT_THROW(vfree(memory), misuse);
	EXPECT_TRUE(flash.at_rest());
}

TEST_F(strict_flash_test, a_cut_erase_leaves_a_part_in_front_erased)
{
	program(8, numbers);
	cut_at({0, 2, tearing::none});
	EXPECT_THROW(erase(8), power_cut);
	power_on_again();
	EXPECT_EQ(read(8, seen), 0);
	EXPECT_EQ(seen, (bytes{255, 255, 255, 255, 5, 6, 7, 8}));
}

TEST_F(strict_flash_test, a_cut_program_leaves_a_part_in_front_new)
{
	cut_at({0, 3, tearing::none});
	EXPECT_THROW(program(8, numbers), power_cut);
	power_on_again();
	EXPECT_EQ(read(8, seen), 0);
	EXPECT_EQ(seen, (bytes{1, 2, 3, 4, 5, 6, 255, 255}));
}

TEST_F(strict_flash_test, an_uncorrectable_page_fails_reads_until_it_is_erased)
{
	cut_at({0, 1, tearing::uncorrectable});
	EXPECT_THROW(program(8, numbers), power_cut);
	power_on_again();
	EXPECT_EQ(read(8, seen), -EBADMSG);
	EXPECT_THROW(program(8, numbers), misuse);
	erase(8);
	EXPECT_EQ(read(8, seen), 0);
}

TEST_F(strict_flash_test, an_unstable_page_reads_as_something_else_each_time)
{
	bytes once_more(8);
	cut_at({0, 1, tearing::unstable});
	EXPECT_THROW(program(8, numbers), power_cut);
	power_on_again();
	EXPECT_EQ(read(8, seen), 0);
	EXPECT_EQ(read(8, once_more), 0);
	EXPECT_NE(seen, once_more);
	EXPECT_TRUE(std::equal(seen.begin(), seen.begin() + 2, numbers.begin()));
	EXPECT_EQ(seen[4], 255);
}

TEST_F(strict_flash_test, a_cut_forgets_memory_and_locks)
{
	rw_semaphore semaphore = {};
	down_write(&semaphore);
	vmalloc(5);
	flash.power_on();
	EXPECT_TRUE(flash.at_rest());
	EXPECT_EQ(semaphore.readers, 0);
}

} // namespace
