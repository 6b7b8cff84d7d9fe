// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Boards on which a write must not be a success: the partition is in use, read-only, busy, worn, or the user may do half of it. And signals
// that come meanwhile.
#include <gtest/gtest.h>

#include <random>

#include "command_line.hpp"
#include "failure.hpp"
#include "scratch.hpp"
#include "simulated_console.hpp"

using namespace flashctl_tests;
using flashctl::danger;

namespace {

bool has(const std::string &text, const std::string &part)
{
	return text.find(part) != std::string::npos;
}

struct hazard {
	const char *name;
	std::function<void(host &)> prepare;
	int exit;
	bool dry_run_too; // a dry run ends in the same way
	const char *words;
};

void PrintTo(const hazard &hazard, std::ostream *out)
{
	*out << hazard.name;
}

std::function<void(host &)> used(danger kind)
{
	return [kind](host &host) { host.flash.users = {{kind, std::string("is in danger of ") + word_of(kind), "stop it"}}; };
}

std::function<void(host &)> not_locked(int error)
{
	return [error](host &host) { host.flash.lock_answer = status::from_errno(error); };
}

std::function<void(host &)> write_answers(std::uint32_t code)
{
	return [code](host &host) { host.flash.write_answer = status::from_code(code); };
}

void read_only(host &host)
{
	host.flash.part("usrdata").device.writable = false;
}

// Flash that takes no new data and says that it did.
void silently_worn(host &host)
{
	const bytes old = host.flash.part("usrdata").content;
	host.flash.after_write = [old](partition &part) { part.content = old; };
}

void short_of_usable_bytes(host &host)
{
	host.flash.part("usrdata").device.usable = 99;
}

const std::vector<hazard> hazards = {
	{"mounted", used(danger::mounted), 8, true, "--force mounted"},
	{"attached to UBI", used(danger::ubi), 8, true, "--force ubi"},
	{"swapped to", used(danger::swap), 8, true, "--force swap"},
	{"held", used(danger::claimed), 8, true, "--force claimed"},
	{"perhaps mounted", used(danger::unknown), 8, true, "--force unknown"},
	{"claimed", not_locked(EBUSY), 8, false, "--force claimed"},
	{"another writer", not_locked(EWOULDBLOCK), 8, false, "another flashctl is writing"},
	{"no means to lock", not_locked(ENOSYS), 9, false, "there is none (CONFIG_MTD_BLOCK)"},
	{"no right to lock", not_locked(EACCES), 4, false, "this user may not claim /dev/mtdblock2"},
	{"read-only", read_only, 9, true, "is read-only"},
	{"range beyond the usable bytes", short_of_usable_bytes, 2, true, "beyond the usable bytes"},
	{"range refused by the platform", write_answers(34), 2, false, "platform code 34, BOUNDED_NO_ROOM"},
	{"worn, and says so", write_answers(0x7005000A), 6, false, "platform code 0x7005000A, FLASH_BUFFER_ERASE_FAILED"},
	{"worn out", write_answers(0x70050006), 6, false, "worn out"},
	{"worn, and does not say so", silently_worn, 7, false, "does not hold what was written"},
};

class dangerous : public testing::TestWithParam<hazard> {
protected:
	dangerous()
	{
		board.console.input = bytes(100, std::byte{0x5a});
		before = content();
		GetParam().prepare(board);
	}

	bytes &content() { return board.flash.part("usrdata").content; }
	std::size_t writes() { return static_cast<std::size_t>(std::ranges::count(board.flash.calls, "write")); }

