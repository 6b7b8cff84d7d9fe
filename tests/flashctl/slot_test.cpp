// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What packages/updates has for update stacks: flash-slot, and the scripts that RAUC and SWUpdate call, as processes, with flashctl on the
// stand-in. ./dev updates tries the stacks themselves.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>

#include "bytes.hpp"
#include "scratch.hpp"

using namespace flashctl_tests;

namespace {

struct ended {
	int exit;
	std::string output;
};

constexpr std::size_t block = 4096;

struct slots : testing::Test {
	slots()
	{
		folder.write("v1.img", image("v1", "one"));
		folder.write("v2.img", image("v2", "two, which is longer"));
		folder.write("flash/slot_a", folder.content("v1.img") + std::string(3 * block - 3, '\xff'));
		folder.write("flash/slot_b", std::string(4 * block, '\xff'));
		folder.write("flash/boot_choice", std::string(2 * block, '\xff'));
		folder.write("slots.conf", "slots='slot_a slot_b'\nchoice=boot_choice\nsecond_record=4KiB\nheader=0x1000\n");
		shell("cp -R " SOURCE_DIR
		      "/packages/updates . && grep -rl usr/share updates | xargs sed -i \"s,/usr/share/flash_mng,$PWD,\"");
	}

	static std::string sum(const std::string &text) { return flashctl::sha256(std::as_bytes(std::span(text))); }

	static std::string filled_block(const std::string &line) { return line + std::string(block - line.size(), '\xff'); }

	// As flash-slot makes them, which cases say.
	static std::string image(const std::string &version, const std::string &content)
	{
		const std::string words = version + " " + std::to_string(content.size()) + " " + sum(content);
		return filled_block("image " + words + " " + sum(words) + "\n") + content;
	}
	static std::string record(int number, const std::string &slot)
	{
		const std::string words = std::to_string(number) + " " + slot;
		return filled_block("boot " + words + " " + sum(words) + "\n");
	}

	// Lines for the shell, in the scratch folder; both of its streams.
	ended shell(const std::string &lines) const
	{
		folder.write("lines", lines + "\n");
		const std::string command = "cd " + folder.path() +
					    " && PATH=$PWD/updates:" PROGRAMS_DIR ":$PATH FLASHCTL_FAKE_FOLDER=$PWD/flash " +
					    "FLASH_SLOT_CONFIG=$PWD/slots.conf sh -e lines 2>&1";
		std::FILE *const pipe = popen(command.c_str(), "r");
		ended program = {0, ""};
		for (int letter; (letter = std::fgetc(pipe)) != EOF;)
			program.output += static_cast<char>(letter);
		const int status = pclose(pipe);
		program.exit = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
		return program;
	}

	void expect_says(const std::string &lines, const std::string &output) const
	{
		const ended program = shell(lines);
		EXPECT_EQ(program.exit, 0) << lines;
		EXPECT_EQ(program.output, output) << lines;
	}

	// Nothing of the flash changes.
	void expect_refused(const std::string &lines, int exit, const std::string &part) const
	{
		const std::string before = flash();
		const ended program = shell(lines);
		EXPECT_EQ(program.exit, exit) << lines << "\n" << program.output;
		EXPECT_NE(program.output.find(part), std::string::npos) << lines << "\n" << program.output;
		EXPECT_EQ(flash(), before) << lines;
	}

	std::string flash() const
	{
		return folder.content("flash/slot_a") + folder.content("flash/slot_b") + folder.content("flash/boot_choice");
	}

	// One byte of a file becomes another one.
	void spoil(const std::string &file, std::size_t at) const
	{
		std::string content = folder.content(file);
		content.at(at) = content.at(at) == '!' ? '?' : '!';
		folder.write(file, content);
	}

