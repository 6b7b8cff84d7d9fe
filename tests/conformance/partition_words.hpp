// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Words for cases about partitions: devices with known content, transfers by name.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>

#include "case.hpp"

namespace conformance {

// Errors as forced results.
inline constexpr long long error_io = -5, error_no_device = -19, error_invalid = -22, error_last = -4095;

// The names of the calls seen so far, messages included.
inline call_list call_names()
{
	call_list names = harness::calls();
	for (std::string &call : names)
		call.erase(call.find('('));
	return names;
}

inline long times_called(std::string_view name)
{
	const call_list names = call_names();
	return std::count(names.begin(), names.end(), name);
}

// The seen calls of one name, with their arguments.
inline call_list calls_of(std::string_view name)
{
	call_list kept = harness::calls();
	std::erase_if(kept, [&](const std::string &call) { return call.substr(0, call.find('(')) != name; });
	return kept;
}

inline std::string hexadecimal(uint32_t value)
{
	char text[16];
	std::snprintf(text, sizeof(text), "0x%x", value);
	return text;
}

inline std::string decimal(uint64_t value)
{
	return std::to_string(value);
}

// A letter-and-digit name for a case that stands for a number.
inline std::string as_case_name(long long value)
{
	return (value < 0 ? "minus_" : "") + std::to_string(value < 0 ? -value : value);
}

inline uint32_t u32_at(const bytes &record, std::size_t offset)
{
	uint32_t value = 0;
	for (std::size_t i = 0; i < sizeof(value); ++i)
		value |= static_cast<uint32_t>(record.at(offset + i)) << (8 * i);
	return value;
}

inline uint64_t u64_at(const bytes &record, std::size_t offset)
{
	return u32_at(record, offset) | static_cast<uint64_t>(u32_at(record, offset + 4)) << 32;
}

// The names too long, too short or missing, and the longest that is good.
inline constexpr const char *name_of_31 = "abcdefghijklmnopqrstuvwxyz01234";
inline constexpr const char *name_of_32 = "abcdefghijklmnopqrstuvwxyz012345";

// Messages about a name that cannot be one, that no device has, and about a user-data partition that is not there.
inline const log_line bad_mtd_name = own_log(ordinary, "mtd getinfo: input argument are invalid");
inline const log_line no_mtd_device = own_log(trace, "mtd getinfo: info not found");
inline const log_line no_part_num = own_log(serious, "Failed to get nand part num, (ret=4294967295)\n");

inline log_line no_usrdata(const std::string &name)
{
	return own_log(serious, "Failed to get " + name + " MTD information.\n");
}

// A loaded module on the board "transfers"; a case adds the devices that it needs, whose content is known.
class on_partitions : public on_loaded_module {
protected:
	static constexpr uint32_t nor_size = 0x20000, nand_size = 0x40000;
	// Numbers of the devices that the fixtures below add.
	static constexpr int nor = 0, nand = 1, listed = 2;

	virtual const char *configuration() const { return "transfers"; }

	void prepare() override { harness::configure(configuration()); }

	void add_nor() { add({.name = "nor", .size = nor_size, .type = harness::mtd_nor, .index = nor}); }
	void add_nand() { add({.name = "nand", .size = nand_size, .type = harness::mtd_nand, .index = nand}); }
	void add_listed() { add({.name = "listed", .size = nand_size, .type = harness::mtd_nand, .index = listed}); }

	// Adds a device, from number 3 on if it does not ask for one; its first bytes, all of them on a small one, follow a pattern of its
	// own.
	int add(mtd_spec spec)
	{
		if (!spec.index)
			spec.index = next_++;
		const int index = harness::add_mtd(spec);
		const auto known = static_cast<std::size_t>(std::min<uint64_t>(spec.size, most_known));
		content_[index] = pattern(known, static_cast<uint32_t>(index) + 11);
		harness::set_mtd_content(index, 0, content_[index]);
		return index;
	}

	// What the device held when it was added.
	bytes original(int index, std::size_t offset, std::size_t length) const
	{
		const auto start = content_.at(index).begin() + static_cast<std::ptrdiff_t>(offset);
		return {start, start + static_cast<std::ptrdiff_t>(length)};
	}

	void expect_unchanged(int index) const
	{
		const bytes &known = content_.at(index);
		EXPECT_TRUE(harness::mtd_content(index, 0, known.size()) == known) << "mtd" << index << " was changed";
	}

	// The device holds `data` at `offset` and everywhere else what it held at first.
	void expect_changed(int index, std::size_t offset, const bytes &data) const
	{
		bytes expected = content_.at(index);
		std::copy(data.begin(), data.end(), expected.begin() + static_cast<std::ptrdiff_t>(offset));
		EXPECT_TRUE(harness::mtd_content(index, 0, expected.size()) == expected)
			<< "mtd" << index << " does not hold what was written";
	}

private:
	static constexpr uint64_t most_known = 0x80000;
	int next_ = 3;
	std::map<int, bytes> content_;
};

// With a partition that is not NAND.
class on_nor : public on_partitions {
protected:
	void prepare() override
	{
		on_partitions::prepare();
		add_nor();
	}
};

// With a NAND partition that the board does not list.
class on_nand : public on_partitions {
protected:
	void prepare() override
	{
		on_partitions::prepare();
		add_nand();
	}
};

// With a NAND partition that the board lists.
class on_listed : public on_partitions {
protected:
	void prepare() override
	{
		on_partitions::prepare();
		add_listed();
	}
};

// With all three.
class on_three_partitions : public on_partitions {
protected:
	void prepare() override
	{
		on_partitions::prepare();
		add_nor();
		add_nand();
		add_listed();
	}
};

inline uint32_t mtd_read(harness::argument name, uint32_t offset, bytes *buf, uint32_t len)
{
	return harness::call("drv_flash_mtd_read", {std::move(name), offset, buf, len});
}

inline uint32_t mtd_write(harness::argument name, uint32_t offset, bytes buf, uint32_t len)
{
	return harness::call("drv_flash_mtd_write", {std::move(name), offset, &buf, len});
}

// The two exported transfers, for what they have in common.
enum class direction { read, write };

inline std::string as_case_name(direction way)
{
	return way == direction::read ? "read" : "write";
}

inline uint32_t transfer(direction way, harness::argument name, uint32_t offset, bytes *buf, uint32_t len)
{
	return harness::call(way == direction::read ? "drv_flash_mtd_read" : "drv_flash_mtd_write", {std::move(name), offset, buf, len});
}

// A failed call of `function` makes `operation` fail; whichever of its calls it was, nothing stays held and the next try succeeds.
// `check` looks at the board after each try, with whether it succeeded.
inline void sweep_failures(
	std::string_view function, long long result, const std::function<uint32_t()> &operation,
	const std::function<void(bool)> &check = [](bool) {})
{
	const harness::holdings before = harness::held();
	for (unsigned nth = 1;; ++nth) {
		SCOPED_TRACE(testing::Message() << function << " call " << nth << " gives " << result);
		ASSERT_LT(nth, 1000u);
		const unsigned hit = harness::faults_hit();
		harness::fail(function, result, nth);
		const uint32_t code = operation();
		if (harness::faults_hit() == hit) {
			EXPECT_GT(nth, 1u) << "the operation never makes this call";
			EXPECT_EQ(code, 0u);
			return;
		}
		EXPECT_NE(code, 0u);
		EXPECT_EQ(harness::held(), before);
		check(false);
		EXPECT_EQ(operation(), 0u) << "the next try";
		EXPECT_EQ(harness::held(), before);
		check(true);
	}
}

} // namespace conformance
