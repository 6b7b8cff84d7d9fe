// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "screen.hpp"

#include <cstdio>
#include <vector>

namespace tour {

namespace {

std::vector<std::string> g_surprises;

} // namespace

void chapter(const char *title)
{
	static int number = 0;
	std::printf("\n%d. %s\n\n", ++number, title);
}

void expect(bool holds, const std::string &what)
{
	std::printf("   %s %s\n", holds ? "[ok]  " : "[FAIL]", what.c_str());
	if (!holds)
		g_surprises.push_back(what);
}

int verdict()
{
	if (g_surprises.empty()) {
		std::puts("\nAll was as expected.");
		return 0;
	}
	std::printf("\n%zu of the checks did not hold; the first: %s\n", g_surprises.size(), g_surprises.front().c_str());
	return 1;
}

std::string hex(uint32_t value)
{
	char text[16];
	std::snprintf(text, sizeof(text), value > 9999 ? "0x%08X" : "%u", value);
	return text;
}

std::string human(uint64_t size)
{
	const bool whole_mib = size >= 0x100000 && size % 0x100000 == 0;
	return std::to_string(whole_mib ? size >> 20 : size >> 10) + (whole_mib ? " MiB" : " KiB");
}

} // namespace tour