	scratch folder;
};

TEST_F(slots, of_a_new_board_are_the_first_and_the_other)
{
	expect_says("flash-slot choice; flash-slot other", "slot_a\nslot_b\n");
	expect_says("flash-slot check slot_a", "v1\n");
	expect_says("printf one >content; flash-slot image v1 content | cmp - v1.img", "");
}

TEST_F(slots, change_with_each_installation)
{
	expect_says("flash-slot install slot_b v2.img; flash-slot choice", "slot_b has version v2, whole\nslot_a\n");
	expect_says("flash-slot switch slot_b; flash-slot choice; flash-slot other",
		    "the loader starts slot_b, version v2\nslot_b\nslot_a\n");
	expect_says("flash-slot install slot_a v2.img; flash-slot switch slot_a; flash-slot choice",
		    "slot_a has version v2, whole\nthe loader starts slot_a, version v2\nslot_a\n");
	EXPECT_EQ(folder.content("flash/boot_choice"), record(2, "slot_a") + record(1, "slot_b"));
}

TEST_F(slots, that_are_the_choice_are_not_recorded_again)
{
	shell("flash-slot switch slot_a");
	EXPECT_EQ(folder.content("flash/boot_choice").substr(block), record(1, "slot_a"));
	expect_says("flash-slot switch slot_a", "the loader starts slot_a, version v1\n");
	EXPECT_EQ(folder.content("flash/boot_choice").substr(block), record(1, "slot_a"));
}

TEST_F(slots, have_the_older_record_where_the_newer_one_is_torn)
{
	folder.write("flash/boot_choice", record(8, "slot_a") + record(9, "slot_b"));
	expect_says("flash-slot choice", "slot_b\n");
	spoil("flash/boot_choice", block + 9);
	expect_says("flash-slot choice", "slot_a\n");
	folder.write("flash/boot_choice", record(10, "slot_b") + record(9, "slot_a"));
	expect_says("flash-slot choice", "slot_b\n");
}

TEST_F(slots, are_written_with_the_header_last)
{
	folder.write("updates/flashctl", "#!/bin/sh\necho \"$*\" >>calls\nexec " PROGRAMS_DIR "/flashctl \"$@\"\n");
	shell("chmod +x updates/flashctl; flash-slot install slot_b v2.img $(sha256sum <v2.img | cut -c 1-64)");
	EXPECT_NE(folder.content("calls").find("write slot_b v2.img --last 4096 --yes --sha256 "), std::string::npos)
		<< folder.content("calls");
}

TEST_F(slots, are_looked_at_after_a_write_that_was_reported_and_did_nothing)
{
	folder.write("updates/flashctl", "#!/bin/sh\ncase \"$*\" in *write*) exit 0 ;; esac\nexec " PROGRAMS_DIR "/flashctl \"$@\"\n");
	expect_refused("chmod +x updates/flashctl; flash-slot install slot_b v2.img", 7, "slot_b has no valid header");
}

TEST_F(slots, with_a_changed_image_or_header_are_not_whole)
{
	spoil("flash/slot_a", block);
	expect_refused("flash-slot check slot_a", 7, "flash-slot: the image in slot_a is not whole");
	spoil("flash/slot_a", 7);
	expect_refused("flash-slot check slot_a", 7, "flash-slot: slot_a has no valid header");
	expect_refused("flash-slot switch slot_b", 7, "flash-slot: slot_b has no valid header");
}

TEST_F(slots, refuse_what_cannot_be_installed)
{
	expect_refused("flash-slot install slot_a v2.img", 8, "slot_a is the slot that the loader starts");
	expect_refused("flash-slot install slot_c v2.img", 2, "'slot_c' is none of the slots: slot_a slot_b");
	expect_refused("flash-slot switch 'slot_a slot_b'", 2, "is none of the slots");
	expect_refused("flash-slot install slot_b none.img", 1, "none.img cannot be read");
	expect_refused("flash-slot install slot_b slots.conf", 7, "slots.conf is no image");
	expect_refused("flash-slot install slot_b v2.img " + std::string(64, '0'), 1,
		       "the image is not in slot_b; the loader starts slot_a");
	expect_refused("head -c 15000 /dev/zero >c; flash-slot image v3 c >v3.img; flash-slot install slot_b v3.img", 2,
		       "has more bytes than");
	expect_refused("flash-slot install slot_b v2.img ''", 2, "--sha256 is empty");
	expect_refused("cp v2.img v3.img; echo more >>v3.img; flash-slot install slot_b v3.img", 7, "the image in v3.img is not whole");
	expect_refused("head -c 4100 v2.img >v3.img; flash-slot install slot_b v3.img", 7, "the image in v3.img is not whole");
	expect_refused("head -c 4000 v2.img >v3.img; flash-slot install slot_b v3.img", 7, "the image in v3.img is not whole");
}

// Its sums are right, and what it says of its length is not.
TEST_F(slots, refuse_a_header_that_lies_about_the_length)
{
	for (const std::string length : {"2", "4", "0x3", "03", "99999999999999999999"}) {
		const std::string words = "v3 " + length + " " + sum("one");
		folder.write("v3.img", filled_block("image " + words + " " + sum(words) + "\n") + "one");
		expect_refused("flash-slot install slot_b v3.img", 7, "v3.img");
	}
}

TEST_F(slots, of_any_version_are_told)
{
	expect_says("printf two >c; flash-slot image -n c >v3.img; flash-slot install slot_b ./v3.img; flash-slot check slot_b",
		    "slot_b has version -n, whole\n-n\n");
}

TEST_F(slots, refuse_wrong_words_and_configurations)
{
	expect_refused("flash-slot", 2, "usage: flash-slot COMMAND");
	expect_refused("flash-slot install slot_b", 2, "'install' with 1 arguments is no command");
	expect_refused("flash-slot choice now", 2, "'choice' with 1 arguments");
	expect_refused("flash-slot image 'v 3' v1.img", 2, "a version has letters");
	expect_refused("flash-slot image v3 none", 1, "none is no file");
	expect_refused("FLASH_SLOT_CONFIG=none flash-slot choice", 1, "none cannot be read");
	expect_refused("echo slots=slot_a >part.conf; FLASH_SLOT_CONFIG=part.conf flash-slot choice", 1, "has to say slots, choice");
	expect_refused("sed -i s/boot_choice/nowhere/ slots.conf; flash-slot install slot_b v2.img", 6,
		       "which slot the loader starts cannot be read");
	expect_says("flash-slot help | head -n 1", "usage: flash-slot COMMAND\n");
}

TEST_F(slots, are_told_to_rauc)
{
	expect_says("updates/rauc/boot-choice get-primary", "slot_a\n");
	expect_says("for slot in slot_a slot_b; do updates/rauc/boot-choice get-state $slot; done", "good\nbad\n");
	expect_says("updates/rauc/boot-choice set-state slot_b bad; updates/rauc/boot-choice set-state slot_a good", "");
	expect_says("RAUC_SLOT_BOOTNAME=slot_b RAUC_IMAGE_NAME=v2.img RAUC_IMAGE_DIGEST=$(sha256sum <v2.img | cut -c 1-64) "
		    "updates/rauc/install-slot slot-install",
		    "slot_b has version v2, whole\n");
	expect_says("updates/rauc/boot-choice set-primary slot_b", "the loader starts slot_b, version v2\n");
	expect_says("updates/rauc/boot-choice set-state slot_b bad; updates/rauc/boot-choice get-primary",
		    "the loader starts slot_a, version v1\nslot_a\n");
	expect_refused("updates/rauc/install-slot slot-post-install", 2, "unknown command");
	expect_refused("updates/rauc/boot-choice", 2, "unknown command");
}

TEST_F(slots, are_switched_by_the_script_of_swupdate)
{
	expect_says("flash-slot install slot_b v2.img >/dev/null; updates/swupdate/switch-slot preinst slot_b; flash-slot choice",
		    "slot_a\n");
	expect_says("updates/swupdate/switch-slot postinst slot_b", "the loader starts slot_b, version v2\n");
	expect_refused("updates/swupdate/switch-slot", 2, "unknown command");
}

} // namespace
