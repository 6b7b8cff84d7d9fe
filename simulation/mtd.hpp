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

#include "harness.hpp"

struct mtd_info {
public:
	mtd_info(int index, const harness::mtd_spec &spec) : index_(index), spec_(spec) {}

	int index() const { return index_; }
	const harness::mtd_spec &spec() const { return spec_; }
	std::uint64_t size() const { return spec_.size; }
	harness::mtd_activity activity() const { return activity_; }

	// The range must lie within the device.
	void read(std::uint64_t offset, void *to, std::size_t length) const;
	// Puts bytes in place behind everybody's back: no rule, no count.
	void poke(std::uint64_t offset, const void *from, std::size_t length);
	// Erases the block that starts at @offset; false, with nothing done, when the flash reports an error.
	[[nodiscard]] bool erase(std::uint64_t offset);
	// Writes to erased bytes, and only RAM takes anything else; false, with nothing done, when the flash reports an error.
	[[nodiscard]] bool program(std::uint64_t offset, const void *from, std::size_t length);
	// The n-th erase or write from now on reports an error; 0 for none.
	void fail(harness::flash_operation operation, std::uint64_t nth);

	int module_references = 0;    // by get_mtd_device() and get_mtd_device_nm()
	bool has_block_device = true; // none when its number was still taken by another one

private:
	static constexpr std::size_t page_size = 4096;
	using page = std::array<std::uint8_t, page_size>;

	static bool comes_to_its_end(std::uint64_t &countdown);
	void check_range(const char *what, std::uint64_t offset, std::size_t length) const;

	int index_;
	harness::mtd_spec spec_;
	std::map<std::uint64_t, std::unique_ptr<page>> pages_; // by page number; an absent page is erased
	harness::mtd_activity activity_{};
	std::uint64_t erases_to_failure_ = 0, writes_to_failure_ = 0; // 0 for none
};

namespace simulation {

// The device of a number; nullptr when there is none.
mtd_info *mtd_device_locked(int index);

} // namespace simulation