	host board;
	bytes before;
};

TEST_P(dangerous, write_is_no_success)
{
	for (const char *const verify : {"all", "range"}) {
		EXPECT_EQ(board.flashctl("write", "usrdata", "-", "--verify", verify, "--yes"), GetParam().exit);
		EXPECT_TRUE(has(board.console.err, GetParam().words)) << board.console.err;
		EXPECT_EQ(content(), before);
		EXPECT_EQ(board.flashctl("write", "usrdata", "-", "--verify", verify, "--json"), GetParam().exit);
	}
}

TEST_P(dangerous, dry_run_promises_nothing_that_fails)
{
	EXPECT_EQ(board.flashctl("write", "usrdata", "-", "--dry-run"), GetParam().dry_run_too ? GetParam().exit : 0);
	EXPECT_EQ(writes(), 0u);
	EXPECT_EQ(content(), before);
}

INSTANTIATE_TEST_SUITE_P(all, dangerous, testing::ValuesIn(hazards));

struct forcing : testing::Test, host {
	forcing() { console.input = bytes(100, std::byte{0x5a}); }
	bool written() { return flash.part("usrdata").content[0] == std::byte{0x5a}; }
};

TEST_F(forcing, needs_the_name_of_every_danger)
{
	flash.users = {{danger::mounted, "is mounted on /data (jffs2)", "unmount it first"}, {danger::swap, "is swapped to", "stop it"}};
	EXPECT_EQ(flashctl("write", "usrdata", "-"), 8);
	EXPECT_TRUE(has(console.err, "\"usrdata\" is mounted on /data (jffs2)")) << console.err;
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--yes"), 8) << "--yes is no --force";
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--force", "swap"), 8);
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--force", "mounted"), 8);
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--force", "everything"), 2);
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--force"), 2);
	EXPECT_FALSE(written());
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--force", "swap", "--force", "mounted"), 0) << console.err;
	EXPECT_TRUE(written());
}

TEST_F(forcing, of_a_mount_covers_the_claim_that_it_has)
{
	flash.users = {{danger::mounted, "is mounted", "unmount it"}};
	flash.lock_answer = status::from_errno(EBUSY);
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--force", "claimed"), 8);
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--force", "mounted"), 0);
}

TEST_F(forcing, lets_no_second_flashctl_in)
{
	flash.lock_answer = status::from_errno(EWOULDBLOCK);
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--force", "claimed", "--force", "mounted", "--force", "unknown"), 8);
	EXPECT_FALSE(written());
}

TEST(usable_bytes, bound_a_write_at_the_last_one)
{
	host host;
	host.flash.part("usrdata").device.usable = 0x6000;
	host.console.input = bytes(0x100, std::byte{1});
	EXPECT_EQ(host.flashctl("write", "usrdata", "-", "--offset", "0x5f01", "--dry-run"), 2);
	EXPECT_TRUE(has(host.console.err, "256 bytes at 0x5f01 end beyond the usable bytes of \"usrdata\"")) << host.console.err;
	EXPECT_TRUE(has(host.console.err, "at most 255 bytes fit there"));
	EXPECT_EQ(host.flashctl("write", "usrdata", "-", "--offset", "0x5f01"), 2);
	EXPECT_EQ(host.flashctl("write", "usrdata", "-", "--offset", "0x6000", "--length", "1"), 2);
	EXPECT_TRUE(has(host.console.err, "1 byte at 0x6000 ends beyond")) << host.console.err;
	EXPECT_EQ(host.flashctl("write", "usrdata", "-", "--offset", "0x5f00", "--dry-run"), 0);
	EXPECT_EQ(host.flashctl("write", "usrdata", "-", "--offset", "0x5f00"), 0);
	EXPECT_EQ(host.flashctl("read", "usrdata", "--offset", "0x6000", "--length", "1", "--hex"), 0) << "they can be read all the same";
}

TEST(usable_bytes, that_nobody_tells_are_not_promised)
{
	host host;
	host.console.input = bytes(1, std::byte{1});
	EXPECT_EQ(host.flashctl("write", "usrdata", "-", "--offset", "0x6000", "--dry-run"), 0);
	EXPECT_TRUE(has(host.console.out, "known to the module only")) << host.console.out;
	EXPECT_EQ(host.flashctl("write", "usrdata", "-", "--offset", "0x6000"), 2) << "as when they are known";
	host.flash.platform = {"platform", {}};
	EXPECT_EQ(host.flashctl("write", "usrdata", "-", "--offset", "0x6000"), 6);
	EXPECT_TRUE(has(host.console.err, "(platform code 34)")) << host.console.err;
}

// ---- signals

struct signalled : testing::Test, host {
	signalled() { console.input = bytes(100, std::byte{0x5a}); }
};

TEST_F(signalled, before_the_write_nothing_is_written)
{
	const bytes before = flash.part("usrdata").content;
	console.pending = "SIGTERM";
	EXPECT_EQ(flashctl("write", "usrdata", "-"), 12);
	EXPECT_EQ(console.err, "flashctl: write: SIGTERM: nothing was written\n");
	EXPECT_EQ(flash.part("usrdata").content, before);
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--json"), 12);
	EXPECT_TRUE(has(console.out, "\"interrupted\""));
}

TEST_F(signalled, at_the_question_nothing_is_written)
{
	console.errors_terminal = true;
	console.person = flashctl::console::answer::no;
	console.when_asked = [this] { console.pending = "SIGINT"; };
	EXPECT_EQ(flashctl("write", "usrdata", "-"), 12);
	EXPECT_EQ(std::ranges::count(flash.calls, "write"), 0);
}

TEST_F(signalled, in_the_write_what_the_flash_holds_is_told_after_it_was_verified)
{
	flash.after_write = [this](partition &) { console.pending = "SIGINT"; };
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--quiet"), 12);
	EXPECT_EQ(console.err,
		  "flashctl: write: SIGINT: the flash holds the new data, read back and verified: \"usrdata\", 100 bytes at 0x0\n");
	EXPECT_EQ(flash.calls.back(), "read");

	flash.part("usrdata").content[0] = std::byte{0};
	console.pending = nullptr;
	EXPECT_EQ(flashctl("write", "usrdata", "-", "--verify", "none"), 12);
	EXPECT_TRUE(has(console.err, "was written and not read back")) << console.err;
}

TEST_F(signalled, in_a_write_that_went_wrong_is_no_excuse)
{
	flash.after_write = [this](partition &part) {
		console.pending = "SIGINT";
		part.content[5] = std::byte{0};
	};
	EXPECT_EQ(flashctl("write", "usrdata", "-"), 7);
	EXPECT_TRUE(has(console.err, "does not hold what was written")) << console.err;
}

// ---- any command line

const std::vector<std::string> vocabulary = {"list",	   "info",	  "read",     "write",	    "verify",
					     "spi",	   "explain",	  "usrdata",  "config",	    "boot",
					     "-",	   "--offset",	  "--length", "--json",	    "-q",
					     "-v",	   "--hex",	  "--yes",    "--force",    "mounted",
					     "--verify",   "all",	  "none",     "--dry-run",  "0",
					     "1",	   "0x5fff",	  "0x6000",   "0x",	    "0xffffffff",
					     "4GiB",	   "3GiB",	  "-1",	      "",	    "=",
					     "--offset=1", "--",	  "--name",   "spi_a",	    "--sha256",
					     "--help",	   "\xff\xfe",	  "a b",      "$(x)",	    "\n",
					     "restore",	   "--partition", "%s%n",     "backup",	    "saved",
					     "--progress", "--quiet=",	  "--device", "--instance", "17179869185GiB",
					     "4294967295", "--version"};

std::vector<std::string> any_line(std::mt19937 &random)
{
	std::vector<std::string> line;
	for (std::size_t count = random() % 8; count; --count) {
		std::string word = vocabulary[random() % vocabulary.size()];
		if (random() % 8 == 0)
			word.insert(random() % (word.size() + 1), 1, static_cast<char>(1 + random() % 255));
		if (word.starts_with('/'))
			continue; // folders are made where the case wants them
		line.push_back(word);
	}
	return line;
}

std::string shown(const std::vector<std::string> &line)
{
	std::string text;
	for (const std::string &word : line)
		text += "'" + word + "' ";
	return text;
}

std::ptrdiff_t files_in(const std::string &folder)
{
	return std::distance(std::filesystem::directory_iterator(folder), {});
}

// Works in a folder of its own, with a backup that is not what the flash holds.
class any_command_line : public testing::Test, public host {
protected:
	any_command_line()
	{
		std::filesystem::current_path(folder_.path());
		for (const char *const name : {"config", "usrdata"})
			flash.part(name).device.usable = flash.part(name).usable;
		EXPECT_EQ(flashctl("backup", "saved"), 0) << console.err;
		flash.part("usrdata").content[3] ^= std::byte{1};
	}
	~any_command_line() override { std::filesystem::current_path(old_); }

private:
	const std::filesystem::path old_ = std::filesystem::current_path();
	const scratch folder_;
};

// Never a crash, never a status that is not documented, never a write of a line that fails or only plans, nor a folder of one that fails.
TEST_F(any_command_line, ends_with_a_documented_status_and_an_untouched_flash)
{
	std::mt19937 random(20261122);
	host &host = *this;
	const bytes before = host.flash.part("usrdata").content, config = host.flash.part("config").content;
	std::ptrdiff_t backups = 0, restores = 0, files = files_in(".");
	std::size_t succeeded = 0;
	for (int i = 0; i < 20000; ++i) {
		const auto line = any_line(random);
		if (std::ranges::find(line, "-o") != line.end())
			continue;
		host.flash.calls.clear();
		host.console.input = bytes(4, std::byte{0xa5});
		const int exit = host.run(line);
		ASSERT_TRUE(exit >= 0 && exit <= 12) << shown(line);
		ASSERT_TRUE(exit == 0 || !host.console.err.empty() || has(host.console.out, "\"error\"")) << shown(line);
		succeeded += exit == 0;
		const bool wrote = host.flash.part("usrdata").content != before || host.flash.part("config").content != config;
		const auto said = [&line](const char *word) { return std::ranges::find(line, word) != line.end(); };
		ASSERT_TRUE(!wrote || (exit == 0 && (said("write") || said("restore")) && !said("--dry-run"))) << shown(line);
		const std::ptrdiff_t made = files_in(".") - files;
		ASSERT_TRUE(made == 0 || (made == 1 && exit == 0 && said("backup"))) << shown(line);
		files += made;
		backups += made;
		restores += wrote && said("restore");
		if (wrote) {
			host.flash.part("usrdata").content = before;
			host.flash.part("config").content = config;
		}
	}
	EXPECT_GT(succeeded, 100u) << "some lines have to mean something";
	EXPECT_GT(backups, 0);
	EXPECT_GT(restores, 0);
}

} // namespace
