// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// flashctl write --last, its own sources, on the reference platform's flash buffer service, its own sources too, with the power cut at and
// inside of every erase and every program operation. Afterwards the flash holds an old whole image, an invalid header or a new whole image,
// and never a valid header over a torn rest. Then the same for an image that goes to one of two slots, the choice of the slot behind it.
//
// Of the cuts on flash with large blocks, and of those in the update that is repeated after a cut, a part is tried; all of them where
// POWERCUT_ALL is set.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "commands.hpp"
#include "failure.hpp"
#include "platform/flash_buffer.h"
#include "platform_status.h"
#include "scenario.hpp"
#include "strict_flash.hpp"

namespace powercut {

namespace {

constexpr char path[] = "/dev/mtd0";

// One in so many cuts is tried; all of them with POWERCUT_ALL.
std::size_t one_in(std::size_t many)
{
	return std::getenv("POWERCUT_ALL") ? 1 : many;
}

// ---- an image: a header that knows its own sum and the rest's, and the rest

std::uint32_t sum_of(std::span<const std::uint8_t> data, std::uint32_t sum = 0x811c9dc5u)
{
	for (const std::uint8_t byte : data)
		sum = (sum ^ byte) * 0x01000193u;
	return sum;
}

std::uint32_t number_at(std::span<const std::uint8_t> data, std::size_t at)
{
	std::uint32_t number;
	std::memcpy(&number, data.data() + at, sizeof(number));
	return number;
}

std::uint32_t sum_of_header(std::span<const std::uint8_t> header)
{
	return sum_of(header.subspan(4));
}

bool is_valid(std::span<const std::uint8_t> header)
{
	return number_at(header, 0) == sum_of_header(header);
}

// Bytes 0 to 3 are the header's sum, 4 to 7 the rest's.
bytes make_image(std::size_t size, std::size_t header, unsigned int version)
{
	bytes image(size);
	for (std::size_t i = 0; i < size; ++i)
		image[i] = static_cast<std::uint8_t>(i * 7 + version * 85 + (i >> 6));
	const std::uint32_t rest = sum_of(std::span(image).subspan(header));
	std::memcpy(image.data() + 4, &rest, sizeof(rest));
	const std::uint32_t front = sum_of_header(std::span(image).first(header));
	std::memcpy(image.data(), &front, sizeof(front));
	return image;
}

// ---- a board with one listed partition on that flash

class board_flash : public flashctl::flash {
public:
	board_flash(const geometry &shape, std::size_t bad, std::uint32_t usable)
		: device_{0, "image", 4, shape.size(), shape.block_size(), 0x400, true, true, usable}, bad_(static_cast<std::uint32_t>(bad))
	{
	}

	flash_mng::status open(const std::string &) override { return {}; }
	std::vector<std::string> load_log() override { return {}; }
	flashctl::platform_table platform_codes() override { return flashctl::reference_platform_table(); }
	bool keeps_equal_blocks() override { return true; }
	flash_mng::status lock(const flashctl::mtd_device &) override { return {}; }
	std::vector<flashctl::device_use> uses(const flashctl::mtd_device &) override { return {}; }
	flash_mng::result<std::vector<flashctl::mtd_device>> devices() override { return std::vector{device_}; }
	std::uint32_t bad_blocks(const flashctl::mtd_device &) override { return bad_; }

	flashctl::device_counts counts(const flashctl::mtd_device &) override { return {}; }
	flash_mng::result<std::vector<flashctl::block_state>> blocks(const flashctl::mtd_device &, bool) override
	{
		return std::vector<flashctl::block_state>();
	}

