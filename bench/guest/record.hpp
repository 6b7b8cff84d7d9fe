// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Counting one thing after the other, and writing the figures down.
#pragma once

#include <cstdint>
#include <fstream>
#include <functional>
#include <set>
#include <string>

#include "kernel_side.hpp"

namespace bench {

[[noreturn]] void fail(const std::string &what);

// What is done: a row of the table together with its size.
struct row {
	std::string area;
	std::string subject;
	std::uint32_t size;
	std::string unit;
};

// The way it is done: through flash_mng, or by a peer.
inline const std::string module_way = "flash_mng";

enum class mode {
	full,  // every row and every way
	gate,  // the rows with a committed figure, through flash_mng
	trace, // every row through flash_mng once, between two marks for who watches the emulator's trace
};

class recorder {
public:
	// Figures are appended to /results/figures.tsv, the order of the traced rows to /results/marks.tsv.
	recorder(mode wanted, const device &kernel);

	// Counts a piece of this program: the smallest of so many times, after one that is not counted. It returns 0, or a code that
	// ends the program.
	void count(const row &of, const std::string &way, unsigned times, const std::function<std::uint32_t()> &operation);

	// Counts a call in the kernel.
	void count(const row &of, const std::string &way, bench_request request);

	// Writes a figure that was found otherwise.
	void note(const row &of, const std::string &way, const std::string &what, std::uint64_t figure);

	bool is_wanted(const row &of, const std::string &way) const;
	bool is_full() const { return mode_ == mode::full; }
	bool is_traced() const { return mode_ == mode::trace; }
	const device &kernel() const { return kernel_; }

private:
	void trace(const row &of, const std::function<std::uint32_t()> &operation);

	mode mode_;
	const device &kernel_;
	std::set<std::string> committed_;
	std::ofstream figures_;
	std::ofstream marks_;
};

// The parts of the measurements, by name; each asks for devices and tables that board/initramfs/tasks/bench prepares.
void statistics(recorder &figures);
void commands(recorder &figures);
void listed_partitions(recorder &figures);
void service(recorder &figures);
void partitions(recorder &figures);
void sections(recorder &figures);
void lookups(recorder &figures);
void callers(recorder &figures);
void memory(recorder &figures);
void table_memory(recorder &figures);
void tables(recorder &figures);
void loading(recorder &figures);

} // namespace bench
