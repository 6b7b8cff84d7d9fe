// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The reference platform's flash buffer service, its own sources, with the power cut at and inside of every erase and every program
// operation of every scenario; and on small flash once more in every operation of the update that is repeated afterwards.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "../../reference_platform/include/platform_status.h"
#include "block_state.hpp"
#include "platform/flash_buffer.h"
#include "scenario.hpp"

using namespace powercut;

namespace {

constexpr char path[] = "/dev/mtd0";

struct cut_counts {
	std::size_t scenarios;
	std::size_t single;
	std::size_t repeated; // cuts in the repeated update after a first cut
	std::size_t torn_pages;
	std::size_t refused; // repeated updates that a page without ECC makes impossible until the whole block is written
	std::size_t states[block_states];
};

cut_counts g_counts;

class print_counts : public testing::Environment {
public:
	void TearDown() override
	{
		std::printf("%zu scenarios, %zu power cuts (%zu in a first update, %zu in a repeated one), %zu of them inside of a page\n",
			    g_counts.scenarios, g_counts.single + g_counts.repeated, g_counts.single, g_counts.repeated,
			    g_counts.torn_pages);
		std::printf("the erase block in flight:");
		for (std::size_t state = 0; state < block_states; ++state)
			std::printf(" %s %zu%c", block_state_name(static_cast<block_state>(state)), g_counts.states[state],
				    state + 1 == block_states ? '\n' : ',');
		std::printf("%zu repeated updates refused for an uncorrectable page, then done by a write of the whole block\n",
			    g_counts.refused);
	}
};

[[maybe_unused]] const auto *const printing_counts = testing::AddGlobalTestEnvironment(new print_counts);

class power_cuts : public testing::TestWithParam<scenario> {
protected:
	power_cuts() : flash(GetParam().shape) { prepare(GetParam(), flash); }

	const scenario &one = GetParam();
	const std::uint64_t block_size = one.shape.block_size();
	const bytes given = update_bytes(one);
	strict_flash flash;

	u32 update() const { return plat_mtd_update_buf(path, one.offset, given.data(), given.size()); }

	std::span<const std::uint8_t> block_of(const bytes &content, unsigned int block) const
	{
		return std::span(content).subspan(block * block_size, block_size);
	}

	bool has_uncorrectable_page(const strict_flash::state &state, unsigned int block) const
	{
		const auto first = state.torn.begin() + block * one.shape.pages;
		return std::find(first, first + one.shape.pages, tearing::uncorrectable) != first + one.shape.pages;
	}

	// The usable range of bytes of the update in a block; empty when it has none.
	std::span<const std::uint8_t> given_to(unsigned int block, std::uint64_t &first) const
	{
		const auto good = good_blocks(one);
		const auto index = static_cast<std::uint64_t>(std::find(good.begin(), good.end(), block) - good.begin());
		const auto begin = std::max(one.offset, index * block_size);
		const auto end = std::min(one.offset + one.length, (index + 1) * block_size);
		first = begin - std::min(begin, index * block_size);
		return begin < end ? std::span(given).subspan(begin - one.offset, end - begin) : std::span<const std::uint8_t>();
	}

	bool is_partial(unsigned int block) const
	{
		std::uint64_t first;
		return given_to(block, first).size() != block_size;
	}

	// The operations that an update of flash in this state has to do: changed blocks, in order, each erased and then programmed. Ends
	// before a block that is only partly given and cannot be read.
	std::vector<operation> expected_operations(const strict_flash::state &state, bool *refused = nullptr) const
	{
		std::vector<operation> expected;
		for (const auto block : good_blocks(one)) {
			std::uint64_t first;
			const auto part = given_to(block, first);
			if (part.empty())
				continue;
			if (has_uncorrectable_page(state, block) && is_partial(block)) {
				if (refused)
					*refused = true;
				break;
			}
			const auto held = block_of(state.content, block).subspan(first, part.size());
			if (std::equal(part.begin(), part.end(), held.begin()) && !has_uncorrectable_page(state, block))
				continue;
			expected.push_back({action::erase, block});
			expected.push_back({action::program, block});
		}
		return expected;
	}

	bytes target(const bytes &before) const { return updated_content(one, before, one.offset, given); }

