// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <gtest/gtest.h>

#include "scratch.hpp"
#include "simulated_console.hpp"

using namespace flashctl_tests;

namespace {

bool has(const std::string &text, const std::string &part)
{
	return text.find(part) != std::string::npos;
}

// A host with 512 bytes to write at 4 KiB - 256 of usrdata, across the border of two erase blocks.
struct writing : testing::Test, host {
	static constexpr std::size_t offset = 0x1000 - 256;

	writing()
	{
		console.input = bytes(512, std::byte{0x5a});
		before = content();
		expected = before;
		std::copy(console.input.begin(), console.input.end(), expected.begin() + offset);
	}

	bytes &content() { return flash.part("usrdata").content; }

	template <typename... argument_types> int write(const argument_types &...more)
	{
		return flashctl("write", "usrdata", "-", "--offset", "0xf00", more...);
	}

	bytes before, expected;
};

TEST_F(writing, changes_the_range_and_verifies_everything)
{
	EXPECT_EQ(write(), 0);
	EXPECT_EQ(content(), expected);
	EXPECT_EQ(console.out, "usrdata: 512 bytes at 0xf00 written, verified with 32256 bytes around\n  sha256    " +
				       flashctl::sha256(console.input) + "\n");
	EXPECT_EQ(console.err, "");
	EXPECT_EQ(flash.calls, (std::vector<std::string>{"open", "devices", "uses", "lock", "read", "write", "read"}));
}

TEST_F(writing, from_a_file_and_its_first_bytes_only)
{
	scratch folder;
	folder.write("image", std::string(600, '\x5a'));
	EXPECT_EQ(flashctl("write", "usrdata", folder.path("image"), "--offset", "0xf00", "--length", "512"), 0);
	EXPECT_EQ(content(), expected);
}

TEST_F(writing, what_is_there_already_is_left_out)
{
	content() = expected;
	EXPECT_EQ(write(), 0);
	EXPECT_TRUE(has(console.out, "unchanged")) << console.out;
	EXPECT_EQ(std::count(flash.calls.begin(), flash.calls.end(), "write"), 0);
}

TEST_F(writing, dry_run_shows_the_plan_and_writes_nothing)
{
	console.errors_terminal = true;
	EXPECT_EQ(write("--dry-run"), 0);
	EXPECT_EQ(console.out.substr(0, console.out.find("  sha256")),
		  "usrdata: 512 bytes at 0xf00 would be written to /dev/mtd2, in 2 erase blocks\n  510 of them change\n"
		  "  whether the usable bytes reach that far is known to the module only\n");
	EXPECT_EQ(content(), before);
	EXPECT_EQ(flash.calls, (std::vector<std::string>{"open", "devices", "uses", "read"}));
	EXPECT_TRUE(console.questions.empty());
}

TEST_F(writing, dry_run_of_what_is_there_already)
{
	content() = expected;
	EXPECT_EQ(write("--dry-run"), 0);
	EXPECT_TRUE(has(console.out, "a write would be left out"));
}

TEST_F(writing, asks_on_a_terminal)
{
	console.errors_terminal = true;
	EXPECT_EQ(write(), 0);
	EXPECT_EQ(console.questions, std::vector<std::string>{"Write 512 bytes at 0xf00 of \"usrdata\" (mtd2)?"});
	EXPECT_EQ(content(), expected);
}

TEST_F(writing, does_not_ask_with_yes_or_in_a_script)
{
	EXPECT_EQ(write(), 0);
	content() = before;
	console.errors_terminal = true;
	EXPECT_EQ(write("--yes"), 0);
	EXPECT_TRUE(console.questions.empty());
}

TEST_F(writing, is_left_out_when_declined)
{
	console.errors_terminal = true;
	console.person = flashctl::console::answer::no;
	EXPECT_EQ(write(), 10);
	EXPECT_TRUE(has(console.err, "nothing was written"));
	console.person = flashctl::console::answer::nobody;
	EXPECT_EQ(write(), 10);
	EXPECT_TRUE(has(console.err, "--yes"));
	EXPECT_EQ(content(), before);
}

TEST_F(writing, keeps_a_second_writer_out)
{
	flash.fail_call(4, status::from_errno(EWOULDBLOCK));
	EXPECT_EQ(write(), 8);
	EXPECT_TRUE(has(console.err, "another flashctl is writing"));
	EXPECT_EQ(content(), before);
}

TEST_F(writing, leaves_a_partition_in_use_alone)
{
	flash.fail_call(4, status::from_errno(EBUSY));
	EXPECT_EQ(write(), 8);
	EXPECT_TRUE(has(console.err, "somebody has claimed /dev/mtdblock2"));
	EXPECT_EQ(content(), before);
}

TEST_F(writing, needs_some_kind_of_lock)
{
	flash.fail_call(4, status::from_errno(ENOSYS));
	EXPECT_EQ(write(), 9);
	EXPECT_TRUE(has(console.err, "CONFIG_FILE_LOCKING"));
	EXPECT_EQ(content(), before);
}

TEST_F(writing, verify_range_looks_at_the_range_only)
{
	flash.after_write = [](partition &part) { part.content[0] ^= std::byte{1}; };
	EXPECT_EQ(write("--verify", "range"), 0);
	EXPECT_TRUE(has(console.out, "written, verified\n")) << console.out;
}

TEST_F(writing, verify_none_reads_nothing_and_says_so)
{
	EXPECT_EQ(write("--verify", "none"), 0);
	EXPECT_TRUE(has(console.out, "written, not verified")) << console.out;
	EXPECT_EQ(flash.calls, (std::vector<std::string>{"open", "devices", "uses", "lock", "write"}));
}

TEST_F(writing, beyond_the_partition_is_refused_before_anything)
{
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--offset", "0x7f00"), 2);
	EXPECT_TRUE(has(console.err, "standard input has more bytes than \"usrdata\" has behind 0x7f00")) << console.err;
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--offset", "0x8000"), 2);
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--offset", "0x7f00", "--length", "257"), 2);
	EXPECT_EQ(content(), before);
	EXPECT_EQ(std::count(flash.calls.begin(), flash.calls.end(), "write"), 0);
}

TEST_F(writing, beyond_the_usable_bytes_is_refused_by_the_module)
{
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--offset", "0x5f00"), 2);
	EXPECT_TRUE(has(console.err, "BOUNDED_NO_ROOM")) << console.err;
	EXPECT_TRUE(has(console.err, "its content is as before")) << console.err;
}

TEST_F(writing, needs_as_many_bytes_as_asked_for)
{
	EXPECT_EQ(write("--length", "513"), 2);
	EXPECT_TRUE(has(console.err, "fewer than --length 513"));
	console.input.clear();
	EXPECT_EQ(write(), 2);
	EXPECT_TRUE(has(console.err, "standard input is empty"));
}

TEST_F(writing, to_a_partition_that_programs_may_not_write)
{
	EXPECT_EQ(flashctl("write", "boot", "-"), 9);
	EXPECT_EQ(flashctl("write", "usrdat", "-"), 3);
}

TEST_F(writing, that_fails_tells_what_became_of_the_flash)
{
	flash.fail_call(6, status::from_code(0x7005000A));
	EXPECT_EQ(write(), 6);
	EXPECT_TRUE(has(console.err, "its content is as before")) << console.err;
	EXPECT_EQ(console.out, "");

	flash.fail_from(6, status::from_code(0x7005000A));
	EXPECT_EQ(write(), 6);
	EXPECT_TRUE(has(console.err, "its content is unknown")) << console.err;
}

// A write that fails after it has changed something.
struct torn_flash : simulated_flash {
	std::size_t bytes_written = 0;