	// As the module reads and writes a listed partition: from byte 0 to the end of the range; all usable bytes, patched.
	flash_mng::status read(const std::string &, std::uint32_t offset, std::span<std::byte> data) override
	{
		bytes image(offset + data.size());
		const u32 status = plat_mtd_read_buf(path, 0, image.data(), image.size());
		if (!status)
			std::memcpy(data.data(), image.data() + offset, data.size());
		return flash_mng::status::from_code(status);
	}
	flash_mng::status write(const std::string &, std::uint32_t offset, std::span<const std::byte> data) override
	{
		bytes image(*device_.usable);
		if (const u32 status = plat_mtd_read_buf(path, 0, image.data(), image.size()))
			return flash_mng::status::from_code(status);
		std::memcpy(image.data() + offset, data.data(), data.size());
		return flash_mng::status::from_code(plat_mtd_update_buf(path, 0, image.data(), image.size()));
	}

	flash_mng::result<bool> has_user_data() override { return false; }
	flash_mng::result<flash_mng::user_data> user_data() override { return flash_mng::user_data{}; }
	flash_mng::result<spi_controller_config> find_spi_flash(flash_mng::instance_id) override { return spi_controller_config{}; }
	flash_mng::result<spi_controller_config> find_spi_flash(const std::string &) override { return spi_controller_config{}; }

private:
	flashctl::mtd_device device_;
	std::uint32_t bad_;
};

// Standard input has the image.
class image_console : public flashctl::console {
public:
	explicit image_console(const bytes &image) : image_(image) {}

