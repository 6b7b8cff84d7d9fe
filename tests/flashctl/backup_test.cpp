// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// backup and restore: what a folder holds, what is refused before anything is written, and what is told when it ends halfway.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "backup_folder.hpp"
#include "scratch.hpp"
#include "simulated_console.hpp"

using namespace flashctl_tests;
using flashctl::danger;
using nlohmann::json;

namespace {

bool has(const std::string &text, const std::string &part)
{
	return text.find(part) != std::string::npos;
}

// A board with two partitions for programs, whose usable bytes are known, and a backup of it.
struct backups : testing::Test, host {
	backups()
	{
		flash.part("config").device.usable = 0x2000;
		flash.part("usrdata").device.usable = 0x6000;
		config = content("config");
		usrdata = content("usrdata");
	}

	bytes &content(const std::string &name) { return flash.part(name).content; }
	int back_up() { return flashctl("backup", folder.path("b")); }

	template <typename... argument_types> int restore(const argument_types &...arguments)
	{
		flash.calls.clear();
		return flashctl("restore", folder.path("b"), arguments...);
	}

	// Both partitions get other content in the bytes that a backup holds.
	void damage()
	{
		content("config")[5] ^= std::byte{1};
		content("usrdata")[0x5fff] ^= std::byte{1};
		damaged_config = content("config");
		damaged_usrdata = content("usrdata");
	}

	bool is_as_damaged() { return content("config") == damaged_config && content("usrdata") == damaged_usrdata; }
	bool is_restored() { return content("config") == config && content("usrdata") == usrdata; }
	std::ptrdiff_t writes() { return std::ranges::count(flash.calls, "write"); }

	void expect_refused(int exit, const std::string &words)
	{
		for (const char *const how : {"--yes", "--dry-run"}) {
			EXPECT_EQ(restore(how), exit) << how << console.err;
			EXPECT_TRUE(has(console.err, words)) << how << console.err;
			EXPECT_TRUE(has(console.err, "nothing was written")) << how << console.err;
			EXPECT_EQ(writes(), 0) << how;
		}
	}

	scratch folder;
	bytes config, usrdata, damaged_config, damaged_usrdata;
};

TEST_F(backups, hold_the_usable_bytes_of_every_partition_for_programs)
{
	ASSERT_EQ(back_up(), 0) << console.err;
	EXPECT_EQ(data_of(folder.content("b/mtd1-config.img")), bytes(config.begin(), config.begin() + 0x2000));
	EXPECT_EQ(data_of(folder.content("b/mtd2-usrdata.img")), bytes(usrdata.begin(), usrdata.begin() + 0x6000));
	EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path("b")), {}), 4) << "two images, manifest and sums";
	EXPECT_TRUE(has(console.out, "2 partitions, 32 KiB, read twice and equal")) << console.out;
	const json manifest = json::parse(folder.content("b/manifest.json"));
	EXPECT_EQ(manifest["images"][1]["partition"], "usrdata");
	EXPECT_EQ(manifest["images"][1]["size"], 0x6000);
	EXPECT_EQ(manifest["images"][1]["sha256"], flashctl::sha256({usrdata.data(), 0x6000}));
}

TEST_F(backups, are_accepted_by_sha256sum)
{
	ASSERT_EQ(back_up(), 0) << console.err;
	const std::string check = "cd " + folder.path("b") + " && sha256sum --strict -c SHA256SUMS >/dev/null 2>&1";
	EXPECT_EQ(std::system(check.c_str()), 0);
	folder.write("b/mtd1-config.img", "other");
	EXPECT_NE(std::system(check.c_str()), 0);
}

TEST_F(backups, of_unknown_usable_bytes_hold_all_that_can_be_read)
{
	flash.part("usrdata").device.usable.reset();
	flash.part("usrdata").bad = 1;
	ASSERT_EQ(back_up(), 0) << console.err;
	EXPECT_EQ(folder.content("b/mtd2-usrdata.img").size(), 0x7000u);
	EXPECT_TRUE(has(console.out, "nobody tells how much of it can be written")) << console.out;
}

TEST_F(backups, can_be_of_some_partitions)
{
	EXPECT_EQ(flashctl("backup", folder.path("b"), "--partition", "config", "--partition", "config"), 0) << console.err;
	EXPECT_FALSE(std::filesystem::exists(folder.path("b/mtd2-usrdata.img")));
	EXPECT_EQ(flashctl("backup", folder.path("c"), "--partition", "confg"), 3);
	EXPECT_TRUE(has(console.err, "did you mean \"config\"?")) << console.err;
	EXPECT_EQ(flashctl("backup", folder.path("c"), "--partition", "boot"), 9);
	EXPECT_FALSE(std::filesystem::exists(folder.path("c")));
}