	// After a cut: blocks before the one in flight are new, those behind it old, and it is on its way from old to new.
	void expect_only_the_flight_differs(const strict_flash::state &before, const cut_point &cut, const operation &in_flight)
	{
		const auto &found = flash.now();
		const auto after = target(before.content);
		const auto operations = expected_operations(before);
		const auto rewritten_before_flight = [&](unsigned int block) {
			return std::find(operations.begin(),
					 operations.begin() + static_cast<std::ptrdiff_t>(cut.operation & ~std::size_t(1)),
					 operation{action::erase, block}) !=
			       operations.begin() + static_cast<std::ptrdiff_t>(cut.operation & ~std::size_t(1));
		};

		ASSERT_EQ(in_flight, operations.at(cut.operation));
		for (unsigned int block = 0; block < one.shape.blocks; ++block) {
			const auto now = block_of(found.content, block);
			const auto was = block_of(before.content, block);
			if (block == in_flight.block)
				expect_on_its_way(before, after, cut, in_flight);
			else if (rewritten_before_flight(block))
				expect_given_bytes(block, was);
			else
				ASSERT_TRUE(std::equal(now.begin(), now.end(), was.begin())) << "block " << block << " has to be old";
		}
	}

	// The given bytes, and the others as they were unless they were torn.
	void expect_given_bytes(unsigned int block, std::span<const std::uint8_t> was)
	{
		std::uint64_t first;
		const auto part = given_to(block, first);
		const auto now = block_of(flash.now().content, block);
		ASSERT_TRUE(std::equal(part.begin(), part.end(), now.begin() + static_cast<std::ptrdiff_t>(first))) << "block " << block;
		for (std::uint64_t place = 0; place < block_size; ++place) {
			const bool is_given = place >= first && place < first + part.size();
			ASSERT_TRUE(is_given || torn_before(block, place) || now[place] == was[place])
				<< "block " << block << " byte " << place;
		}
	}

	bool torn_before(unsigned int block, std::uint64_t place) const
	{
		return torn_once.contains(block * one.shape.pages + static_cast<unsigned int>(place / one.shape.page_size));
	}

	void expect_on_its_way(const strict_flash::state &before, bytes after, const cut_point &cut, const operation &in_flight)
	{
		const auto block = in_flight.block;
		const std::uint64_t torn_begin = cut.pages_done * one.shape.page_size;
		const std::uint64_t torn_end = torn_begin + (cut.next_page == tearing::none ? 0 : one.shape.page_size);
		auto found = flash.now().content;

		// What a torn page of an earlier cut became is not known; all that the service can do is to keep what it read.
		for (std::uint64_t place = 0; place < block_size; ++place) {
			const auto address = block * block_size + place;
			if (torn_before(block, place) && found[address] != before.content[address] && found[address] >= 0x80)
				after[address] = found[address];
		}
		const auto state = block_state_of(block_of(before.content, block), block_of(after, block), block_of(found, block),
						  torn_begin, cut.next_page == tearing::none ? torn_begin : torn_end);
		++g_counts.states[static_cast<std::size_t>(state)];
		ASSERT_NE(state, block_state::foreign)
			<< "block " << block << ", " << (in_flight.what == action::erase ? "erase" : "program") << ", " << cut.pages_done
			<< " pages done";
		if (torn_end != torn_begin)
			torn_once.insert(block * one.shape.pages + cut.pages_done);
	}

	// The update, cut; then what the flash holds is looked at.
	void cut_update(const cut_point &cut)
	{
		const auto before = flash.now();
		flash.power_on(cut);
		try {
			const u32 status = update();
			FAIL() << "the power was not cut; the update gave " << std::hex << status;
		} catch (const power_cut &seen) {
			expect_only_the_flight_differs(before, cut, seen.in_flight);
		}
		g_counts.torn_pages += cut.next_page != tearing::none;
		flash.power_on();
	}

	// The same update again, without a cut.
	void repeat_update()
	{
		const auto before = flash.now();
		bool refused = false;
		const auto expected = expected_operations(before, &refused);

		ASSERT_EQ(update(), refused ? FLASH_BUFFER_UNCORRECTABLE : 0);
		ASSERT_TRUE(flash.at_rest());
		ASSERT_EQ(flash.operations(), expected);
		if (refused) {
			++g_counts.refused;
			write_whole_block(before);
			return;
		}
		expect_update_is_done(before);
	}