	bool output_is_terminal() const override { return false; }
	bool errors_are_terminal() const override { return false; }
	std::size_t width() const override { return 80; }
	bool speaks_utf8() const override { return false; }
	void print(std::string_view) override {}
	void complain(std::string_view) override {}
	void show_step(const std::string &) override {}
	answer ask(const std::string &) override { return answer::nobody; }
	flashctl::bytes take_input(std::size_t) override
	{
		const auto view = std::as_bytes(std::span(image_));
		return {view.begin(), view.end()};
	}
	std::chrono::microseconds clock() const override { return {}; }
	bool finish() override { return true; }
	void hold_signals() override {}
	const char *signal() const override { return nullptr; }

private:
	const bytes &image_;
};

// Blocks with such a page become erased, as by flash_erase; the module refuses every write of the partition until then.
bool erase_uncorrectable_blocks(strict_flash &flash, const geometry &shape)
{
	strict_flash::state state = flash.now();
	bool found = false;
	for (unsigned int page = 0; page < state.torn.size(); ++page) {
		if (state.torn[page] != tearing::uncorrectable)
			continue;
		found = true;
		const unsigned int first = page / shape.pages * shape.pages;
		std::fill_n(state.content.begin() + first * shape.page_size, shape.block_size(), std::uint8_t{0xff});
		for (unsigned int i = first; i < first + shape.pages; ++i) {
			state.programmed[i] = false;
			state.torn[i] = tearing::none;
		}
	}
	flash.set(state);
	return found;
}

// Writes a part of the partition. The exit status.
int write_range(board_flash &board, const bytes &data, std::uint32_t offset, std::optional<std::uint32_t> header, bool resume)
{
	image_console console(data);
	const flashctl::options options;
	flashctl::workplace place = {board, console, options};
	flashctl::write_request request;
	request.range = {"image", offset, std::nullopt};
	request.input = "-";
	request.verify = flashctl::verification::range;
	request.last = header;
	request.resume = resume;
	try {
		const auto done = run_command(request, place);
		return std::get<flashctl::write_outcome>(done).equal() ? 0 : 7;
	} catch (const flashctl::failure &wrong) {
		return static_cast<int>(wrong.exit);
	}
}

// ---- updates

struct update {
	std::string name;
	geometry shape;
	std::vector<unsigned int> bad_blocks;
	std::uint32_t offset, header, length;	   // of the image
	bool over_blank = false;		   // no old image
	std::vector<std::uint64_t> unchanged = {}; // blocks of the image, from 0, that the old one has too
};

std::ostream &operator<<(std::ostream &out, const update &one)
{
	return out << one.name;
}

void add_updates(std::vector<update> &all, const std::string &kind, const geometry &shape)
{
	const std::uint32_t block = shape.block_size(), some = block / 3;
	all.push_back({kind + "_header_of_one_block", shape, {}, 0, block, 4 * block});
	all.push_back({kind + "_header_of_two_blocks", shape, {}, 0, 2 * block, 5 * block - some});
	all.push_back({kind + "_header_behind_other_bytes", shape, {}, block + block / 2, block / 2, 2 * block + some});
	all.push_back({kind + "_header_in_a_good_block_behind_bad_ones", shape, {0, 2}, 0, block, 3 * block});
	all.push_back({kind + "_bad_block_in_the_rest", shape, {3}, 0, block, 4 * block + some});
	all.push_back({kind + "_over_blank_flash", shape, {}, 0, block, 3 * block, true});
	all.push_back({kind + "_with_a_rest_that_is_there_in_part", shape, {}, 0, block, 5 * block, false, {1, 3}});
	all.push_back({kind + "_with_a_rest_that_is_there", shape, {}, 0, block, 3 * block, false, {1, 2}});
}

constexpr geometry small_nand = {.page_size = 16, .pages = 4, .blocks = 6, .has_ecc = true};
constexpr geometry small_nor = {.page_size = 1, .pages = 16, .blocks = 6, .has_ecc = false};
constexpr geometry large_nand = {.page_size = 32, .pages = 64, .blocks = 6, .has_ecc = true};

std::vector<update> small_updates()
{
	std::vector<update> all;
	add_updates(all, "nand", small_nand);
	add_updates(all, "nor", small_nor);
	return all;
}

std::vector<update> large_updates()
{
	std::vector<update> all;
	add_updates(all, "large_nand", large_nand);
	return all;
}

// What a cut left. A header is valid when it has its own sum.
enum class remains { old_whole, invalid_header, new_whole, torn_under_valid_header };

struct counts {
	std::size_t single = 0, repeated = 0, unreadable = 0, unstable = 0, slots = 0;
	std::array<std::size_t, 4> left = {};
};

counts g_counts;

struct print_counts : testing::Environment {
	void TearDown() override
	{
		std::printf(
			"%zu cuts of updates, %zu more in repeated ones: %zu left the old image, %zu an invalid header, %zu the new "
			"image, %zu a valid header over a torn rest (plain writes, on purpose); %zu an uncorrectable page, %zu one that "
			"was read right once; %zu cuts of installations in two slots\n",
			g_counts.single, g_counts.repeated, g_counts.left[0], g_counts.left[1], g_counts.left[2], g_counts.left[3],
			g_counts.unreadable, g_counts.unstable, g_counts.slots);
	}
};

[[maybe_unused]] const auto *const printing_counts = testing::AddGlobalTestEnvironment(new print_counts);

class update_cuts : public testing::TestWithParam<update> {
protected:
	update_cuts() : flash(GetParam().shape), board(one.shape, one.bad_blocks.size(), usable)
	{
		for (const unsigned int block : one.bad_blocks)
			flash.mark_bad(block);
		take_over_unchanged_blocks();
		const auto blank = flash.now();
		bytes held(usable, 0x2a);
		if (!one.over_blank)
			std::copy(old_image.begin(), old_image.end(), held.begin() + one.offset);
		if (plat_mtd_update_buf(path, 0, held.data(), usable) != 0)
			throw std::runtime_error("the flash cannot be prepared");
		if (one.over_blank)
			flash.set(blank);
		flash.power_on();
	}

	void take_over_unchanged_blocks()
	{
		for (const std::uint64_t block : one.unchanged)
			std::copy_n(new_image.begin() + static_cast<std::ptrdiff_t>(block * one.shape.block_size()), one.shape.block_size(),
				    old_image.begin() + static_cast<std::ptrdiff_t>(block * one.shape.block_size()));
		const std::uint32_t rest = sum_of(std::span(old_image).subspan(one.header));
		std::memcpy(old_image.data() + 4, &rest, sizeof(rest));
		const std::uint32_t front = sum_of_header(std::span(old_image).first(one.header));
		std::memcpy(old_image.data(), &front, sizeof(front));
	}