TEST_F(backups, never_replace_anything)
{
	folder.write("b/mine", "mine");
	EXPECT_EQ(back_up(), 1);
	EXPECT_TRUE(has(console.err, "is not empty")) << console.err;
	EXPECT_EQ(folder.content("b/mine"), "mine");
	EXPECT_EQ(flashctl("backup", folder.path("b/mine")), 1);
	EXPECT_EQ(flashctl("backup", folder.path("no/such")), 1);
}

TEST_F(backups, that_fail_leave_nothing_behind)
{
	int reads = 0;
	flash.after_read = [&reads](std::span<std::byte> data) { data[0] ^= std::byte(++reads == 3); };
	EXPECT_EQ(back_up(), 7);
	EXPECT_TRUE(has(console.err, "\"usrdata\" was read twice and 1 bytes differ; no backup was made")) << console.err;
	EXPECT_FALSE(std::filesystem::exists(folder.path("b")));
	flash.after_read = nullptr;
	flash.reads_leave_buffer = true;
	EXPECT_EQ(back_up(), 7) << "a read that gives nothing";
}

TEST_F(backups, that_are_interrupted_leave_nothing_behind)
{
	flash.after_read = [this](std::span<std::byte>) { console.pending = "SIGINT"; };
	EXPECT_EQ(back_up(), 12);
	EXPECT_TRUE(has(console.err, "SIGINT: no backup was made: 1 of 2 partitions had been copied")) << console.err;
	EXPECT_FALSE(std::filesystem::exists(folder.path("b")));
}

TEST(image_name, is_one_that_every_file_system_takes)
{
	const auto named = [](const std::string &name) { return flashctl::image_name({3, name, 4, 0, 0, 0, true}); };
	EXPECT_EQ(named("usr_data-1"), "mtd3-usr_data-1.img");
	EXPECT_EQ(named("../a b"), "mtd3-%2e%2e%2fa%20b.img");
	EXPECT_EQ(named("\n\xff"), "mtd3-%0a%ff.img");
	EXPECT_LE(named(std::string(1000, '/')).size(), 120u);
}

TEST_F(backups, with_hostile_names_come_back)
{
	for (const char *const name : {"../../x", "a\nb", "$(touch x)", " ", "\"\\"}) {
		flash.part("config").device.name = name;
		const bytes before = content(name);
		ASSERT_EQ(back_up(), 0) << console.err;
		content(name)[0] ^= std::byte{1};
		EXPECT_EQ(restore(), 0) << console.err;
		EXPECT_EQ(content(name), before);
		flash.part(name).device.name = "config";
		std::filesystem::remove_all(folder.path("b"));
	}
	flash.part("config").device.name = "\xff";
	EXPECT_EQ(back_up(), 9);
	EXPECT_FALSE(std::filesystem::exists(folder.path("b")));
}

TEST_F(backups, show_on_a_terminal_how_far_they_are)
{
	console.errors_terminal = true;
	console.tick = std::chrono::milliseconds(20);
	ASSERT_EQ(back_up(), 0);
	EXPECT_EQ(console.steps, (std::vector<std::string>{"0 % of 64 KiB: reading 8 KiB of config", "",
							   "12 % of 64 KiB, 400.0 KiB/s: verifying 8 KiB of config", "",
							   "25 % of 64 KiB, 400.0 KiB/s: reading 24 KiB of usrdata", "",
							   "62 % of 64 KiB, 666.7 KiB/s: verifying 24 KiB of usrdata", ""}));
}

TEST_F(backups, show_names_without_characters_that_steer_a_terminal)
{
	flash.part("config").device.name = "\x1b[2K\r";
	console.errors_terminal = true;
	ASSERT_EQ(back_up(), 0);
	EXPECT_EQ(console.steps.at(0), "0 % of 64 KiB: reading 8 KiB of \\x1b[2K\\x0d");
}

// ---- restore

struct restores : backups {
	restores()
	{
		EXPECT_EQ(back_up(), 0) << console.err;
		damage();
	}
};

TEST_F(restores, write_and_verify_what_changed)
{
	EXPECT_EQ(restore(), 0) << console.err;
	EXPECT_TRUE(is_restored());
	EXPECT_TRUE(has(console.out, "config: 8192 bytes written, verified\nusrdata: 24576 bytes written, verified\n")) << console.out;
	EXPECT_EQ(restore(), 0);
	EXPECT_TRUE(has(console.out, "config: unchanged")) << console.out;
	EXPECT_EQ(writes(), 0);
}

