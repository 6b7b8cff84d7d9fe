// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the flash buffer service makes of each answer that Linux's MTD functions may give.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>

#include "../../reference_platform/include/platform_status.h"
#include "platform/flash_buffer.h"
#include "strict_flash.hpp"

using namespace powercut;

namespace {

constexpr geometry shape = {.page_size = 4, .pages = 4, .blocks = 3, .has_ecc = true};
constexpr const char *path = "/dev/mtd0";

struct answer {
	const char *label;
	strict_flash::answers told;
	u32 of_read;
	u32 of_update;
	std::size_t operations; // of an update of 10 bytes in the middle of the first block
};

void PrintTo(const answer &one, std::ostream *out)
{
	*out << one.label;
}

class buffer_answers : public testing::TestWithParam<answer> {
protected:
	buffer_answers()
	{
		flash_.fill(0, old_);
		flash_.answer_with(GetParam().told);
	}

	strict_flash flash_{shape};
	const bytes old_ = bytes(shape.size(), 0x11), new_ = bytes(10, 0x22);
};

TEST_P(buffer_answers, decide_a_read)
{
	bytes seen(10, 0);
	EXPECT_EQ(plat_mtd_read_buf(path, 3, seen.data(), seen.size()), GetParam().of_read);
	if (GetParam().of_read == 0) {
		EXPECT_EQ(seen, bytes(10, 0x11));
	}
	EXPECT_TRUE(flash_.at_rest());
}

TEST_P(buffer_answers, decide_an_update)
{
	EXPECT_EQ(plat_mtd_update_buf(path, 3, new_.data(), new_.size()), GetParam().of_update);
	EXPECT_EQ(flash_.operations().size(), GetParam().operations);
	if (GetParam().of_update == 0) {
		bytes expected = old_;
		std::copy(new_.begin(), new_.end(), expected.begin() + 3);
		EXPECT_EQ(flash_.now().content, expected);
	}
	EXPECT_TRUE(flash_.at_rest());
}

constexpr u32 read_failed = FLASH_BUFFER_READ_FAILED, write_failed = FLASH_BUFFER_WRITE_FAILED;

INSTANTIATE_TEST_SUITE_P(
	that, buffer_answers,
	testing::Values(
		answer{"all_is_well", {}, 0, 0, 2}, answer{"bits_were_corrected", {.read = -EUCLEAN}, 0, 0, 2},
		answer{"bits_were_corrected_of_too_few_bytes", {.read = -EUCLEAN, .not_read = 1}, read_failed, read_failed, 0},
		answer{"bits_could_not_be_corrected", {.read = -EBADMSG}, FLASH_BUFFER_UNCORRECTABLE, FLASH_BUFFER_UNCORRECTABLE, 0},
		answer{"the_read_failed", {.read = -EIO}, read_failed, read_failed, 0},
		answer{"the_read_gave_a_byte_too_few", {.not_read = 1}, read_failed, read_failed, 0},
		answer{"the_read_gave_nothing", {.not_read = 10}, read_failed, read_failed, 0},
		answer{"the_erase_failed", {.erase = -EIO}, 0, FLASH_BUFFER_ERASE_FAILED, 0},
		answer{"the_write_failed", {.write = -EIO}, 0, write_failed, 1},
		answer{"the_write_took_a_byte_too_few", {.not_written = 1}, 0, write_failed, 2},
		answer{"the_write_took_nothing", {.not_written = 16}, 0, write_failed, 2},
		answer{"a_block_cannot_be_judged",
		       {.bad_block_check = -EIO},
		       FLASH_BUFFER_BAD_BLOCK_CHECK,
		       FLASH_BUFFER_BAD_BLOCK_CHECK,
		       0},
		answer{"memory_is_short", {.no_memory = true}, 0, FLASH_BUFFER_NO_MEMORY, 0}),
	[](const auto &row) { return std::string(row.param.label); });

} // namespace
