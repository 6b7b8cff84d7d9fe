// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The client header: what it sends, and how it takes apart what comes back.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <type_traits>

#include "fake_module.hpp"
#include "flash_mng/client.hpp"

using namespace flash_mng;
using flashctl_tests::fake_module;
using flashctl_tests::module;

namespace {

struct client : testing::Test {
	client() { module() = fake_module(); }
	~client() override { module() = fake_module(); }

	device board = std::move(*device::open());
	partition_name usrdata = *partition_name::make("usrdata");
	std::array<std::byte, 16> data = {};
};

static_assert(!std::is_copy_constructible_v<device> && !std::is_copy_assignable_v<device>);
static_assert(std::is_nothrow_move_constructible_v<device> && std::is_nothrow_move_assignable_v<device>);
static_assert(!std::is_convertible_v<std::uint32_t, byte_offset> && !std::is_convertible_v<std::uint32_t, instance_id>);
static_assert(std::is_trivially_copyable_v<status> && std::is_trivially_copyable_v<partition_name>);
static_assert(partition_name::make("usrdata")->view() == "usrdata");
static_assert(find_code(FLASH_MNG_NOT_LISTED) == find_code("FLASH_MNG_NOT_LISTED"));

TEST(partition_names, have_1_to_31_characters)
{
	EXPECT_FALSE(partition_name::make(""));
	EXPECT_TRUE(partition_name::make("a"));
	EXPECT_TRUE(partition_name::make(std::string(31, 'n')));
	EXPECT_FALSE(partition_name::make(std::string(32, 'n')));
	EXPECT_FALSE(partition_name::make(std::string_view("a\0b", 3)));
	EXPECT_EQ(std::string(partition_name::make(std::string(31, 'n'))->c_str()), std::string(31, 'n'));
}

struct carried_case {
	int result, error;
	status expected;
};

class carried : public testing::TestWithParam<carried_case> {};

TEST_P(carried, result_is_taken_apart)
{
	EXPECT_EQ(status::from_ioctl(GetParam().result, GetParam().error), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(all, carried,
			 testing::Values(carried_case{0, EIO, status()}, carried_case{418, EIO, status::from_code(418)},
					 carried_case{0x7FFFFFFF, 0, status::from_code(0x7FFFFFFF)},
					 carried_case{-2128936540, EIO, status::from_code(0x811B01A4)},
					 carried_case{INT32_MIN, 0, status::from_code(0x80000000)},
					 carried_case{-4096, 0, status::from_code(0xFFFFF000)},
					 carried_case{-1, EPERM, status::from_code(FLASH_MNG_FAILED)},
					 carried_case{-1, EBADF, status::from_errno(EBADF)},
					 carried_case{-1, ENOTTY, status::from_errno(ENOTTY)}));

TEST(statuses, keep_the_three_sides_apart)
{
	EXPECT_TRUE(status().ok());
	EXPECT_TRUE(status::from_code(0).ok());
	const status module_code = status::from_code(FLASH_MNG_FAILED);
	EXPECT_EQ(module_code.origin(), origin::module);
	EXPECT_EQ(module_code.code(), 0xFFFFFFFFu);
	EXPECT_EQ(module_code.error(), 0);
	const status kernel = status::from_errno(EPERM);
	EXPECT_EQ(kernel.origin(), origin::system);
	EXPECT_EQ(kernel.code(), 0u);
	EXPECT_FALSE(kernel.ok());
	EXPECT_FALSE(kernel.is(FLASH_MNG_OK)) << "a refusal of the kernel is no code at all";
	EXPECT_NE(module_code, kernel);
	EXPECT_STREQ(status::from_code(0x12345678).meaning(), "a code of the platform, passed through by the module");
	EXPECT_STREQ(kernel.meaning(), "Operation not permitted");
}

TEST_F(client, opens_or_keeps_the_kernels_error)
{
	EXPECT_GE(board.descriptor(), 0);
	module().open_error = ENOENT;
	const auto refused = device::open();
	EXPECT_FALSE(refused);
	EXPECT_EQ(refused.status(), status::from_errno(ENOENT));
}

TEST_F(client, moves_and_closes)
{
	const int descriptor = board.descriptor();
	device other = std::move(board);
	EXPECT_EQ(other.descriptor(), descriptor);
	EXPECT_EQ(board.descriptor(), -1);
	board = std::move(other);
	EXPECT_EQ(board.descriptor(), descriptor);
	{
		const device last = std::move(board);
		EXPECT_NE(fcntl(descriptor, F_GETFD), -1);
	}
	EXPECT_EQ(fcntl(descriptor, F_GETFD), -1) << "the last owner closes";
}

TEST_F(client, sends_a_transfer_as_the_record_says)
{
	EXPECT_TRUE(board.read(usrdata, byte_offset{0x1234}, data).ok());
	EXPECT_EQ(module().commands, std::vector<unsigned long>{FLASH_MNG_MTD_READ});
	flash_mtd_io_arg record;
	ASSERT_EQ(module().record.size(), sizeof(record));
	std::memcpy(&record, module().record.data(), sizeof(record));
	EXPECT_STREQ(record.name, "usrdata");
	EXPECT_TRUE(std::all_of(record.name + 7, record.name + 32, [](char c) { return c == 0; }));
	EXPECT_EQ(record.offset, 0x1234u);
	EXPECT_EQ(record.length, 16u);
	EXPECT_EQ(record.buffer, reinterpret_cast<std::uintptr_t>(data.data()));
}

TEST_F(client, reads_and_writes)
{
	std::array<std::byte, 16> text;
	text.fill(std::byte{'x'});
	EXPECT_TRUE(board.write(usrdata, byte_offset{100}, text).ok());
	EXPECT_TRUE(board.read(usrdata, byte_offset{100}, data).ok());
	EXPECT_EQ(data, text);
	EXPECT_EQ(module().commands, (std::vector<unsigned long>{FLASH_MNG_MTD_WRITE, FLASH_MNG_MTD_READ}));
}

TEST_F(client, refuses_a_length_over_32_bits_without_a_call)
{
	const std::span<std::byte> huge(data.data(), std::size_t{1} << 32);
	EXPECT_EQ(board.read(usrdata, byte_offset{0}, huge).origin(), origin::request);
	EXPECT_TRUE(module().commands.empty());
}

TEST_F(client, tells_whether_a_partition_is_listed)
{
	EXPECT_TRUE(*board.is_listed(usrdata));
	EXPECT_FALSE(*board.is_listed(*partition_name::make("boot")));
	module().answer = FLASH_MNG_USER_UNREADABLE;
	EXPECT_TRUE(board.is_listed(usrdata).status().is(FLASH_MNG_USER_UNREADABLE));
	module().answer = FLASH_MNG_OK;
	EXPECT_FALSE(board.is_listed(usrdata)) << "success is no answer to a question for nothing";
}

TEST_F(client, gives_the_statistics)
{
	flash_mtd_statistics record;
	EXPECT_TRUE(board.statistics(record).ok());
	EXPECT_EQ(record.count, 6u);
	EXPECT_STREQ(record.entries[2].name, "usrdata");
	EXPECT_EQ(std::uint64_t{record.entries[2].size}, 0x8000u);
}

TEST_F(client, asks_for_user_data)
{
	EXPECT_TRUE(*board.has_user_data());
	EXPECT_EQ(*board.user_data_count(), 1u);
	EXPECT_EQ(board.user_data()->size, 0x8000u);
	EXPECT_EQ(board.user_data()->partitions, 1u);
	module().flash.user_data_exists = false;
	EXPECT_FALSE(*board.has_user_data());
	EXPECT_TRUE(board.user_data_count().status().is(FLASH_MNG_FAILED)) << "-1 with EPERM is the module's code";
	EXPECT_TRUE(board.user_data().status().is(FLASH_MNG_FAILED));
}

TEST_F(client, finds_spi_flashes)
{
	EXPECT_EQ(board.find_spi_flash(instance_id{5})->sfc_chip_id, 1u);
	EXPECT_EQ(board.find_spi_flash("spi_a")->inst_id, 5u);
	EXPECT_TRUE(board.find_spi_flash(instance_id{6}).status().is(FLASH_MNG_NOT_FOUND));
	EXPECT_TRUE(board.find_spi_flash("spi").status().is(FLASH_MNG_NOT_FOUND));
	EXPECT_TRUE(board.find_spi_flash(std::string(32, 'n')).status().is(FLASH_MNG_NOT_FOUND));
	module().commands.clear();
	EXPECT_TRUE(board.find_spi_flash(std::string(33, 'n')).status().is(FLASH_MNG_BAD_LENGTH));
	EXPECT_TRUE(module().commands.empty());
}

class answers : public testing::TestWithParam<std::uint32_t> {};

TEST_P(answers, of_every_command_keep_the_code)
{
	module() = fake_module();
	const auto board = device::open();
	const auto usrdata = *partition_name::make("usrdata");
	std::array<std::byte, 16> data = {};
	flash_mtd_statistics statistics;
	const status expected = status::from_code(GetParam());
	module().answer = GetParam();
	EXPECT_EQ(board->read(usrdata, byte_offset{0}, data), expected);
	EXPECT_EQ(board->write(usrdata, byte_offset{0}, data), expected);
	EXPECT_EQ(board->statistics(statistics), expected);
	EXPECT_EQ(board->has_user_data().status(), expected);
	EXPECT_EQ(board->user_data_count().status(), expected);
	EXPECT_EQ(board->user_data().status(), expected);
	EXPECT_EQ(board->find_spi_flash(instance_id{1}).status(), expected);
	EXPECT_EQ(board->find_spi_flash("a").status(), expected);
	module() = fake_module();
}

INSTANTIATE_TEST_SUITE_P(all, answers,
			 testing::Values(FLASH_MNG_FAILED, FLASH_MNG_INVALID, FLASH_MNG_COPY_FAILED, FLASH_MNG_NOT_LISTED,
					 FLASH_MNG_NO_BUFFER, 1u, 56u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFF000u, 0x70050008u));

TEST_F(client, keeps_the_kernels_errors)
{
	for (const int error : {EBADF, EFAULT, ENOTTY, EINTR}) {
		module().kernel_error = error;
		EXPECT_EQ(board.read(usrdata, byte_offset{0}, data), status::from_errno(error));
		EXPECT_EQ(board.is_listed(usrdata).status(), status::from_errno(error));
	}
}

} // namespace