TEST_F(restores, of_one_leave_the_other_alone)
{
	EXPECT_EQ(restore("--partition", "usrdata"), 0) << console.err;
	EXPECT_EQ(content("usrdata"), usrdata);
	EXPECT_EQ(content("config"), damaged_config);
	EXPECT_EQ(restore("--partition", "boot"), 3);
	EXPECT_TRUE(has(console.err, "has no image of \"boot\"")) << console.err;
}

TEST_F(restores, that_are_dry_write_nothing)
{
	EXPECT_EQ(restore("--dry-run"), 0) << console.err;
	EXPECT_TRUE(has(console.out, "config: would be written; 1 bytes change")) << console.out;
	EXPECT_TRUE(is_as_damaged());
	EXPECT_EQ(writes(), 0);
}

TEST_F(restores, ask_once)
{
	console.errors_terminal = true;
	console.person = flashctl::console::answer::no;
	EXPECT_EQ(restore(), 10);
	EXPECT_TRUE(is_as_damaged());
	console.person = flashctl::console::answer::nobody;
	EXPECT_EQ(restore(), 10);
	console.person = flashctl::console::answer::yes;
	console.questions.clear();
	EXPECT_EQ(restore(), 0);
	ASSERT_EQ(console.questions.size(), 1u);
	EXPECT_TRUE(has(console.questions[0], "Write 2 of 2 partitions (32 KiB)")) << console.questions[0];
	damage();
	EXPECT_EQ(restore("--yes"), 0);
	EXPECT_EQ(console.questions.size(), 1u);
}

// A backup of somebody else may call itself what it likes.
TEST_F(restores, ask_without_characters_that_steer_a_terminal)
{
	json manifest = json::parse(folder.content("b/manifest.json"));
	manifest["time"] = "\x1b[2K\rGo on";
	const std::string text = manifest.dump();
	folder.write("b/manifest.json", text);
	folder.write("b/SHA256SUMS", folder.content("b/SHA256SUMS") + flashctl::sha256(data_of(text)) + "  manifest.json\n");
	console.errors_terminal = true;
	EXPECT_EQ(restore(), 0) << console.err;
	EXPECT_TRUE(has(console.questions.at(0), "\\x1b[2K\\x0dGo on")) << console.questions[0];
}

TEST_F(restores, refuse_a_changed_image)
{
	std::string image = folder.content("b/mtd2-usrdata.img");
	image[100] ^= 1;
	folder.write("b/mtd2-usrdata.img", image);
	expect_refused(1, "mtd2-usrdata.img has changed");
}

TEST_F(restores, refuse_a_folder_cut_short)
{
	folder.write("b/mtd2-usrdata.img", folder.content("b/mtd2-usrdata.img").substr(1));
	expect_refused(1, "has fewer than the 24576 bytes");
	folder.write("b/mtd2-usrdata.img", std::string(0x6001, ' '));
	expect_refused(1, "has more than the 24576 bytes");
	std::filesystem::remove(folder.path("b/mtd2-usrdata.img"));
	expect_refused(1, "is missing");
	std::filesystem::remove(folder.path("b/SHA256SUMS"));
	expect_refused(1, "is no complete backup: it has no SHA256SUMS");
	std::filesystem::remove_all(folder.path("b"));
	expect_refused(1, "is no complete backup");
}

TEST_F(restores, refuse_a_changed_manifest)
{
	folder.write("b/manifest.json", folder.content("b/manifest.json") + " ");
	expect_refused(1, "manifest.json has changed");
}

// Sums that agree with a manifest do not make it a right one.
TEST_F(restores, refuse_a_manifest_that_means_nothing)
{
	const std::string good = folder.content("b/manifest.json");
	const auto with = [&](const std::string &manifest) {
		folder.write("b/manifest.json", manifest);
		const bytes text = data_of(manifest);
		folder.write("b/SHA256SUMS", folder.content("b/SHA256SUMS") + flashctl::sha256(text) + "  manifest.json\n");
	};
	const auto changed = [&good](const char *path, const json &value) {
		json manifest = json::parse(good);
		manifest[json::json_pointer(path)] = value;
		return manifest.dump();
	};
	for (const std::string &manifest :
	     {std::string("{"), std::string("[]"), std::string("{}"), changed("/format", 2), changed("/images/0/size", -1),
	      changed("/images/0/size", 0), changed("/images/0/size", 4294967296), changed("/images/0/file", "../x"),
	      changed("/images/0/file", ""), changed("/images/0/partition", 1), changed("/images/0/partition", "usrdata"),
	      changed("/images/0/sha256", std::string(64, '0')), changed("/images", "no"), changed("/images", json::array()),
	      changed("/images/0/size", 8192.5), changed("/images/0/usable", -1), changed("/images/0/usable", 1e300),
	      changed("/images/0/usable", 4294967296), changed("/format", "1")}) {
		with(manifest);
		EXPECT_EQ(restore("--yes"), 1) << manifest;
		EXPECT_TRUE(is_as_damaged()) << manifest;
	}
	with(good);
	EXPECT_EQ(restore("--yes"), 0) << console.err;
}

