// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// write of whole images: the header last, resumed, with a hash given beforehand.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "scratch.hpp"
#include "simulated_console.hpp"

using namespace flashctl_tests;

namespace {

constexpr std::size_t block = 0x1000;

bool has(const std::string &text, const std::string &part)
{
	return text.find(part) != std::string::npos;
}

// What a flash was told to write, in order.
struct written_range {
	std::uint32_t offset;
	bytes data;
	bool operator==(const written_range &) const = default;
};

struct recording_flash : simulated_flash {
	std::vector<written_range> writes;
	std::function<void(std::size_t, partition &)> after; // the n-th write, from 1

	status write(const std::string &name, std::uint32_t offset, std::span<const std::byte> data) override
	{
		const status answer = simulated_flash::write(name, offset, data);
		writes.push_back({offset, {data.begin(), data.end()}});
		if (after)
			after(writes.size(), part(name));
		return answer;
	}
};

// An image of three and a half erase blocks, the first of which is its header.
struct updating : testing::Test {
	recording_flash flash;
	simulated_console console;
	const bytes image = pattern(3 * block + block / 2, 99);
	const bytes before = flash.part("usrdata").content;

	updating() { console.input = image; }

	bytes &content() { return flash.part("usrdata").content; }

	bytes holding(const bytes &data, std::size_t offset = 0) const
	{
		bytes expected = before;
		std::copy(data.begin(), data.end(), expected.begin() + static_cast<std::ptrdiff_t>(offset));
		return expected;
	}

	bytes from(std::size_t begin, std::size_t end) const
	{
		return {image.begin() + static_cast<std::ptrdiff_t>(begin), image.begin() + static_cast<std::ptrdiff_t>(end)};
	}

	template <typename... argument_types> int write(const argument_types &...more)
	{
		console.out.clear();
		console.err.clear();
		flash.writes.clear();
		return flashctl::run({"write", "usrdata", "-", std::string(more)...}, flash, console);
	}