	// The exit status.
	int write(bool header_last, bool resume)
	{
		const auto header = header_last ? std::optional(one.header) : std::nullopt;
		return write_range(board, new_image, one.offset, header, resume);
	}

	// Whether the power went on the way.
	bool write_until(const cut_point &cut, bool header_last, bool resume)
	{
		flash.power_on(cut);
		try {
			write(header_last, resume);
			flash.power_on();
			return false;
		} catch (const power_cut &) {
			flash.power_on();
			return true;
		}
	}

	remains look() const
	{
		bytes front(one.header), rest(one.length - one.header);
		if (plat_mtd_read_buf(path, one.offset, front.data(), front.size()) || !is_valid(front))
			return remains::invalid_header;
		if (plat_mtd_read_buf(path, one.offset + one.header, rest.data(), rest.size()) || number_at(front, 4) != sum_of(rest))
			return remains::torn_under_valid_header;
		const bool is_new = std::equal(front.begin(), front.end(), new_image.begin());
		return is_new ? remains::new_whole : remains::old_whole;
	}

	remains count(remains seen)
	{
		++g_counts.left[static_cast<std::size_t>(seen)];
		return seen;
	}

	void expect_repeated_update_completes()
	{
		int exit = write(true, true);
		if (exit == 7) { // the header stays away from a page that is read right once and wrong the next time
			ASSERT_NE(look(), remains::torn_under_valid_header);
			++g_counts.unstable;
			exit = write(true, true);
		}
		if (exit != 0 && look() != remains::torn_under_valid_header && erase_uncorrectable_blocks(flash, one.shape)) {
			++g_counts.unreadable;
			exit = write(true, true);
		}
		ASSERT_EQ(exit, 0);
		ASSERT_EQ(look(), remains::new_whole);
	}

	std::size_t operations_of_update(bool header_last, bool resume)
	{
		flash.power_on();
		write(header_last, resume);
		return flash.operations().size();
	}

