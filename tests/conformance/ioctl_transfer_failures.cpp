// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Commands that read and write listed partitions for a program: what every failure looks like.
#include "ioctl_transfer_words.hpp"

namespace conformance {
namespace {

// ---------------------------------------------------------------------------------------------------------------- results

struct seen_result {
	const char *label;
	uint32_t code;
	long value;
	int errno_value;
};

class ioctl_result_of_service : public on_listed, public testing::WithParamInterface<seen_result> {};

TEST_P(ioctl_result_of_service, is_seen_by_a_program_that_reads)
{
	harness::fail("plat_mtd_read_buf", GetParam().code);
	user_bytes data(16);
	expect_seen_as(io_command(mtd_read_command, "listed", 0x100, 16, data.address()), GetParam().value, GetParam().errno_value);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0x100, 16), total_read_failure(272, GetParam().code),
					     command_failure(direction::read, 0x100, 16, GetParam().code)}));
	EXPECT_EQ(data.content(), bytes(16, 0xEE));
}

TEST_P(ioctl_result_of_service, is_seen_by_a_program_whose_data_cannot_be_cut_out)
{
	harness::fail("memcpy_s", GetParam().code);
	user_bytes data(16);
	expect_seen_as(io_command(mtd_read_command, "listed", 0x100, 16, data.address()), GetParam().value, GetParam().errno_value);
	EXPECT_EQ(harness::log(), (log_lines{total_read_trace(0x100, 16), total_read_failure(272, GetParam().code),
					     command_failure(direction::read, 0x100, 16, GetParam().code)}));
}

TEST_P(ioctl_result_of_service, is_seen_by_a_program_that_writes)
{
	harness::fail("plat_mtd_update_buf", GetParam().code);
	user_bytes data(16);
	expect_seen_as(io_command(mtd_write_command, "listed", 0x100, 16, data.address()), GetParam().value, GetParam().errno_value);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(0x100, 16), write_back_failure(avail, GetParam().code),
					     command_failure(direction::write, 0x100, 16, GetParam().code)}));
}

TEST_P(ioctl_result_of_service, is_seen_by_a_program_whose_write_cannot_read_the_partition)
{
	harness::fail("plat_mtd_read_buf", GetParam().code);
	user_bytes data(16);
	expect_seen_as(io_command(mtd_write_command, "listed", 0x100, 16, data.address()), GetParam().value, GetParam().errno_value);
	EXPECT_EQ(harness::log(), (log_lines{total_write_note(0x100, 16), read_back_failure(avail, GetParam().code),
					     command_failure(direction::write, 0x100, 16, GetParam().code)}));
	expect_unchanged(listed);
}

INSTANTIATE_TEST_SUITE_P(of, ioctl_result_of_service,
			 testing::Values(seen_result{"one", 1, 1, 0}, seen_result{"small", 5, 5, 0},
					 seen_result{"largest_positive", 0x7FFFFFFF, 0x7FFFFFFF, 0},
					 seen_result{"smallest_negative", 0x80000000, -2147483648L, 0},
					 seen_result{"prefixed", 0x811B0001, -2128936959L, 0},
					 seen_result{"right_below_errors", 0xFFFFF000, -4096, 0},
					 seen_result{"last_error", 0xFFFFF001, -1, 4095}, seen_result{"error", 0xFFFFFFF2, -1, 14},
					 seen_result{"one_that_linux_keeps_for_itself", 0xFFFFFDFD, -1, 25},
					 seen_result{"all_ones", 0xFFFFFFFF, -1, 1}),
			 [](const auto &row) { return row.param.label; });

// ---------------------------------------------------------------------------------------------------------------- sweeps

struct swept {
	direction way;
	const char *function;
	long long result;
};

class ioctl_transfer_failure : public on_listed, public testing::WithParamInterface<swept> {
protected:
	void SetUp() override
	{
		on_listed::SetUp();
		data_ = harness::user_memory(0x40);
		put(pattern(0x40, 60));
	}

	uint32_t run() { return io_command(number_of(GetParam().way), "listed", 0x123, 0x40, harness::user_address(data_)).code(); }

	void check(bool succeeded)
	{
		if (GetParam().way == direction::read) {
			expect_unchanged(listed);
			if (succeeded) {
				EXPECT_EQ(bytes(data_, data_ + 0x40), original(listed, 0x123, 0x40));
			}
			return;
		}
		if (succeeded)
			expect_changed(listed, 0x123, pattern(0x40, 60));
		else
			expect_unchanged(listed);
		harness::set_mtd_content(listed, 0x123, original(listed, 0x123, 0x40));
	}

private:
	void put(const bytes &content) { std::copy(content.begin(), content.end(), data_); }

	std::uint8_t *data_ = nullptr;
};

TEST_P(ioctl_transfer_failure, holds_nothing_and_the_next_try_succeeds)
{
	sweep_failures(
		GetParam().function, GetParam().result, [&] { return run(); }, [&](bool succeeded) { check(succeeded); });
}

TEST_P(ioctl_transfer_failure, holds_nothing_when_it_stays)
{
	const harness::holdings before = harness::held();
	harness::fail_always(GetParam().function, GetParam().result);
	for (int i = 0; i < 3; ++i)
		EXPECT_NE(run(), 0u);
	EXPECT_EQ(harness::held(), before);
	expect_unchanged(listed);
}

INSTANTIATE_TEST_SUITE_P(in, ioctl_transfer_failure,
			 testing::Values(swept{direction::read, "linux_copy_from_user", 3}, swept{direction::read, "vzalloc", 0},
					 swept{direction::read, "get_mtd_device_nm", error_no_device},
					 swept{direction::read, "snprintf_s", -1}, swept{direction::read, "plat_mtd_read_buf", 5},
					 swept{direction::read, "memcpy_s", 34}, swept{direction::read, "linux_copy_to_user", 1},
					 swept{direction::write, "linux_copy_from_user", 3}, swept{direction::write, "vmalloc", 0},
					 swept{direction::write, "vzalloc", 0}, swept{direction::write, "get_mtd_device_nm", 0},
					 swept{direction::write, "snprintf_s", -1}, swept{direction::write, "plat_mtd_read_buf", 5},
					 swept{direction::write, "memcpy_s", 34}, swept{direction::write, "plat_mtd_update_buf", 5}),
			 [](const auto &row) { return as_case_name(row.param.way) + "_" + row.param.function; });

} // namespace
} // namespace conformance
