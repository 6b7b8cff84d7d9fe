// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The documents: each example is run, compiled or checked, or says why not, and each link leads to a file.
//
// The examples of a document run one after the other in one folder. It has board.xml, the demo board; config.img, some bytes; "ssh board"
// for what a board's /proc/mtd would show; and updates, packages/updates. flashctl works on the module that its own tests have; where
// flash-slot is the subject, the board has slots for it.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <regex>
#include <set>

#include "document.hpp"
#include "golden.hpp"
#include "scratch.hpp"

using documents::block;
using flashctl_tests::scratch;

namespace {

namespace files = std::filesystem;

const std::string repository = REPOSITORY_DIR;

// The documents of the repository, by their paths in it.
std::vector<std::string> all_documents()
{
	std::vector<std::string> found;
	for (files::recursive_directory_iterator entry(repository), end; entry != end; ++entry) {
		const std::string name = entry->path().filename();
		if (entry->is_directory() && (name == "build" || name.starts_with(".")))
			entry.disable_recursion_pending();
		else if (entry->path().extension() == ".md")
			found.push_back(files::relative(entry->path(), repository));
	}
	std::ranges::sort(found);
	return found;
}

std::string content_of(const std::string &file)
{
	return scratch::content_of(repository + "/" + file);
}

bool is_one_of(const std::string &word, const std::set<std::string> &words)
{
	return words.contains(word);
}

bool is_shell(const block &one)
{
	return is_one_of(one.language, {"sh", "bash", "shell", "console"});
}

bool is_code(const block &one)
{
	return is_one_of(one.language, {"c", "c++", "cpp"});
}

bool has_reason(const block &one)
{
	return one.mark.starts_with("not run: ") && one.mark.size() > std::string("not run: ").size();
}

struct ended {
	int exit;
	std::string output;
};

// The folder in which the examples of a document run.
class host {
public:
	explicit host(bool has_slots = false) : folder_of_slots_(has_slots ? "tools/slots" : "")
	{
		if (has_slots)
			for (const std::string part : {"slot_a", "slot_b", "boot_choice"})
				folder_.write(folder_of_slots_ + "/" + part, std::string(0x6000, '\xff'));
		files::create_directory_symlink(repository + "/packages/updates", folder_.path("updates"));
		folder_.write("board.xml", content_of("board/xml/plain.xml"));
		folder_.write("config.img", std::string(100, 'c'));
		folder_.write("tools/ssh", "#!/bin/sh\ncat " + repository + "/tests/flash_board/partitions.mtd\n");
		files::permissions(folder_.path("tools/ssh"), files::perms::owner_all);
	}

	// A shell that stops at the first command that fails; both of its streams.
	ended shell(const std::string &commands) const
	{
		folder_.write("tools/commands", commands);
		const std::string line = "cd " + folder_.path() + " && PATH=" + folder_.path("tools") +
					 ":" FLASH_BOARD_DIR ":" FLASHCTL_DIR + ":" + repository +
					 "/packages/updates:$PATH FLASHCTL_FAKE_FILE=" + folder_.path("tools/flash") + with_slots() +
					 " sh -e tools/commands 2>&1";
		std::FILE *const pipe = popen(line.c_str(), "r");
		ended program = {0, ""};
		for (int letter; (letter = std::fgetc(pipe)) != EOF;)
			program.output += static_cast<char>(letter);
		const int status = pclose(pipe);
		program.exit = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
		return program;
	}

	void save(const std::string &name, const std::string &text) const { folder_.write(name, text); }

private:
	std::string with_slots() const { return folder_of_slots_.empty() ? "" : " FLASHCTL_FAKE_FOLDER=" + folder_.path(folder_of_slots_); }

	scratch folder_;
	std::string folder_of_slots_;
};

void expect_runs(const host &place, const std::string &commands)
{
	const ended program = place.shell(commands);
	EXPECT_EQ(program.exit, 0) << commands << program.output;
}

// A source file by itself, against the headers that are installed.
void expect_compiles(const host &place, const block &one)
{
	const bool is_c = one.language == "c";
	place.save(is_c ? "example.c" : "example.cpp", one.text);
	expect_runs(place, (is_c ? C_COMPILER " -std=c11 -c example.c" : CXX_COMPILER " -std=c++20 -c example.cpp") +
				   (" -o example.o -Wall -Wextra -Werror -I" + repository + "/client/include -I" + repository +
				    "/flash_mng_kernel/include\n"));
}

// A board description, or instances of one.
void expect_is_board(const host &place, std::string text)
{
	if (text.find("<board") == text.npos)
		text = "<board name=\"example\">\n" + text + "</board>\n";
	place.save("example.xml", text);
	expect_runs(place, "flash-board check example.xml\n");
}

class document : public testing::TestWithParam<std::string> {
protected:
	std::vector<block> blocks() const { return documents::blocks_of(content_of(GetParam())); }

