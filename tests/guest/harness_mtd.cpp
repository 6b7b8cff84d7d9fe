// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// MTD devices of the board, made by flash_lab.
#include "harness_mtd.hpp"

#include <algorithm>

#include "lab_device.hpp"

namespace guest {

lab_mtd_add asking_for(const harness::mtd_spec &wanted)
{
	lab_mtd_add record = {};
	record.name = wanted.nameless ? 0 : reinterpret_cast<uint64_t>(wanted.name.c_str());
	record.size = wanted.size;
	record.type = wanted.type;
	record.erase_size = wanted.erase_size;
	record.is_partition = wanted.partition_flags.has_value();
	record.partition_flags = wanted.partition_flags.value_or(0);
	record.index = wanted.index.value_or(-1);
	return record;
}

} // namespace guest

namespace harness {

namespace {

uint64_t address_of(const void *memory)
{
	return reinterpret_cast<uint64_t>(memory);
}

lab_mtd_state state_of(int index)
{
	lab_mtd_state state = {};
	state.index = index;
	guest::lab(LAB_MTD_STATE, &state, "state of mtd" + std::to_string(index));
	return state;
}

void move_bytes(unsigned long command, int index, uint64_t offset, const void *memory, std::size_t length)
{
	lab_mtd_bytes range = {};
	range.index = index;
	range.offset = offset;
	range.length = length;
	range.buffer = address_of(memory);
	guest::lab(command, &range, "bytes of mtd" + std::to_string(index));
}

// The lab moves 64 MiB at most with one command.
constexpr std::size_t longest_part = 16u << 20;

} // namespace

int add_mtd(const mtd_spec &spec)
{
	lab_mtd_add wanted = guest::asking_for(spec);
	guest::lab(LAB_MTD_ADD, &wanted, "add MTD device \"" + spec.name + "\"");
	return wanted.index;
}

void remove_mtd(int index)
{
	__s32 number = index;
	guest::lab(LAB_MTD_REMOVE, &number, "remove mtd" + std::to_string(index));
}

bytes mtd_content(int index, uint64_t offset, std::size_t length)
{
	bytes content(length);
	for (std::size_t at = 0; at < length; at += longest_part)
		move_bytes(LAB_MTD_PEEK, index, offset + at, content.data() + at, std::min(longest_part, length - at));
	return content;
}

void set_mtd_content(int index, uint64_t offset, std::span<const std::uint8_t> content)
{
	for (std::size_t at = 0; at < content.size(); at += longest_part)
		move_bytes(LAB_MTD_POKE, index, offset + at, content.data() + at, std::min(longest_part, content.size() - at));
}

int mtd_use_count(int index)
{
	return state_of(index).use_count;
}

mtd_activity mtd_count(int index)
{
	const lab_mtd_state state = state_of(index);
	return {state.erases, state.writes};
}

void fail_flash(int index, flash_operation operation, uint64_t nth)
{
	lab_mtd_failure failure = {};
	failure.index = index;
	failure.is_write = operation == flash_operation::write;
	failure.nth = nth;
	guest::lab(LAB_MTD_FAIL, &failure, "failure of mtd" + std::to_string(index));
}

} // namespace harness