	nlohmann::json result() const { return nlohmann::json::parse(console.out)["result"]; }
};

const bytes blank_block(block, std::byte{0xff});

using header_last = updating;

TEST_F(header_last, invalidates_writes_the_rest_and_then_the_header)
{
	EXPECT_EQ(write("--last", "4KiB"), 0) << console.err;
	EXPECT_EQ(flash.writes, (std::vector<written_range>{{0, blank_block}, {block, from(block, image.size())}, {0, from(0, block)}}));
	EXPECT_EQ(content(), holding(image));
	EXPECT_TRUE(has(console.out, "written, verified with 18432 bytes around\n  header    4096 bytes, written last\n")) << console.out;
}

TEST_F(header_last, compares_each_step_before_the_next)
{
	EXPECT_EQ(write("--last", "4KiB", "--verify", "range"), 0);
	EXPECT_EQ(flash.calls, (std::vector<std::string>{"open", "devices", "uses", "lock", "read", "write", "read", "write", "read",
							 "read", "write", "read"}));
}

TEST_F(header_last, counts_all_of_its_transfers)
{
	EXPECT_EQ(write("--last", "4KiB", "--progress"), 0);
	EXPECT_TRUE(has(console.err, "flashctl: 0 % of 118 KiB: reading")) << console.err;
	EXPECT_TRUE(console.err.ends_with("flashctl: 100 % of 118 KiB\n")) << console.err;
}

TEST_F(header_last, leaves_out_what_is_there)
{
	content() = holding(image);
	EXPECT_EQ(write("--last", "4KiB"), 0);
	EXPECT_TRUE(flash.writes.empty());

	content()[10] ^= std::byte{1};
	EXPECT_EQ(write("--last", "4KiB", "--progress"), 0);
	EXPECT_EQ(flash.writes, (std::vector<written_range>{{0, from(0, block)}})) << "the rest is there, so the header can only be right";
	EXPECT_TRUE(has(console.err, "flashctl: 100 % of")) << console.err;

	EXPECT_EQ(flash.calls.back(), "read");

	content() = holding(image);
	std::fill_n(content().begin(), block + 1, std::byte{0xff});
	EXPECT_EQ(write("--last", "4KiB", "--progress"), 0);
	EXPECT_EQ(flash.writes, (std::vector<written_range>{{block, from(block, image.size())}, {0, from(0, block)}}));
	EXPECT_TRUE(has(console.err, "flashctl: 100 % of")) << console.err;
}

TEST_F(header_last, ends_at_the_edge_of_an_erase_block_wherever_the_image_begins)
{
	EXPECT_EQ(write("--offset", "0x800", "--last", "0x1800"), 0) << console.err;
	EXPECT_EQ(flash.writes.front().offset, 0x800u);
	EXPECT_EQ(flash.writes.front().data.size(), 0x1800u);
	EXPECT_EQ(content(), holding(image, 0x800));
}

void expect_refused(updating &test, int exit, int expected, const std::string &words)
{
	EXPECT_EQ(exit, expected);
	EXPECT_TRUE(has(test.console.err, words)) << test.console.err;
	EXPECT_TRUE(test.flash.writes.empty());
	EXPECT_EQ(test.content(), test.before);
}

TEST_F(header_last, that_shares_an_erase_block_is_refused_with_the_smallest_that_works)
{
	expect_refused(*this, write("--last", "64"), 2, "the header ends at 0x40, in the middle of an erase block of 4 KiB (4096 bytes)");
	EXPECT_TRUE(has(console.err, "--last 4096 is the smallest that works")) << console.err;
	expect_refused(*this, write("--last", "4097"), 2, "--last 8192 is the smallest that works");
	expect_refused(*this, write("--offset", "0xc00", "--last", "512"), 2, "--last 1024 is the smallest that works");
	expect_refused(*this, write("--offset", "0xc00", "--last", "512", "--length", "1024"), 2, "no --last works");
	expect_refused(*this, write("--last", "13KiB"), 2, "no --last works");
	expect_refused(*this, write("--last", "64", "--dry-run"), 2, "--last 4096 is the smallest that works");
}

TEST_F(header_last, of_no_or_all_bytes_is_refused)
{
	expect_refused(*this, write("--last", "0"), 2, "--last 0 is no header");
	expect_refused(*this, write("--last", "14336"), 2, "--last 14336 leaves nothing of an image of 14336 bytes");
	expect_refused(*this, write("--last", "1GiB"), 2, "leaves nothing of an image");
	expect_refused(*this, write("--last", "4KiB", "--length", "4096"), 2, "leaves nothing of an image of 4096 bytes");
	expect_refused(*this, write("--last", "5GiB"), 2, "is no size");
	expect_refused(*this, write("--last", "-1"), 2, "");
	expect_refused(*this, write("--last", ""), 2, "--last is empty");
	expect_refused(*this, write("--last", "4KiB", "--verify", "none"), 2, "--verify none and --last exclude each other");
}

TEST_F(header_last, that_looks_as_erased_flash_is_refused)
{
	std::fill_n(console.input.begin(), block, std::byte{0xff});
	expect_refused(*this, write("--last", "4KiB"), 2, "all 0xff");
}

TEST_F(header_last, is_refused_where_a_write_may_rewrite_everything)
{
	flash.equal_blocks_stay = false;
	expect_refused(*this, write("--last", "4KiB"), 9, "is not known");
	EXPECT_TRUE(has(console.err, "/usr/share/flash_mng/flash-service")) << console.err;
	EXPECT_EQ(write(), 0) << "without --last nothing is promised";
}

TEST_F(header_last, needs_erase_blocks)
{
	flash.part("usrdata").device.erase_size = 0;
	expect_refused(*this, write("--last", "4KiB"), 9, "has no erase blocks");
}

// What is on the flash when a step fails, and the words for it.
TEST_F(header_last, is_not_written_over_a_rest_that_cannot_be_written)
{
	flash.fail_call(8, status::from_code(0x7005000A));
	EXPECT_EQ(write("--last", "4KiB"), 6);
	EXPECT_EQ(content(), holding(blank_block));
	EXPECT_TRUE(has(console.err, "the header is not on the flash")) << console.err;
}

TEST_F(header_last, leaves_all_when_the_old_one_cannot_be_made_invalid)
{
	flash.fail_call(6, status::from_code(0x7005000A));
	EXPECT_EQ(write("--last", "4KiB"), 6);
	EXPECT_EQ(content(), before);
	EXPECT_TRUE(has(console.err, "the rest of the image was not touched")) << console.err;
}

TEST_F(header_last, that_fails_tells_that_the_rest_is_there)
{
	flash.fail_call(11, status::from_code(0x7005000A));
	EXPECT_EQ(write("--last", "4KiB"), 6);
	EXPECT_TRUE(has(console.err, "the rest of the image is on the flash")) << console.err;
}

TEST_F(header_last, is_not_written_over_a_rest_that_differs)
{
	flash.after = [](std::size_t write, partition &part) {
		if (write == 2)
			part.content[2 * block] ^= std::byte{4};
	};
	EXPECT_EQ(write("--last", "4KiB"), 7);
	EXPECT_EQ(flash.writes.size(), 2u);
	EXPECT_TRUE(has(console.err, "1 byte of \"usrdata\" is not what was written, the first at 0x2000")) << console.err;
	EXPECT_TRUE(has(console.err, "the header is not on the flash")) << console.err;
}

TEST_F(header_last, is_not_written_over_a_rest_that_was_right_only_once)
{
	content() = holding(image);
	content()[0] ^= std::byte{1};
	flash.after_read = [this](std::span<std::byte>) { content()[2 * block] ^= std::byte{1}; };
	EXPECT_EQ(write("--last", "4KiB"), 7);
	EXPECT_EQ(flash.writes, (std::vector<written_range>{{0, blank_block}, {block, from(block, image.size())}}));
	EXPECT_TRUE(has(console.err, "\"usrdata\" gives other bytes each time it is read; the header is not on the flash")) << console.err;
}

// The service would rewrite that erase block when it writes the header.
TEST_F(header_last, is_not_written_while_bytes_behind_the_image_are_unstable)
{
	content() = holding(image);
	content()[0] ^= std::byte{1};
	flash.after_read = [this](std::span<std::byte>) { content()[image.size()] ^= std::byte{1}; };
	EXPECT_EQ(write("--last", "4KiB", "--verify", "range"), 7);
	EXPECT_EQ(content()[0], std::byte{0xff});
	EXPECT_EQ(flash.writes.size(), 2u);

	flash.after = [this](std::size_t write, partition &) { flash.after_read = write == 1 ? nullptr : flash.after_read; };
	EXPECT_EQ(write("--last", "4KiB", "--verify", "range"), 0) << console.err;
	EXPECT_EQ(flash.writes.size(), 2u) << "the rest, which settles it, and the header";
}

TEST_F(header_last, is_not_written_where_the_rest_brought_the_old_one_back)
{
	flash.after = [this](std::size_t write, partition &part) {
		if (write == 2)
			std::copy_n(before.begin(), block, part.content.begin());
	};
	EXPECT_EQ(write("--last", "4KiB"), 7);
	EXPECT_EQ(flash.writes.size(), 2u);
}

TEST_F(header_last, does_not_touch_the_rest_under_a_header_that_stays)
{
	flash.after = [this](std::size_t, partition &part) { part.content = before; };
	EXPECT_EQ(write("--last", "4KiB"), 7);
	EXPECT_EQ(flash.writes.size(), 1u);
	EXPECT_TRUE(has(console.err, "cannot be made invalid")) << console.err;
}

TEST_F(header_last, is_finished_when_a_signal_comes_on_the_way)
{
	flash.after = [this](std::size_t, partition &) { console.pending = "SIGTERM"; };
	EXPECT_EQ(write("--last", "4KiB"), 12);
	EXPECT_EQ(content(), holding(image));
	EXPECT_TRUE(has(console.err, "the flash holds the new data, read back and verified")) << console.err;
}

TEST_F(header_last, is_part_of_the_plan)
{
	EXPECT_EQ(write("--last", "4KiB", "--dry-run"), 0);
	EXPECT_TRUE(has(console.out, "\n  header    4096 bytes, would be written last\n")) << console.out;
	EXPECT_EQ(content(), before);
	write("--last", "4KiB", "--dry-run", "--json");
	EXPECT_EQ(result()["header_bytes"], 4096);
	EXPECT_TRUE(result()["held_blocks"].is_null());
}

using resuming = updating;

TEST_F(resuming, leaves_out_blocks_that_hold_the_data)
{
	content() = holding(from(0, 2 * block));
	EXPECT_EQ(write("--resume", "--progress"), 0);
	EXPECT_EQ(flash.writes, (std::vector<written_range>{{2 * block, from(2 * block, image.size())}}));
	EXPECT_TRUE(has(console.out, "\n  resumed   2 of 4 erase blocks held the data already\n")) << console.out;
	EXPECT_TRUE(has(console.err, "flashctl: 100 % of")) << console.err;
	EXPECT_EQ(content(), holding(image));
}

TEST_F(resuming, writes_what_is_missing_between)
{
	content() = holding(image);
	content()[0] ^= std::byte{1};
	content()[image.size() - 1] ^= std::byte{1};
	EXPECT_EQ(write("--resume"), 0);
	EXPECT_EQ(flash.writes, (std::vector<written_range>{{0, from(0, block)}, {3 * block, from(3 * block, image.size())}}));
	EXPECT_TRUE(has(console.out, "  resumed   2 of 4 erase blocks"));
}

TEST_F(resuming, counts_blocks_from_the_middle_of_one)
{
	content() = holding(image, 0x800);
	content()[0x1000] ^= std::byte{1};
	EXPECT_EQ(write("--resume", "--offset", "0x800", "--json"), 0);
	EXPECT_EQ(result()["held_blocks"], 3);
	EXPECT_EQ(result()["erase_blocks"], 4);
	EXPECT_EQ(flash.writes, (std::vector<written_range>{{0x1000, from(0x800, 0x1800)}}));
}

TEST_F(resuming, of_what_is_all_there_or_not_at_all)
{
	EXPECT_EQ(write("--resume"), 0);
	EXPECT_TRUE(has(console.out, "  resumed   0 of 4 erase blocks")) << console.out;
	EXPECT_EQ(write("--resume"), 0);
	EXPECT_TRUE(has(console.out, "unchanged: the flash holds this data already\n  resumed   4 of 4 erase blocks")) << console.out;
	EXPECT_EQ(write("--resume", "--dry-run"), 0);
	EXPECT_TRUE(has(console.out, "  resumed   4 of 4 erase blocks")) << console.out;
}

TEST_F(resuming, with_the_header_last_counts_the_rest)
{
	content() = holding(from(0, 2 * block));
	EXPECT_EQ(write("--resume", "--last", "4KiB"), 0);
	EXPECT_TRUE(has(console.out, "  resumed   1 of 4 erase blocks")) << console.out;
	EXPECT_EQ(flash.writes,
		  (std::vector<written_range>{{0, blank_block}, {2 * block, from(2 * block, image.size())}, {0, from(0, block)}}));
}

TEST_F(resuming, ends_where_the_flash_cannot_be_read)
{
	flash.fail_call(5, status::from_code(0x70050006));
	EXPECT_EQ(write("--resume"), 6);
	EXPECT_TRUE(has(console.err, "nothing was written")) << console.err;
	EXPECT_TRUE(flash.writes.empty());
	EXPECT_EQ(write("--resume", "--verify", "none"), 2);
	EXPECT_TRUE(has(console.err, "--verify none and --resume exclude each other")) << console.err;
}

TEST_F(resuming, tells_what_is_there_when_one_of_its_writes_fails)
{
	content() = holding(image);
	content()[0] ^= std::byte{1};
	content()[image.size() - 1] ^= std::byte{1};
	flash.fail_call(7, status::from_code(0x7005000A));
	EXPECT_EQ(write("--resume"), 6);
	EXPECT_TRUE(has(console.err, "1 of 32768 compared bytes are not as before")) << console.err;
}

using sum_given = updating;

TEST_F(sum_given, that_matches_is_no_obstacle)
{
	std::string sum = flashctl::sha256(image);
	std::ranges::transform(sum, sum.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
	EXPECT_EQ(write("--sha256", sum), 0) << console.err;
	EXPECT_EQ(content(), holding(image));
}

TEST_F(sum_given, of_another_file_writes_nothing)
{
	scratch folder;
	folder.write("image", std::string(600, 'x'));
	EXPECT_EQ(flashctl::run({"write", "usrdata", folder.path("image"), "--sha256", flashctl::sha256(image)}, flash, console), 1);
	EXPECT_TRUE(has(console.err, "image has another SHA-256 than --sha256: ")) << console.err;
	EXPECT_EQ(content(), before);
	EXPECT_EQ(std::count(flash.calls.begin(), flash.calls.end(), "lock"), 0);
}

TEST_F(sum_given, of_a_pipe_cut_short_writes_neither_header_nor_rest)
{
	console.input.resize(image.size() - 1);
	expect_refused(*this, write("--sha256", flashctl::sha256(image), "--last", "4KiB"), 1, "(14335 bytes); nothing was written");
	expect_refused(*this, write("--sha256", flashctl::sha256(image), "--dry-run"), 1, "standard input has another SHA-256");
	expect_refused(*this, write("--length", "14336"), 2, "fewer than --length 14336");
}

TEST_F(sum_given, is_that_of_the_bytes_to_be_written)
{
	EXPECT_EQ(write("--length", "5000", "--sha256", flashctl::sha256(from(0, 5000))), 0) << console.err;
}

TEST_F(sum_given, of_wrong_length_is_refused)
{
	const std::string sum = flashctl::sha256(image);
	for (const std::string &wrong : {sum.substr(1), sum + "0", sum.substr(1) + "g", std::string("0")})
		expect_refused(*this, write("--sha256", wrong), 2, "64 hexadecimal digits");
	expect_refused(*this, write("--sha256", ""), 2, "--sha256 is empty");
}

TEST_F(updating, from_standard_input_and_from_a_file_is_refused)
{
	expect_refused(*this, write("image"), 2, "unexpected argument image");
}

TEST_F(updating, with_an_image_beyond_the_usable_bytes_is_refused)
{
	flash.part("usrdata").device.usable = 0x3000;
	expect_refused(*this, write("--last", "4KiB"), 2, "end beyond the usable bytes of \"usrdata\"");
	EXPECT_TRUE(has(console.err, "at most 12288 bytes fit there")) << console.err;
	console.input = bytes(0x9000);
	expect_refused(*this, write("--last", "4KiB", "--resume"), 2, "has more bytes than \"usrdata\" has");
}

} // namespace