	const update &one = GetParam();
	const std::uint32_t usable = static_cast<std::uint32_t>((one.shape.blocks - one.bad_blocks.size()) * one.shape.block_size() -
								one.shape.block_size() / 4);
	const bytes new_image = make_image(one.length, one.header, 2);
	bytes old_image = make_image(one.length, one.header, 1);
	strict_flash flash;
	board_flash board;
};

#define STOP_AT_FAILURE(cut)                                                                                                               \
	if (HasFatalFailure())                                                                                                             \
	FAIL() << "cut in operation " << (cut).operation << " after " << (cut).pages_done << " pages, tearing "                            \
	       << static_cast<int>((cut).next_page)

std::string name_of(const testing::TestParamInfo<update> &info)
{
	return info.param.name;
}

TEST_P(update_cuts, without_a_cut_the_new_image_is_whole)
{
	EXPECT_EQ(look(), one.over_blank ? remains::invalid_header : remains::old_whole);
	EXPECT_EQ(write(true, false), 0);
	EXPECT_EQ(look(), remains::new_whole);
	EXPECT_TRUE(flash.at_rest());
	EXPECT_EQ(operations_of_update(true, false), 0u);
}

TEST_P(update_cuts, leave_no_valid_header_over_a_torn_rest)
{
	const auto before = flash.now();
	const std::size_t operations = operations_of_update(true, false);
	std::array<std::size_t, 4> seen = {};
	const std::size_t step = one.shape.pages == large_nand.pages ? one_in(19) : 1;
	std::size_t number = 0;

	const auto all = cuts_of(operations, one.shape);
	for (const auto &cut : all) {
		if (number++ % step && cut != all.back())
			continue;
		flash.set(before);
		ASSERT_TRUE(write_until(cut, true, false));
		const remains left = count(look());
		++seen[static_cast<std::size_t>(left)];
		ASSERT_NE(left, remains::torn_under_valid_header)
			<< "cut in operation " << cut.operation << " of " << operations << " after " << cut.pages_done << " pages";
		++g_counts.single;
		expect_repeated_update_completes();
		STOP_AT_FAILURE(cut);
	}
	EXPECT_GT(seen[static_cast<std::size_t>(remains::invalid_header)], 0u);
	EXPECT_GT(seen[static_cast<std::size_t>(remains::new_whole)], 0u) << "of a header that was programmed to its end";
}

// What the promise is worth, and that a broken one would be seen.
TEST_P(update_cuts, of_a_plain_write_leave_a_valid_header_over_a_torn_rest)
{
	const auto before = flash.now();
	std::size_t torn = 0, number = 0;
	for (const auto &cut : cuts_of(operations_of_update(false, false), one.shape)) {
		if (number++ % one_in(7))
			continue;
		flash.set(before);
		ASSERT_TRUE(write_until(cut, false, false));
		torn += count(look()) == remains::torn_under_valid_header;
	}
	EXPECT_EQ(torn > 0, !one.name.ends_with("rest_that_is_there")) << torn;
}

using update_cuts_twice = update_cuts;

TEST_P(update_cuts_twice, leave_none_in_the_repeated_update_either)
{
	const std::size_t step = one_in(499);
	const auto before = flash.now();
	std::size_t number = 0;

	for (const auto &first : cuts_of(operations_of_update(true, false), one.shape)) {
		flash.set(before);
		write_until(first, true, false);
		erase_uncorrectable_blocks(flash, one.shape);
		const auto after_first = flash.now();
		for (const auto &second : cuts_of(operations_of_update(true, true), one.shape)) {
			if (number++ % step)
				continue;
			flash.set(after_first);
			write_until(second, true, true);
			ASSERT_NE(count(look()), remains::torn_under_valid_header)
				<< "cut in operation " << first.operation << " after " << first.pages_done << " pages, tearing "
				<< static_cast<int>(first.next_page) << ", and in operation " << second.operation << " after "
				<< second.pages_done << " pages, tearing " << static_cast<int>(second.next_page);
			++g_counts.repeated;
			expect_repeated_update_completes();
			STOP_AT_FAILURE(second);
		}
		flash.set(before);
	}
}

// ---- two slots: the image goes to the one that is not the choice; when it is whole there, a record of the choice follows

struct slot_board {
	std::string name;
	geometry shape;
};

std::ostream &operator<<(std::ostream &out, const slot_board &one)
{
	return out << one.name;
}

// Slots 0 and 1 have four erase blocks each; the records of the choice one each, behind them. A record: its sum, a number, a slot.
class slot_cuts : public testing::TestWithParam<slot_board> {
protected:
	slot_cuts() : flash(one.shape), board(one.shape, 0, 10 * block)
	{
		bytes held(10 * block, 0x2a);
		std::ranges::copy(old_image, held.begin());
		std::ranges::copy(record(1, 0), held.begin() + 8 * block);
		if (plat_mtd_update_buf(path, 0, held.data(), held.size()) != 0)
			throw std::runtime_error("the flash cannot be prepared");
		flash.power_on();
	}

	static bytes record(std::uint32_t number, std::uint32_t slot)
	{
		const std::uint32_t words[] = {number, slot};
		bytes all(12);
		std::memcpy(all.data() + 4, words, sizeof(words));
		const std::uint32_t sum = sum_of(std::span(all).subspan(4));
		std::memcpy(all.data(), &sum, sizeof(sum));
		return all;
	}

	// The number of a record, 0 where there is none, and its slot.
	std::pair<std::uint32_t, std::uint32_t> record_at(std::uint32_t place) const
	{
		bytes found(12);
		if (plat_mtd_read_buf(path, (8 + place) * block, found.data(), found.size()) || !is_valid(found))
			return {0, 0};
		return {number_at(found, 4), number_at(found, 8)};
	}

	std::uint32_t choice() const { return std::max(record_at(0), record_at(1)).second; }

