// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What a gene means, and what flash_mng has to answer to it. The model knows the board "torture", the memory that the calls are given and
// the content that they have written; where threads race it accepts any answer.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>

#include "answers.hpp"
#include "calls.hpp"
#include "genes.hpp"

namespace torture {

// Memory of every kind that a call can be given. Behind each piece comes a page that nobody may touch.
class memory_pieces {
public:
	memory_pieces();

	enum place { ordinary, read_only, crossing, moving, unmapped, kernel, null, beyond_all, places };
	static constexpr uint32_t piece_size = 0x10000;

	// The address of bytes that end where their piece ends; crossing: half of them.
	uint64_t at(place where, uint32_t size) const;
	// Where the program itself writes what a call reads there; nullptr where it cannot.
	uint8_t *filled(place where, uint32_t size) const;
	static bool readable(place where, uint32_t size) { return where <= read_only && size <= piece_size; }
	static bool writable(place where, uint32_t size) { return where == ordinary && size <= piece_size; }

	// Changes the moving piece; from another thread.
	void move(choices &choice) const;

private:
	uint8_t *ordinary_;
	uint8_t *read_only_;
	uint8_t *behind_read_only_; // the same bytes, to be written
	uint8_t *moving_;
};

// The partition names of the SPI flash that stands while the fuzzer runs, and its instance.
constexpr const char *standing_names[] = {"fuzz_a", "fuzz_name_of_thirty_one_letters"};
constexpr uint32_t standing_instance = 0x20;

class model {
public:
	// own is the listed partition that nobody else writes, usable its usable size; window: what this model alone writes elsewhere.
	model(const flash_mng_access &access, std::string own, uint32_t usable, uint32_t window);

	// Makes the gene's call. Gives what is wrong about the answer, "" when it is right.
	std::string run(const gene &one);

	// Calls made, by name.
	const std::map<std::string, uint64_t> &counted() const { return counted_; }
	answers &seen() { return seen_; }
	const answers &seen() const { return seen_; }
	// Changes the memory that moves.
	void move(choices &choice) const;

private:
	class reader;

	std::string question(reader &from);
	std::string find(reader &from, bool by_name);
	std::string request(reader &from, bool write);
	std::string other_number(reader &from);
	std::string section(reader &from, bool write);
	std::string partition(reader &from, bool write);
	std::string about_name(reader &from);
	std::string about_user_data(reader &from);
	std::string flash(reader &from);

	// Transfers take the board a hundred times as long as other calls: most genes that want one make another call.
	bool may_transfer();
	// Counts a call and compares its code.
	std::string verdict(const std::string &call, uint32_t code, std::initializer_list<uint32_t> expected);

	const flash_mng_access &access_;
	std::string own_;
	uint32_t usable_;
	uint32_t window_;
	memory_pieces memory_; // of records
	memory_pieces data_;   // of what records point to
	bytes content_;	       // of the own partition's usable bytes
	uint64_t genes_ = 0;
	uint64_t transfers_ = 0;
	std::map<std::string, uint64_t> counted_;
	answers seen_;
};

} // namespace torture