	status write(const std::string &name, std::uint32_t offset, std::span<const std::byte> data) override
	{
		(void)simulated_flash::write(name, offset, data.first(bytes_written));
		return status::from_code(0x7005000B);
	}
};

TEST_F(writing, that_fails_half_way_tells_how_much_differs)
{
	torn_flash torn;
	torn.bytes_written = 100;
	EXPECT_EQ(flashctl::run({"write", "usrdata", "-"}, torn, console), 6);
	EXPECT_TRUE(has(console.err, "of 32768 compared bytes are not as before")) << console.err;
	torn = {};
	torn.bytes_written = 512;
	console.err.clear();
	EXPECT_EQ(flashctl::run({"write", "usrdata", "-"}, torn, console), 6);
	EXPECT_TRUE(has(console.err, "holds the new data all the same")) << console.err;
}

TEST_F(writing, shows_steps_on_a_terminal_and_never_in_a_pipe)
{
	write();
	EXPECT_TRUE(console.steps.empty());
	content() = before;
	console.errors_terminal = true;
	write("-y");
	EXPECT_EQ(console.steps, (std::vector<std::string>{"0 % of 66048 bytes: reading 32 KiB of usrdata", "",
							   "49 % of 66048 bytes: writing 512 bytes to usrdata", "",
							   "50 % of 66048 bytes: verifying 32 KiB of usrdata", ""}));
	console.steps.clear();
	write("-y", "--json");
	write("-y", "--quiet");
	EXPECT_TRUE(console.steps.empty());
}

constexpr char lines_of_a_write[] = "flashctl: 0 % of 66048 bytes: reading 32 KiB of usrdata\n"
				    "flashctl: 49 % of 66048 bytes, 3.1 MiB/s: writing 512 bytes to usrdata\n"
				    "flashctl: 50 % of 66048 bytes, 1.6 MiB/s: verifying 32 KiB of usrdata\n"
				    "flashctl: 100 % of 66048 bytes, 2.1 MiB/s\n";

TEST_F(writing, verbose_steps_are_lines)
{
	console.tick = std::chrono::milliseconds(10);
	for (const bool on_a_terminal : {false, true}) {
		content() = before;
		console.errors_terminal = on_a_terminal;
		write("-v");
		EXPECT_EQ(console.err, lines_of_a_write);
		EXPECT_TRUE(has(console.out, "changed   510 bytes"));
		EXPECT_TRUE(console.steps.empty());
	}
}

TEST_F(writing, progress_is_told_without_a_terminal_on_request)
{
	console.tick = std::chrono::milliseconds(10);
	EXPECT_EQ(write("--progress"), 0);
	EXPECT_EQ(console.err, lines_of_a_write);
	EXPECT_FALSE(has(console.out, "changed   510 bytes"));
	content() = before;
	console.errors_terminal = true;
	EXPECT_EQ(write("--progress", "-y"), 0);
	EXPECT_EQ(console.err, "");
	EXPECT_EQ(console.steps.size(), 6u);
}

TEST_F(writing, counts_only_the_transfers_that_are_meant)
{
	write("--progress", "--dry-run");
	EXPECT_EQ(console.err, "flashctl: 0 % of 32 KiB: reading 32 KiB of usrdata\nflashctl: 100 % of 32 KiB\n");
	write("--progress", "--verify", "range");
	EXPECT_TRUE(has(console.err, "flashctl: 33 % of 1536 bytes: writing 512 bytes")) << console.err;
	write("--progress", "--verify", "none");
	EXPECT_EQ(console.err, "flashctl: 0 % of 512 bytes: writing 512 bytes to usrdata\nflashctl: 100 % of 512 bytes\n");
}

TEST_F(writing, quiet_says_nothing)
{
	EXPECT_EQ(write("-q"), 0);
	EXPECT_EQ(console.out + console.err, "");
}

// ---- lies of the flash: it says that it has written

struct lie {
	const char *name;
	std::function<void(simulated_flash &)> tell;
	bool in_range;
};

void PrintTo(const lie &lie, std::ostream *out)
{
	*out << lie.name;
}

std::function<void(simulated_flash &)> flips(std::size_t at)
{
	return [at](simulated_flash &flash) { flash.after_write = [at](partition &part) { part.content[at] ^= std::byte{0x10}; }; };
}

void forgets(simulated_flash &flash)
{
	const bytes old = flash.part("usrdata").content;
	flash.after_write = [old](partition &part) { part.content = old; };
}

void erases_block(simulated_flash &flash)
{
	flash.after_write = [](partition &part) { std::fill_n(part.content.begin(), 0x1000, std::byte{0xff}); };
}

void leaves_second_block(simulated_flash &flash)
{
	const bytes old = flash.part("usrdata").content;
	flash.after_write = [old](partition &part) { std::copy(old.begin() + 0x1000, old.end(), part.content.begin() + 0x1000); };
}

void answers_without_data(simulated_flash &flash)
{
	flash.after_write = [&flash](partition &) { flash.reads_leave_buffer = true; };
}

void answers_with_half(simulated_flash &flash)
{
	flash.after_write = [&flash](partition &) {
		flash.after_read = [](std::span<std::byte> data) { std::ranges::fill(data.first(data.size() / 2), std::byte{0}); };
	};
}

class lies : public testing::TestWithParam<lie> {};

TEST_P(lies, are_found_out)
{
	host host;
	host.console.input = bytes(512, std::byte{0x5a});
	GetParam().tell(host.flash);
	EXPECT_EQ(host.flashctl("write", "usrdata", "-", "--offset", "0xf00"), 7);
	EXPECT_TRUE(has(host.console.out, GetParam().in_range ? "\n  written   " : "\n  around    ")) << host.console.out;
	EXPECT_TRUE(has(host.console.err, "does not hold what was written"));
	EXPECT_FALSE(has(host.console.out, "verified"));
}

TEST_P(lies, are_found_out_in_the_range)
{
	host host;
	host.console.input = bytes(512, std::byte{0x5a});
	GetParam().tell(host.flash);
	EXPECT_EQ(host.flashctl("write", "usrdata", "-", "--offset", "0xf00", "--verify", "range", "--quiet"), GetParam().in_range ? 7 : 0);
}

INSTANTIATE_TEST_SUITE_P(all, lies,
			 testing::Values(lie{"nothing written", forgets, true}, lie{"first byte", flips(0xf00), true},
					 lie{"last byte", flips(0x10ff), true}, lie{"byte before", flips(0xeff), false},
					 lie{"byte behind", flips(0x1100), false}, lie{"first of the partition", flips(0), false},
					 lie{"last usable", flips(0x5fff), false}, lie{"first unusable", flips(0x6000), false},
					 lie{"last of the partition", flips(0x7fff), false}, lie{"block erased", erases_block, true},
					 lie{"second block old", leaves_second_block, true},
					 lie{"reads without data", answers_without_data, true},
					 lie{"reads half", answers_with_half, true}));

} // namespace