	void expect_update_is_done(const strict_flash::state &before)
	{
		for (const auto block : good_blocks(one)) {
			expect_given_bytes(block, block_of(before.content, block));
			if (testing::Test::HasFatalFailure())
				return;
		}
		bytes seen(given.size());
		ASSERT_EQ(plat_mtd_read_buf(path, one.offset, seen.data(), seen.size()), 0u);
		ASSERT_EQ(seen, given);
	}

	// Bytes outside of the update that went with an uncorrectable page are the caller's to bring again: the whole block does it.
	void write_whole_block(const strict_flash::state &before)
	{
		const auto good = good_blocks(one);
		const auto whole_begin = one.offset / block_size * block_size;
		const auto whole_end =
			std::min<std::uint64_t>((one.offset + one.length + block_size - 1) / block_size, good.size()) * block_size;
		bytes whole(whole_end - whole_begin, 0x55);

		std::copy(given.begin(), given.end(), whole.begin() + static_cast<std::ptrdiff_t>(one.offset - whole_begin));
		ASSERT_EQ(plat_mtd_update_buf(path, whole_begin, whole.data(), whole.size()), 0u);
		ASSERT_EQ(flash.now().content, updated_content(one, before.content, whole_begin, whole));
		ASSERT_TRUE(
			std::none_of(flash.now().torn.begin(), flash.now().torn.end(), [](tearing how) { return how != tearing::none; }));
	}

	std::set<unsigned int> torn_once; // pages torn by the cuts of this round
};

std::string name_of(const testing::TestParamInfo<scenario> &info)
{
	return info.param.name;
}

#define STOP_AT_FAILURE(cut)                                                                                                               \
	if (HasFatalFailure())                                                                                                             \
	FAIL() << "cut in operation " << (cut).operation << " after " << (cut).pages_done << " pages, tearing "                            \
	       << static_cast<int>((cut).next_page)

TEST_P(power_cuts, without_a_cut_the_update_does_what_the_model_says)
{
	const auto before = flash.now();

	ASSERT_EQ(update(), 0u);

	EXPECT_EQ(flash.now().content, target(before.content));
	EXPECT_EQ(flash.operations(), expected_operations(before));
	EXPECT_EQ(flash.operations().empty(), one.name.ends_with("nothing_changes"));
	EXPECT_TRUE(flash.at_rest());
	++g_counts.scenarios;
}

TEST_P(power_cuts, leave_old_new_or_erased_in_the_block_in_flight_and_a_repeated_update_completes)
{
	const auto before = flash.now();

	for (const auto &cut : cuts_of(expected_operations(before).size(), one.shape)) {
		torn_once.clear();
		flash.set(before);
		cut_update(cut);
		STOP_AT_FAILURE(cut);
		repeat_update();
		STOP_AT_FAILURE(cut);
		++g_counts.single;
	}
}

using power_cuts_twice = power_cuts;

TEST_P(power_cuts_twice, in_the_repeated_update_too)
{
	const auto before = flash.now();

	for (const auto &cut : cuts_of(expected_operations(before).size(), one.shape)) {
		torn_once.clear();
		flash.set(before);
		cut_update(cut);
		STOP_AT_FAILURE(cut);
		const auto after_first = flash.now();
		const auto torn_first = torn_once;
		for (const auto &second : cuts_of(expected_operations(after_first).size(), one.shape)) {
			torn_once = torn_first;
			flash.set(after_first);
			cut_update(second);
			STOP_AT_FAILURE(second);
			repeat_update();
			STOP_AT_FAILURE(second);
			++g_counts.repeated;
		}
	}
}

INSTANTIATE_TEST_SUITE_P(small, power_cuts, testing::ValuesIn(small_scenarios()), name_of);
INSTANTIATE_TEST_SUITE_P(large, power_cuts, testing::ValuesIn(large_scenarios()), name_of);
INSTANTIATE_TEST_SUITE_P(small, power_cuts_twice, testing::ValuesIn(small_scenarios()), name_of);

} // namespace