	bool is_whole(std::uint32_t slot, const bytes &image) const
	{
		bytes found(image.size());
		return plat_mtd_read_buf(path, slot * 4 * block, found.data(), found.size()) == 0 && found == image;
	}

	// As flash-slot does it.
	int install()
	{
		const std::uint32_t slot = 1;
		if (choice() == slot)
			return 0;
		if (const int exit = write_range(board, new_image, slot * 4 * block, block, false))
			return exit;
		if (!is_whole(slot, new_image))
			return 7;
		const std::uint32_t older = record_at(0) < record_at(1) ? 0 : 1;
		const std::uint32_t latest = std::max(record_at(0), record_at(1)).first;
		return write_range(board, record(latest + 1, slot), (8 + older) * block, std::nullopt, false);
	}

	// The other order: the choice, then its slot.
	int install_wrongly()
	{
		write_range(board, record(2, 1), 9 * block, std::nullopt, false);
		return write_range(board, new_image, 4 * block, block, false);
	}

	bool starts_a_whole_slot() const { return choice() ? is_whole(1, new_image) : is_whole(0, old_image); }

	std::size_t operations()
	{
		flash.power_on();
		EXPECT_EQ(install(), 0);
		return flash.operations().size();
	}

	const slot_board &one = GetParam();
	const std::uint32_t block = one.shape.block_size();
	const bytes old_image = make_image(3 * block + 5, block, 1), new_image = make_image(3 * block + block / 3, block, 2);
	strict_flash flash;
	board_flash board;
};

TEST_P(slot_cuts, leave_a_whole_slot_as_the_choice)
{
	const auto before = flash.now();
	std::array<std::size_t, 2> chosen = {};

	for (const auto &cut : cuts_of(operations(), one.shape)) {
		flash.set(before);
		flash.power_on(cut);
		EXPECT_THROW(install(), power_cut);
		flash.power_on();
		++chosen.at(choice());
		ASSERT_TRUE(starts_a_whole_slot()) << "cut in operation " << cut.operation << " after " << cut.pages_done << " pages";
		++g_counts.slots;
		int exit = install();
		for (int attempt = 0; exit != 0 && attempt < 2; ++attempt) { // a page that is read right once, or not at all
			ASSERT_TRUE(starts_a_whole_slot());
			erase_uncorrectable_blocks(flash, one.shape);
			exit = install();
		}
		ASSERT_EQ(exit, 0);
		ASSERT_EQ(choice(), 1u);
		ASSERT_TRUE(starts_a_whole_slot());
	}
	EXPECT_GT(chosen[0], 0u);
	EXPECT_GT(chosen[1], 0u) << "of a record that was programmed to its end";
}

// The judge, and what the order is for.
TEST_P(slot_cuts, of_an_installation_that_chooses_first_leave_none)
{
	const auto before = flash.now();
	std::size_t none = 0;

	for (const auto &cut : cuts_of(operations(), one.shape)) {
		flash.set(before);
		flash.power_on(cut);
		try {
			install_wrongly();
		} catch (const power_cut &) {
		}
		flash.power_on();
		none += !starts_a_whole_slot();
	}
	EXPECT_GT(none, 0u);
}

INSTANTIATE_TEST_SUITE_P(of, slot_cuts,
			 testing::Values(slot_board{"nand", {.page_size = 16, .pages = 4, .blocks = 10, .has_ecc = true}},
					 slot_board{"nor", {.page_size = 1, .pages = 16, .blocks = 10, .has_ecc = false}}),
			 [](const auto &row) { return row.param.name; });

INSTANTIATE_TEST_SUITE_P(small, update_cuts, testing::ValuesIn(small_updates()), name_of);
INSTANTIATE_TEST_SUITE_P(large, update_cuts, testing::ValuesIn(large_updates()), name_of);
INSTANTIATE_TEST_SUITE_P(small, update_cuts_twice, testing::ValuesIn(small_updates()), name_of);

} // namespace

} // namespace powercut
