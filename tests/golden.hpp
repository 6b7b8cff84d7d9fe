// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What a program says, against the file that has it word for word. "./dev renew WHAT" sets FLASH_MNG_RENEW to the word: then the file is
// written, and the case counts as skipped.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>

inline bool is_renewed(std::string_view what)
{
	const char *const renewed = std::getenv("FLASH_MNG_RENEW");
	return renewed && renewed == what;
}

inline void write_golden(const std::string &text, const std::filesystem::path &file)
{
	std::ofstream(file, std::ios::binary) << text;
	GTEST_SKIP() << "written: " << file.string();
}

// The first line in which two texts differ, as both have it.
inline std::string first_difference(const std::string &now, const std::string &before)
{
	std::istringstream of_now(now), of_before(before);
	std::string line, other;
	bool more = true, others = true;
	for (unsigned number = 1; more || others; ++number) {
		more = static_cast<bool>(std::getline(of_now, line));
		others = static_cast<bool>(std::getline(of_before, other));
		if (more != others || line != other)
			return "line " + std::to_string(number) + "\n  now: " + (more ? line : "(none)") +
			       "\n  in the file: " + (others ? other : "(none)");
	}
	return "the ends of lines";
}

// Fails where the file has another text or is not there.
inline void expect_golden(const std::string &text, const std::filesystem::path &file, const std::string &what)
{
	if (is_renewed(what)) {
		write_golden(text, file);
		return;
	}
	std::ifstream stream(file, std::ios::binary);
	const std::string golden(std::istreambuf_iterator<char>(stream), {});
	EXPECT_TRUE(text == golden) << file.string() << ", " << first_difference(text, golden)
				    << "\nwhen what it is now is meant: ./dev renew " << what;
}
