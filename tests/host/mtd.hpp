// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// One simulated MTD device: strict flash over sparse memory. Its functions expect the lock of the simulation to be held.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "../conformance/board.hpp"

struct mtd_info {
public:
	mtd_info(int index, const board::mtd_spec &spec) : index_(index), spec_(spec) {}

	int index() const { return index_; }
	const board::mtd_spec &spec() const { return spec_; }
	std::uint64_t size() const { return spec_.size; }
	board::mtd_activity activity() const { return activity_; }

	// The range must lie within the device.
	void read(std::uint64_t offset, void *to, std::size_t length) const;
	// Puts bytes in place behind everybody's back: no rule, no count.
	void poke(std::uint64_t offset, const void *from, std::size_t length);
	// Erases the block that starts at @offset.
	void erase(std::uint64_t offset);
	// Writes to erased bytes; only RAM takes anything else.
	void program(std::uint64_t offset, const void *from, std::size_t length);
	// Makes a range equal to @from by reading, patching, erasing and writing the blocks that it touches; those that hold the wanted
	// bytes already are left alone when @only_changes.
	void update(std::uint64_t offset, const void *from, std::size_t length, bool only_changes);

	int module_references = 0; // by get_mtd_device() and get_mtd_device_nm()
	int open_files = 0;	   // block device files

private:
	static constexpr std::size_t page_size = 4096;
	using page = std::array<std::uint8_t, page_size>;

	void update_block(std::uint64_t block, std::uint64_t offset, const std::uint8_t *from, std::size_t length, bool only_changes);
	void check_range(const char *what, std::uint64_t offset, std::size_t length) const;

	int index_;
	board::mtd_spec spec_;
	std::map<std::uint64_t, std::unique_ptr<page>> pages_; // by page number; an absent page is erased
	board::mtd_activity activity_{};
};

namespace simulation {

// The device of a number; nullptr when there is none.
mtd_info *mtd_device_locked(int index);

} // namespace simulation