TEST_F(restores, refuse_what_the_board_no_longer_has)
{
	flash.part("usrdata").device.name = "other";
	expect_refused(3, "there is no partition \"usrdata\"");
	flash.part("other").device.name = "usrdata";
	flash.part("usrdata").device.usable = 0x5fff;
	expect_refused(2, "beyond the usable bytes of \"usrdata\"");
	flash.part("usrdata").device.usable.reset();
	expect_refused(9, "nobody tells how many bytes of \"usrdata\" can be written");
	flash.part("usrdata").device.usable = 0x6000;
	flash.part("usrdata").device.listed = false;
	expect_refused(9, "\"usrdata\" cannot be read or written");
}

TEST_F(restores, refuse_what_a_write_refuses)
{
	flash.part("usrdata").device.writable = false;
	expect_refused(9, "read-only");
	flash.part("usrdata").device.writable = true;
	flash.lock_answer = status::from_errno(EWOULDBLOCK);
	expect_refused(8, "another flashctl is writing");
	flash.lock_answer = {};
	flash.users = {{danger::mounted, "is mounted on /data (jffs2)", "unmount it first"}};
	expect_refused(8, "\"config\" is mounted on /data (jffs2)");
	EXPECT_EQ(restore("--yes", "--force", "swap"), 8);
	EXPECT_TRUE(is_as_damaged());
	EXPECT_EQ(restore("--yes", "--force", "mounted"), 0) << console.err;
	EXPECT_TRUE(is_restored());
}

TEST_F(restores, say_of_each_partition_whether_it_was_refused)
{
	flash.part("usrdata").device.writable = false;
	EXPECT_EQ(restore("--dry-run"), 9);
	EXPECT_TRUE(has(console.out, "config: would be written; 1 bytes change\nusrdata: refused: \"usrdata\" is read-only"))
		<< console.out;
}

TEST_F(restores, that_fail_halfway_say_what_is_done)
{
	int writes_seen = 0;
	flash.after_write = [&](partition &) {
		if (++writes_seen == 1)
			flash.write_answer = status::from_code(0x70050006);
	};
	EXPECT_EQ(restore(), 6);
	EXPECT_TRUE(has(console.err, "its content is as before; restored and verified: config; not written: none")) << console.err;
	EXPECT_TRUE(has(console.out, "usrdata: failed: ")) << console.out;
	EXPECT_EQ(content("config"), config);
	EXPECT_EQ(content("usrdata"), damaged_usrdata);
}

TEST_F(restores, that_are_interrupted_say_what_is_done)
{
	flash.after_write = [this](partition &) { console.pending = "SIGTERM"; };
	EXPECT_EQ(restore(), 12);
	EXPECT_EQ(console.err, "flashctl: restore: SIGTERM; restored and verified: config; not written: usrdata\n");
	EXPECT_EQ(content("config"), config);
	EXPECT_EQ(content("usrdata"), damaged_usrdata);
}

TEST_F(restores, that_are_interrupted_before_write_nothing)
{
	console.pending = "SIGINT";
	EXPECT_EQ(restore(), 12);
	EXPECT_TRUE(is_as_damaged());
	EXPECT_TRUE(has(console.err, "nothing was written")) << console.err;
}

TEST_F(restores, do_not_believe_a_write)
{
	const bytes old = damaged_config;
	flash.after_write = [&old](partition &part) { part.content = old; };
	EXPECT_EQ(restore(), 7);
	EXPECT_TRUE(has(console.err, "\"config\" does not hold what was written; restored and verified: none; not written: usrdata"))
		<< console.err;
}

// An image that changes between the look at all of them and its write.
TEST_F(restores, look_at_an_image_again_before_it_is_written)
{
	flash.after_write = [this](partition &) { folder.write("b/mtd2-usrdata.img", std::string(0x6000, 'x')); };
	EXPECT_EQ(restore(), 1);
	EXPECT_EQ(content("usrdata"), damaged_usrdata);
}

} // namespace
