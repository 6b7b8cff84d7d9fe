// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "fixtures.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <ostream>
#include <stdexcept>

namespace fixtures {
namespace {

std::vector<fixture> all_of(const char *folder, bool is_good)
{
	std::vector<fixture> found;

	for (const auto &file : std::filesystem::directory_iterator(std::filesystem::path(FIXTURES_DIR) / folder))
		if (file.path().extension() == ".xml")
			found.push_back({file.path().stem(), is_good});
	std::sort(found.begin(), found.end(), [](const fixture &a, const fixture &b) { return a.name < b.name; });
	return found;
}

} // namespace

std::string read(const std::filesystem::path &path)
{
	std::ifstream file(path, std::ios::binary);

	if (!file)
		throw std::runtime_error(path.string() + " cannot be read");
	return {std::istreambuf_iterator<char>(file), {}};
}

std::string fixture::shown_path() const
{
	return (is_good ? "good/" : "bad/") + name + ".xml";
}

std::filesystem::path fixture::xml() const
{
	return std::filesystem::path(FIXTURES_DIR) / shown_path();
}

std::filesystem::path fixture::expected() const
{
	return xml().replace_extension(".txt");
}

// The rule whose id the name begins with, the longest one.
const flash_board::rule &fixture::broken() const
{
	const flash_board::rule *longest = nullptr;

	for (const auto &one : flash_board::all_rules())
		if ((name + "-").starts_with(std::string(one.id) + "-") && (!longest || one.id.size() > longest->id.size()))
			longest = &one;
	if (!longest)
		throw std::runtime_error(name + " is no rule's name");
	return *longest;
}

flash_board::mtd_layout fixture::layout() const
{
	const auto own = xml().replace_extension(".mtd");

	return std::filesystem::exists(own) ? flash_board::read_layout(read(own)) : common_layout();
}

flash_board::findings fixture::found() const
{
	const auto text = read(xml());
	const auto partitions = layout();

	return flash_board::check(flash_board::source(text, shown_path()), &partitions);
}

void PrintTo(const fixture &one, std::ostream *to)
{
	*to << one.shown_path();
}

std::vector<fixture> good()
{
	return all_of("good", true);
}

std::vector<fixture> bad()
{
	return all_of("bad", false);
}

flash_board::mtd_layout common_layout()
{
	return flash_board::read_proc_mtd(read(std::filesystem::path(FIXTURES_DIR) / "partitions.mtd"));
}

} // namespace fixtures
