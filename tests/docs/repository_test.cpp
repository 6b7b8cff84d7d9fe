// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What documents say of the repository itself: its folders, the parts of the module and which uses which.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
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

// The parts of the module in the order of the README's picture: each uses parts behind it only.
names parts_of_picture()
{
	static const std::regex arrow(R"(│ +((\w+)( ─► \w+)+) +│)");
	const std::string readme = content_of("README.md");
	std::smatch line;
	names parts;
	if (!std::regex_search(readme, line, arrow))
		return parts;
	std::string rest = line[1];
	static const std::regex word(R"(\w+)");
	for (std::sregex_iterator one(rest.begin(), rest.end(), word), end; one != end; ++one)
		parts.push_back(one->str());
	return parts;
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
	names parts = parts_of_picture(), folders = entries_of("flash_mng_kernel", true);
	std::erase_if(folders, [](const std::string &name) { return name == "include" || name == "kernel" || name == "platform"; });
	std::ranges::sort(parts);
	EXPECT_EQ(parts, folders);
}

TEST(readme, has_a_picture_that_says_which_part_uses_which)
{
	const names parts = parts_of_picture();
	static const std::regex include(R"re(#include "(\w+)/)re");
	std::size_t found = 0;
	for (auto part = parts.begin(); part != parts.end(); ++part)
		for (const std::string &file : files_with("flash_mng_kernel/" + *part, {".cpp", ".hpp"})) {
			const std::string source = content_of("flash_mng_kernel/" + *part + "/" + file);
			for (std::sregex_iterator one(source.begin(), source.end(), include), end; one != end; ++one) {
				const auto used = std::ranges::find(parts, (*one)[1].str());
				EXPECT_TRUE(used >= part) << *part << "/" << file << " uses " << (*one)[1];
				found += used != parts.end() && used != part;
			}
		}
	EXPECT_GE(found, 5u);
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
