// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// bench full|gate|trace PART...: counts the rows of these parts, on a board with one core and a clock that counts instructions.
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <iterator>

#include "record.hpp"

namespace {

using namespace bench;

struct part {
	const char *name;
	void (*run)(recorder &figures);
};

constexpr part parts[] = {
	{"statistics", statistics}, {"commands", commands},	    {"listed", listed_partitions},
	{"partitions", partitions}, {"sections", sections},	    {"lookups", lookups},
	{"tables", tables},	    {"loading", loading},	    {"callers", callers},
	{"memory", memory},	    {"table_memory", table_memory}, {"service", service},
};

mode mode_of(const std::string &word)
{
	if (word == "full")
		return mode::full;
	if (word == "gate")
		return mode::gate;
	if (word == "trace")
		return mode::trace;
	fail("no mode " + word);
}

// Where flash_mng's functions and the mark are now: "<part> <address> <function>" for each, and "<part> <address> <size>" as module.
void write_places(const std::string &of)
{
	std::ofstream places("/results/places.tsv", std::ios::app);
	std::ifstream symbols("/proc/kallsyms");
	for (std::string address, type, name, line; symbols >> address >> type >> name;) {
		std::getline(symbols, line);
		const bool is_function = type == "t" || type == "T";
		if (is_function && (line.find("[flash_mng]") != std::string::npos || name == "bench_mark"))
			places << of << '\t' << "function\t" << address << '\t' << name << '\n';
	}
	std::ifstream modules("/proc/modules");
	for (std::string name, size, users, names, state, address; modules >> name >> size >> users >> names >> state >> address;) {
		if (name == "flash_mng")
			places << of << '\t' << "module\t" << address.substr(2) << '\t' << size << '\n';
		std::getline(modules, names);
	}
}

void run_part(recorder &figures, const std::string &name)
{
	const part *const found = std::find_if(std::begin(parts), std::end(parts), [&](const part &p) { return p.name == name; });
	if (found == std::end(parts))
		fail("no part " + name);
	found->run(figures);
}

} // namespace

int main(int count, char **words)
{
	if (count < 3) {
		std::cerr << "usage: bench full|gate|trace PART...\n";
		return 2;
	}
	// While flash_mng is loaded and unloaded flash_bench, which links against it, cannot be there; the counter goes on.
	const device kernel(access(BENCH_DEVICE, F_OK) == 0 ? BENCH_DEVICE : "/dev/null");
	recorder figures(mode_of(words[1]), kernel);
	for (int i = 2; i < count; ++i) {
		write_places(words[i]);
		run_part(figures, words[i]);
	}
}
