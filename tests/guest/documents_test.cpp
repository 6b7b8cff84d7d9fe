// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The examples of the manual and of the documents that run on the board.
#include <filesystem>

#include "document.hpp"
#include "lab_device.hpp"
#include "load_words.hpp"
#include "processes.hpp"

namespace {

using namespace conformance;
using documents::block;

constexpr const char *folder = "/tests/documents";
constexpr const char *board_selector = "/sys/kernel/debug/xml_parser/reload";

std::vector<std::string> documents_with_examples()
{
	std::vector<std::string> found;
	for (const auto &file : std::filesystem::directory_iterator(folder))
		if (file.path().extension() == ".md")
			found.push_back(file.path());
	return found;
}

// Runs in a folder of its own; stops at the first command that fails.
std::string shell(const std::string &commands)
{
	const auto ended = guest::run_program({"/bin/busybox", "sh", "-ec",
					       "rm -rf /tmp/examples; mkdir /tmp/examples; cd /tmp/examples\n"
					       "printf %100s | tr ' ' c >config.img\n"
					       "printf %20000s | tr ' ' u >update.img\n" +
						       commands});
	EXPECT_EQ(ended.exit, 0) << commands << ended.output;
	return ended.output;
}

class manual_examples : public on_loaded_module {
protected:
	void prepare() override
	{
		harness::configure("transfers");
		harness::add_mtd({.name = "usrdata", .size = 0x20000, .erase_size = 0x4000});
	}
};

TEST_F(manual_examples, of_flashctl_work)
{
	const std::string output = shell(documents::commands_of_manual(guest::read_file(std::string(folder) + "/flashctl.1")));
	EXPECT_NE(output.find("\nusrdata: 100 bytes at 0x1000 unchanged"), std::string::npos) << output;
}

// On the demo board, with the modules of ./dev shell.
class document_examples : public on_board {
protected:
	void SetUp() override
	{
		on_board::SetUp();
		for (const auto *name : {"boot", "usrdata"})
			harness::add_mtd({.name = name, .size = 0x100000, .erase_size = 0x20000});
		guest::write_file(board_selector, "cards");
		for (const auto *name : {"flash_mng", "spi_flash_driver", "demo_client"})
			ASSERT_EQ(guest::insert_module(guest::module_file(name)), 0) << name;
	}

	void TearDown() override
	{
		for (const auto *name : {"demo_client", "spi_flash_driver"})
			EXPECT_NE(guest::remove_module_patiently(name), EWOULDBLOCK) << name;
		on_board::TearDown();
		guest::write_file(board_selector, "plain");
	}
};

TEST_F(document_examples, that_need_the_board_work)
{
	std::size_t examples = 0;
	for (const std::string &document : documents_with_examples()) {
		std::string output;
		for (const block &one : documents::blocks_of(guest::read_file(document))) {
			SCOPED_TRACE(document + ":" + std::to_string(one.line));
			if (one.mark == "output" && !output.empty()) {
				EXPECT_EQ(output, one.text);
			}
			output.clear();
			if (one.mark != "run on the board")
				continue;
			++examples;
			output = shell(one.text);
		}
	}
	EXPECT_GE(examples, 1u);
}

} // namespace
