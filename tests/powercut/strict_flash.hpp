// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// One flash device on the host, as strict as flash, whose power can be cut at any step of any erase or program operation. It implements
// the functions of host_linux.h. A cut leaves the caller by an exception, as no line of the kernel runs any more.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "host_linux.h"

namespace powercut {

using bytes = std::vector<std::uint8_t>;

// How a page behaves during whose erasing or programming the power went, until it is erased again.
enum class tearing {
	none,	       // the power goes between two pages
	unstable,      // readable; each read gives something else
	uncorrectable, // ECC cannot correct it: a read fails, and gives something else each time
};

struct geometry {
	unsigned int page_size;
	unsigned int pages; // of an erase block
	unsigned int blocks;
	bool has_ecc; // a torn page is uncorrectable; otherwise unstable

	unsigned int block_size() const { return page_size * pages; }
	std::uint64_t size() const { return std::uint64_t(block_size()) * blocks; }
};

enum class action { erase, program };

struct operation {
	action what;
	unsigned int block;
	bool operator==(const operation &) const = default;
};

// The power goes during an operation: when so many pages of the block are done, and maybe in the middle of the next one.
struct cut_point {
	std::size_t operation; // counted from 0 since the last power-on
	unsigned int pages_done;
	tearing next_page;
	bool operator==(const cut_point &) const = default;
};

// Thrown by the operation in which the power goes.
struct power_cut {
	operation in_flight;
};

// Thrown when the service asks for what flash cannot do, or what Linux forbids.
struct misuse : std::logic_error {
	using std::logic_error::logic_error;
};

class strict_flash {
public:
	// The device is MTD 0 until it is destroyed; there is one at a time. All erased, no bad blocks.
	explicit strict_flash(const geometry &shape);
	strict_flash(const strict_flash &) = delete;
	strict_flash &operator=(const strict_flash &) = delete;
	~strict_flash();

	const geometry &shape() const { return shape_; }

	// All of the flash: content and what kind of page each one is. Torn pages have some content, never 0xff and never below 0x80.
	struct state {
		bytes content;
		std::vector<bool> programmed;
		std::vector<tearing> torn;
		bool operator==(const state &) const = default;
	};
	const state &now() const { return state_; }
	void set(const state &wanted) { state_ = wanted; }
	// Content for whole pages from a page's start on, as if programmed at the factory.
	void fill(std::uint64_t offset, std::span<const std::uint8_t> content);
	void mark_bad(unsigned int block) { bad_.insert(block); }
	bool is_bad(unsigned int block) const { return bad_.contains(block); }

	// Power on: forgets the operations, the memory, locks and references of the time before, and takes the next cut.
	void power_on(std::optional<cut_point> next_cut = std::nullopt);
	const std::vector<operation> &operations() const { return operations_; }
	// Nothing allocated, locked or referenced any more.
	bool at_rest() const;

	// What the functions of host_linux.h say. An error of a read comes with the content; one of an erase or a write, and that memory is
	// short, with nothing done.
	struct answers {
		int read = 0;
		unsigned long not_read = 0; // bytes
		int erase = 0;
		int write = 0;
		unsigned long not_written = 0;
		int bad_block_check = 0;
		bool no_memory = false;
	};
	void answer_with(const answers &wanted) { answers_ = wanted; }

	// The functions of host_linux.h.
	mtd_info *device(int index);
	void release(const mtd_info *mtd);
	bool block_is_bad(std::uint64_t address) const;
	void erase(std::uint64_t address, std::uint64_t length);
	int read(std::uint64_t from, std::span<std::uint8_t> to);
	const answers &told() const { return answers_; }
	void program(std::uint64_t to, std::span<const std::uint8_t> content);
	void lock(rw_semaphore &semaphore, bool alone);
	void unlock(rw_semaphore &semaphore, bool alone);
	void *allocate(std::size_t size);
	void give_back(const void *memory);

private:
	unsigned int block_at(std::uint64_t address, std::uint64_t length, const char *what) const;
	bool begin_operation(action what, unsigned int block);
	void tear(unsigned int block, tearing how);
	void erase_page(std::size_t page);
	void program_page(std::size_t page, std::span<const std::uint8_t> content);
	std::uint8_t noise() { return static_cast<std::uint8_t>(0x80 | (noise_++ % 0x7f)); }

	geometry shape_;
	mtd_info mtd_;
	state state_;
	answers answers_;
	std::set<unsigned int> bad_;
	std::optional<cut_point> cut_;
	std::vector<operation> operations_;
	std::vector<std::vector<std::uint8_t>> memory_;
	std::set<rw_semaphore *> locked_;
	int references_ = 0;
	unsigned int noise_ = 0;
};

} // namespace powercut
