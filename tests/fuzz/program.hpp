// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A program that calls: memory of every kind that it can hand to a command.
#pragma once

#include "input.hpp"

namespace fuzz {

// A piece of the program's memory, twice: once to be written, once only to be read. Nothing is mapped behind either. Lives until the
// board is reset.
class piece {
public:
	explicit piece(std::size_t size);

	// An address for so many bytes: where they belong, at the end of a piece, or where they must not be. The content, where there is
	// some, stands there as far as the memory goes.
	uint64_t place(input &from, std::size_t size, const bytes &content = {});
	// Whether the module may read, or write, all of so many bytes there.
	bool readable(uint64_t address, std::size_t size) const;
	bool writable(uint64_t address, std::size_t size) const;

	// While a command runs: other bytes at an address, where they can be written; or no access at all.
	void change(uint64_t address, const bytes &content) const;
	void take_away() const;
	void give_back() const;

private:
	void put(uint64_t address, const bytes &content) const;

	std::size_t size_;
	uint8_t *writable_;
	uint8_t *read_only_;
};

} // namespace fuzz
