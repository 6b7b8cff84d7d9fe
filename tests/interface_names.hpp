// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the module offers, by the names in its own sources: for lists that have to reach all of it.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

namespace interface_names {

inline std::string content_of(const std::filesystem::path &file)
{
	std::ifstream stream(file);
	return {std::istreambuf_iterator<char>(stream), {}};
}

// The first group of each match in a file.
inline std::set<std::string> found_in(const std::filesystem::path &file, const char *pattern)
{
	const std::string text = content_of(file);
	const std::regex expression(pattern);
	std::set<std::string> found;
	for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match)
		found.insert((*match)[1]);
	return found;
}

// Commands of the header for programs: their numbers have the type 'T' and the size 4.
inline std::set<std::string> commands(const std::filesystem::path &project)
{
	return found_in(project / "flash_mng_kernel/include/uapi/flash_mng.h", "#define (FLASH_MNG_\\w+) 0x[048C]00454[0-9A-F]{2}u");
}

// What other modules may call.
inline std::set<std::string> exports(const std::filesystem::path &project)
{
	return found_in(project / "flash_mng_kernel/kernel/exports.c", "EXPORT_SYMBOL\\((\\w+)\\)");
}

} // namespace interface_names
