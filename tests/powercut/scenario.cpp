// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "scenario.hpp"

#include <algorithm>
#include <ostream>

namespace powercut {

namespace {

constexpr std::uint8_t blank = 0xff;

constexpr geometry small_nand = {.page_size = 16, .pages = 4, .blocks = 6, .has_ecc = true};
constexpr geometry small_nor = {.page_size = 1, .pages = 16, .blocks = 6, .has_ecc = false};
constexpr geometry large_nand = {.page_size = 32, .pages = 64, .blocks = 6, .has_ecc = true};

std::uint8_t old_byte(std::uint64_t place)
{
	return static_cast<std::uint8_t>(place * 7 % 61);
}

std::uint8_t new_byte(std::uint64_t place)
{
	return static_cast<std::uint8_t>(0x40 + place * 11 % 61);
}

// The scenarios in units of a block's size, so that they fit every kind of flash.
void add_scenarios(std::vector<scenario> &all, const std::string &kind, const geometry &shape)
{
	const std::uint64_t block = shape.block_size();
	const std::uint64_t some = block / 3;
	const auto add = [&](const char *name, std::vector<unsigned int> bad, history past, std::uint64_t offset, std::uint64_t length,
			     std::vector<unsigned int> unchanged = {}, bool to_blank = false) {
		all.push_back({kind + "_" + name, shape, std::move(bad), past, offset, length, std::move(unchanged), to_blank});
	};

	add("within_a_block", {}, history::written, block + some, some);
	add("first_byte", {}, history::written, 0, 1);
	add("last_byte", {}, history::written, 6 * block - 1, 1);
	add("one_whole_block", {}, history::written, 2 * block, block);
	add("to_the_end_of_a_block", {}, history::written, block + some, block - some);
	add("from_the_start_of_a_block", {}, history::written, block, some);
	add("across_two_blocks", {}, history::written, 2 * block - some, 2 * some);
	add("unaligned_edges", {}, history::written, some, 3 * block);
	add("whole_partition", {}, history::written, 0, 6 * block);
	add("whole_blank_partition", {}, history::blank, 0, 6 * block);
	add("into_blank_flash", {}, history::blank, some, 2 * block);
	add("partial_last_block", {}, history::written, 4 * block, block + some);
	add("grown_range", {}, history::first_half_written, 0, 4 * block + some);
	add("nothing_changes", {}, history::written, 0, 6 * block, {0, 1, 2, 3, 4, 5});
	add("first_unchanged", {}, history::written, 0, 3 * block, {0});
	add("some_unchanged", {}, history::written, some, 5 * block, {1, 3, 4});
	add("last_unchanged", {}, history::written, 0, 2 * block + some, {2});
	add("made_blank", {}, history::written, some, 3 * block, {}, true);
	add("bad_block_between", {2}, history::written, block + some, 2 * block);
	add("bad_blocks_between", {1, 2, 4}, history::written, some, 2 * block);
	add("first_block_bad", {0}, history::written, 0, 2 * block + some);
	add("last_block_bad", {5}, history::written, 3 * block + some, 2 * block - some);
	add("bad_blocks_whole_partition", {0, 3}, history::written, 0, 4 * block);
	add("bad_and_unchanged", {1, 3}, history::written, 0, 4 * block, {1, 2});
}

} // namespace

std::vector<scenario> small_scenarios()
{
	std::vector<scenario> all;
	add_scenarios(all, "nand", small_nand);
	add_scenarios(all, "nor", small_nor);
	return all;
}

std::vector<scenario> large_scenarios()
{
	std::vector<scenario> all;
	add_scenarios(all, "large_nand", large_nand);
	return all;
}

std::vector<cut_point> cuts_of(std::size_t operations, const geometry &shape)
{
	std::vector<cut_point> all;
	for (std::size_t operation = 0; operation < operations; ++operation)
		for (unsigned int page = 0; page <= shape.pages; ++page) {
			all.push_back({operation, page, tearing::none});
			if (page == shape.pages)
				break;
			all.push_back({operation, page, tearing::unstable});
			if (shape.has_ecc)
				all.push_back({operation, page, tearing::uncorrectable});
		}
	return all;
}

std::ostream &operator<<(std::ostream &out, const scenario &one)
{
	return out << one.name;
}

std::vector<unsigned int> good_blocks(const scenario &one)
{
	std::vector<unsigned int> good;
	for (unsigned int block = 0; block < one.shape.blocks; ++block)
		if (std::find(one.bad_blocks.begin(), one.bad_blocks.end(), block) == one.bad_blocks.end())
			good.push_back(block);
	return good;
}

bytes old_content(const scenario &one)
{
	bytes content(one.shape.size(), blank);
	const auto good = good_blocks(one);
	const std::size_t written = one.past == history::blank ? 0 : one.past == history::written ? good.size() : good.size() / 2;

	for (std::size_t i = 0; i < written; ++i)
		for (std::uint64_t place = 0; place < one.shape.block_size(); ++place)
			content[good[i] * one.shape.block_size() + place] = old_byte(i * one.shape.block_size() + place);
	return content;
}

bytes update_bytes(const scenario &one)
{
	bytes given(one.length);
	for (std::uint64_t i = 0; i < one.length; ++i) {
		const auto place = one.offset + i;
		const auto block = static_cast<unsigned int>(place / one.shape.block_size());
		const bool same = std::find(one.unchanged.begin(), one.unchanged.end(), block) != one.unchanged.end();
		given[i] = same ? old_byte(place) : one.to_blank ? blank : new_byte(place);
	}
	return given;
}

bytes updated_content(const scenario &one, bytes before, std::uint64_t offset, const bytes &given)
{
	const auto good = good_blocks(one);
	for (std::uint64_t i = 0; i < given.size(); ++i) {
		const auto place = offset + i;
		before[good.at(place / one.shape.block_size()) * one.shape.block_size() + place % one.shape.block_size()] = given[i];
	}
	return before;
}

void prepare(const scenario &one, strict_flash &flash)
{
	const auto content = old_content(one);
	const auto block_size = one.shape.block_size();

	for (const auto block : one.bad_blocks)
		flash.mark_bad(block);
	for (const auto block : good_blocks(one)) {
		const auto held = std::span(content).subspan(block * block_size, block_size);
		if (held.front() != blank)
			flash.fill(block * block_size, held);
	}
	flash.power_on();
}

} // namespace powercut