	std::string place_of(const block &one) const { return GetParam() + ":" + std::to_string(one.line); }
};

TEST_P(document, says_of_each_example_whether_it_is_run)
{
	std::string previous;
	for (const block &one : blocks()) {
		SCOPED_TRACE(place_of(one));
		EXPECT_NE(one.language, "indented") << "examples stand in fenced blocks: " << one.text;
		EXPECT_NE(one.language, "") << "a block has a language; text is one";
		if (is_shell(one))
			EXPECT_TRUE(one.mark == "run" || one.mark == "run on the board" || has_reason(one))
				<< "say in the line above it: run, run on the board, or not run: REASON";
		else if (one.mark == "output")
			EXPECT_TRUE(previous == "run" || previous == "run on the board") << "of what?";
		else
			EXPECT_TRUE(one.mark.empty() || one.mark.starts_with("file: ") || has_reason(one)) << one.mark;
		previous = one.mark;
	}
}

TEST_P(document, has_examples_that_work)
{
	const host place(content_of(GetParam()).find("flash-slot") != std::string::npos);
	ended last = {0, ""};
	std::string previous;
	std::map<int, std::string> printed;
	for (const block &one : blocks()) {
		SCOPED_TRACE(place_of(one));
		if (one.mark == "run") {
			last = place.shell(one.text);
			EXPECT_EQ(last.exit, 0) << one.text << last.output;
		}
		if (one.mark == "output" && previous == "run")
			printed[one.line] = last.output;
		if (is_code(one) && !has_reason(one))
			expect_compiles(place, one);
		if (one.language == "xml" && !has_reason(one))
			expect_is_board(place, one.text);
		if (one.mark.starts_with("file: "))
			place.save(one.mark.substr(std::string("file: ").size()), one.text);
		previous = one.mark;
	}
	expect_golden(documents::with_texts(content_of(GetParam()), printed), repository + "/" + GetParam(), "documents");
}

// Links and pictures that are no address of the network, without the part behind #.
TEST_P(document, has_links_that_lead_to_files)
{
	static const std::regex link("\\]\\(([^)#: ]+)(#[^)]*)?\\)");
	const std::string text = content_of(GetParam());
	const files::path folder = files::path(repository + "/" + GetParam()).parent_path();
	for (std::sregex_iterator found(text.begin(), text.end(), link), end; found != end; ++found)
		EXPECT_TRUE(files::exists(folder / (*found)[1].str())) << GetParam() << ": " << (*found)[1];
}

INSTANTIATE_TEST_SUITE_P(each, document, testing::ValuesIn(all_documents()), [](const auto &row) {
	std::string name = row.param;
	std::ranges::replace_if(
		name, [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
	return name;
});

TEST(documents_of_the_repository, are_found_and_have_examples)
{
	std::size_t run = 0, boards = 0, sources = 0;
	for (const std::string &name : all_documents())
		for (const block &one : documents::blocks_of(content_of(name))) {
			run += one.mark == "run";
			boards += one.language == "xml";
			sources += is_code(one);
		}
	EXPECT_GE(all_documents().size(), 11u);
	EXPECT_GE(run, 3u);
	EXPECT_GE(boards, 2u);
	EXPECT_GE(sources, 1u);
}

TEST(manual_page, of_flash_board_has_examples_that_work)
{
	const std::string examples = documents::display_of_manual(content_of("docs/man/flash-board.1"), 1);
	EXPECT_NE(examples.find("flash-board map board.xml --mtd board.mtd -o board.svg\n"), examples.npos) << examples;
	expect_runs(host(), examples);
}

TEST(manual_page, of_the_board_has_an_example_without_findings)
{
	const std::string example = documents::display_of_manual(content_of("docs/man/flash_mng-board.5"), 0);
	EXPECT_TRUE(example.starts_with("<board ")) << example;
	expect_is_board(host(), example);
}

// The host itself.
TEST(host, tells_what_does_not_work)
{
	const host place;
	EXPECT_EQ(place.shell("true\nfalse\ntrue\n").exit, 1);
	EXPECT_EQ(place.shell("flash-board check none.xml\n").exit, 3);
	EXPECT_EQ(place.shell("flashctl info none\n").exit, 3);
	EXPECT_EQ(place.shell("echo one; echo two >&2\n").output, "one\ntwo\n");
}

} // namespace
