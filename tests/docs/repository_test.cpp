// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What documents say of the repository itself: its folders, the parts of the module and which uses which.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "scratch.hpp"

using flashctl_tests::scratch;

namespace {

namespace files = std::filesystem;
using names = std::vector<std::string>;

const files::path repository = REPOSITORY_DIR;

std::string content_of(const files::path &file)
{
	return scratch::content_of((repository / file).string());
}

// What stands in a folder, by name; hidden things and what is built apart.
names entries_of(const files::path &folder, bool folders)
{
	names found;
	for (const auto &entry : files::directory_iterator(repository / folder)) {
		const std::string name = entry.path().filename();
		if (entry.is_directory() == folders && !name.starts_with(".") && name != "build")
			found.push_back(name);
	}
	std::ranges::sort(found);
	return found;
}

names files_with(const files::path &folder, const std::set<std::string> &extensions)
{
	names found = entries_of(folder, false);
	std::erase_if(found, [&](const std::string &name) { return !extensions.contains(files::path(name).extension()); });
	return found;
}

// Every name stands in the text between these.
void expect_named(const std::string &text, const names &wanted, const std::string &before, const std::string &after)
{
	for (const std::string &name : wanted)
		EXPECT_NE(text.find(before + name + after), text.npos) << before << name << after;
}

names words_of(const std::string &text)
{
	static const std::regex word(R"(\w+)");
	return {std::sregex_token_iterator(text.begin(), text.end(), word), std::sregex_token_iterator()};
}

// The parts of the module in the order of the README's picture: those between two arrows use only what is behind the second one.
std::vector<names> floors_of_picture()
{
	static const std::regex picture(R"(│ +(\w+((, | ─► )\w+)+) +│)"), arrow(" ─► ");
	const std::string readme = content_of("README.md");
	std::vector<names> floors;
	std::smatch line;
	if (!std::regex_search(readme, line, picture))
		return floors;
	const std::string parts = line[1];
	for (std::sregex_token_iterator floor(parts.begin(), parts.end(), arrow, -1), end; floor != end; ++floor)
		floors.push_back(words_of(*floor));
	return floors;
}

// The folders of the module from which a folder includes something, itself left out.
std::set<std::string> folders_used_by(const std::string &folder)
{
	static const std::regex include(R"re(#include "(\w+)/)re");
	std::set<std::string> used;
	for (const std::string &file : files_with("flash_mng_kernel/" + folder, {".cpp", ".hpp", ".c", ".h"})) {
		const std::string source = content_of("flash_mng_kernel/" + folder + "/" + file);
		for (std::sregex_iterator one(source.begin(), source.end(), include), end; one != end; ++one)
			used.insert((*one)[1]);
	}
	used.erase(folder);
	return used;
}

TEST(readme, names_every_folder_of_the_repository)
{
	expect_named(content_of("README.md"), entries_of(".", true), "`", "/");
}

TEST(readme, names_every_folder_of_the_tests)
{
	expect_named(content_of("README.md"), entries_of("tests", true), "`tests/", "/`");
}

TEST(readme, names_no_folder_that_is_not_there)
{
	static const std::regex folder(R"(\n\| ([^|]*/`[^|]*)\|)"), name(R"(`([\w/]+)/`)");
	const std::string readme = content_of("README.md");
	std::size_t found = 0;
	for (std::sregex_iterator row(readme.begin(), readme.end(), folder), end; row != end; ++row) {
		const std::string cell = (*row)[1];
		for (std::sregex_iterator one(cell.begin(), cell.end(), name); one != end; ++one, ++found)
			EXPECT_TRUE(files::is_directory(repository / (*one)[1].str())) << (*one)[1];
	}
	EXPECT_GE(found, 15u);
}

TEST(readme, has_a_picture_of_all_parts_of_the_module)
{
	names parts, folders = entries_of("flash_mng_kernel", true);
	for (const names &floor : floors_of_picture())
		parts.insert(parts.end(), floor.begin(), floor.end());
	std::erase_if(folders, [](const std::string &name) { return name == "include" || name == "kernel" || name == "platform"; });
	std::ranges::sort(parts);
	EXPECT_EQ(parts, folders);
}

TEST(readme, has_a_picture_that_says_which_part_uses_which)
{
	const std::vector<names> floors = floors_of_picture();
	std::set<std::string> behind = {"kernel", "platform", "uapi"};
	for (auto floor = floors.rbegin(); floor != floors.rend(); ++floor) {
		std::set<std::string> used_by_floor;
		for (const std::string &part : *floor)
			for (const std::string &used : folders_used_by(part)) {
				EXPECT_TRUE(behind.contains(used)) << part << " uses " << used;
				used_by_floor.insert(used);
			}
		if (floor != floors.rbegin()) {
			for (const std::string &next : *std::prev(floor))
				EXPECT_TRUE(used_by_floor.contains(next)) << "nothing uses " << next << " as the arrow to it says";
		}
		behind.insert(floor->begin(), floor->end());
	}
}

// What Linux and the platform offer knows nothing of who asks for it.
TEST(readme, has_a_picture_whose_ground_uses_no_part)
{
	EXPECT_EQ(folders_used_by("kernel"), std::set<std::string>{"uapi"});
	EXPECT_EQ(folders_used_by("platform"), std::set<std::string>{});
	EXPECT_EQ(folders_used_by("include"), std::set<std::string>{"uapi"});
}

TEST(readme, says_where_headers_of_linux_are_included)
{
	for (const std::string &folder : entries_of("flash_mng_kernel", true))
		for (const auto &entry : files::recursive_directory_iterator(repository / "flash_mng_kernel" / folder)) {
			const std::string source = entry.is_regular_file() ? scratch::content_of(entry.path().string()) : "";
			static const std::regex include(R"(#include <linux/([\w/]+)\.h>)");
			for (std::sregex_iterator one(source.begin(), source.end(), include), end; one != end; ++one)
				EXPECT_TRUE(folder == "kernel" || (folder == "include" && (*one)[1] == "types"))
					<< entry.path() << ": " << one->str();
		}
}

// A folder's own page: every folder in it, and every file where the page is about files.
struct page {
	const char *folder;
	bool files;
};

void PrintTo(const page &one, std::ostream *out)
{
	*out << one.folder;
}

class readme_of : public testing::TestWithParam<page> {};

TEST_P(readme_of, a_folder_names_all_that_is_in_it)
{
	const files::path folder = GetParam().folder;
	const std::string readme = content_of(folder / "README.md");
	expect_named(readme, entries_of(folder, true), "`", "/`");
	if (GetParam().files) {
		names wanted = entries_of(folder, false);
		std::erase(wanted, "README.md");
		expect_named(readme, wanted, "`", "`");
	}
}

INSTANTIATE_TEST_SUITE_P(each, readme_of,
			 testing::Values(page{"scripts", true}, page{"tests", true}, page{"bench", true}, page{"tools", true}),
			 [](const auto &row) { return std::string(row.param.folder); });

// Paths of documents that are none of this repository.
const std::set<std::string> foreign_paths = {
	"board/bench/small.fbd",	   // below /lib/firmware of a board
	"bench/small",			   // such a board's name
	"flash_mng_kernel/Module.symvers", // made by a build
	"tools/memory-model",		   // of Linux
};

TEST(documents, name_no_path_that_is_not_there)
{
	static const std::regex path("`([\\w.-]+(?:/[\\w.-]+)+)/?`");
	std::size_t found = 0;
	for (files::recursive_directory_iterator entry(repository), end; entry != end; ++entry) {
		const std::string name = entry->path().filename();
		if (entry->is_directory() && (name == "build" || name.starts_with(".")))
			entry.disable_recursion_pending();
		if (entry->path().extension() != ".md")
			continue;
		const std::string text = scratch::content_of(entry->path().string());
		for (std::sregex_iterator one(text.begin(), text.end(), path), last; one != last; ++one) {
			const files::path named = (*one)[1].str();
			const bool ours = *named.begin() != "build" && files::exists(repository / *named.begin());
			if (!ours || foreign_paths.contains(named))
				continue;
			++found;
			EXPECT_TRUE(files::exists(repository / named)) << entry->path() << " names " << named;
		}
	}
	EXPECT_GE(found, 60u);
}

TEST(readme_of_the_board, names_every_task_and_every_configuration)
{
	const std::string readme = content_of("board/README.md");
	expect_named(readme, entries_of("board/initramfs/tasks", false), "`", "`");
	expect_named(readme, entries_of("board/kernel", false), "`kernel/", "`");
}

TEST(readme_of_the_guest_tests, names_every_source)
{
	const std::string readme = content_of("tests/guest/README.md");
	expect_named(readme, files_with("tests/guest", {".cpp", ".c"}), "`", "`");
	expect_named(readme, files_with("tests/guest/lab", {".c"}), "`", "`");
}

TEST(readme_of_the_guest_tests, names_no_source_that_is_not_there)
{
	static const std::regex source(R"(`(\w+\.(cpp|c|S))`)");
	const std::string readme = content_of("tests/guest/README.md");
	for (std::sregex_iterator one(readme.begin(), readme.end(), source), end; one != end; ++one) {
		const std::string name = (*one)[1];
		const files::path folder = repository / "tests/guest";
		EXPECT_TRUE(files::exists(folder / name) || files::exists(folder / "lab" / name) ||
			    files::exists(folder / "lab/arm64" / name))
			<< name;
	}
}

} // namespace
