// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Several programs at once on the control device.
#include <atomic>
#include <thread>

#include "ioctl_words.hpp"

namespace conformance {
namespace {

constexpr int rounds = 40;

class ioctl_concurrency : public on_three_partitions {
protected:
	// Runs the jobs side by side; each gives the number of results that it did not expect.
	static void run(const std::vector<std::function<int()>> &jobs)
	{
		std::atomic<int> unexpected = 0;
		std::vector<std::thread> threads;
		for (const auto &job : jobs)
			threads.emplace_back([&unexpected, &job] { unexpected += job(); });
		for (std::thread &thread : threads)
			thread.join();
		EXPECT_EQ(unexpected, 0);
	}
};

// A request that can be made again and again without new memory of the program.
class request {
public:
	request(uint32_t command, const char *name, uint32_t offset, uint32_t len)
		: command_(command), data_(len, 0), record_(io_record(name, offset, len, data_.address()))
	{
	}

	uint32_t operator()() const { return harness::ioctl(command_, record_.address()).code(); }
	void fill(uint8_t value) const { std::memset(reinterpret_cast<void *>(data_.address()), value, data_.size()); }
	bytes data() const { return data_.content(); }

private:
	uint32_t command_;
	user_bytes data_;
	user_bytes record_;
};

TEST_F(ioctl_concurrency, two_writers_of_one_partition_lose_no_update)
{
	// Neighbours in one erase block: each write carries the other's bytes in its image.
	const request low(mtd_write_command, "listed", 0x1000, 0x80), high(mtd_write_command, "listed", 0x1080, 0x80);
	const request low_back(mtd_read_command, "listed", 0x1000, 0x80), high_back(mtd_read_command, "listed", 0x1080, 0x80);
	const auto writer = [](const request &write, const request &read) {
		return [&] {
			int unexpected = 0;
			for (int round = 1; round <= rounds; ++round) {
				write.fill(static_cast<uint8_t>(round));
				unexpected += write() != 0;
				unexpected += read() != 0;
				unexpected += read.data() != bytes(0x80, static_cast<uint8_t>(round));
			}
			return unexpected;
		};
	};
	run({writer(low, low_back), writer(high, high_back)});
	expect_changed(listed, 0x1000, bytes(0x100, rounds));
}

TEST_F(ioctl_concurrency, a_reader_sees_a_write_whole_or_not_at_all)
{
	const request write(mtd_write_command, "listed", 0xFF80, 0x100), read(mtd_read_command, "listed", 0xFF80, 0x100);
	write.fill(1);
	ASSERT_EQ(write(), 0u);
	run({[&] {
		     int unexpected = 0;
		     for (int round = 1; round <= rounds; ++round) {
			     write.fill(static_cast<uint8_t>(round));
			     unexpected += write() != 0;
		     }
		     return unexpected;
	     },
	     [&] {
		     int unexpected = 0;
		     for (int round = 1; round <= rounds; ++round) {
			     unexpected += read() != 0;
			     const bytes seen = read.data();
			     unexpected += seen != bytes(0x100, seen.front());
		     }
		     return unexpected;
	     }});
	expect_changed(listed, 0xFF80, bytes(0x100, rounds));
}

TEST_F(ioctl_concurrency, two_partitions_are_written_side_by_side)
{
	const int whole = add({.name = "whole", .size = 0x40000});
	const request one(mtd_write_command, "listed", 0x10, 0x20), other(mtd_write_command, "whole", 0x3FFE0, 0x20);
	const auto writer = [](const request &write) {
		return [&] {
			int unexpected = 0;
			for (int round = 1; round <= rounds; ++round) {
				write.fill(static_cast<uint8_t>(round));
				unexpected += write() != 0;
			}
			return unexpected;
		};
	};
	run({writer(one), writer(other)});
	expect_changed(listed, 0x10, bytes(0x20, rounds));
	expect_changed(whole, 0x3FFE0, bytes(0x20, rounds));
}

TEST_F(ioctl_concurrency, queries_run_beside_transfers)
{
	const request write(mtd_write_command, "listed", 0, 0x40);
	const user_bytes statistics(7172);
	const auto asker = [&] {
		int unexpected = 0;
		for (int round = 0; round < rounds; ++round)
			unexpected += harness::ioctl(get_mtd_statistics, statistics.address()).code() != 0;
		return unexpected;
	};
	run({[&] {
		     int unexpected = 0;
		     for (int round = 1; round <= rounds; ++round) {
			     write.fill(static_cast<uint8_t>(round));
			     unexpected += write() != 0;
		     }
		     return unexpected;
	     },
	     asker});
	EXPECT_EQ(u32_at(statistics.content(), 0), 3u);
	expect_changed(listed, 0, bytes(0x40, rounds));
}

TEST_F(ioctl_concurrency, holds_nothing_at_the_end)
{
	const harness::holdings before = harness::held();
	const request one(mtd_read_command, "listed", 0, 0x40), other(mtd_read_command, "listed", 0x100, 0x40);
	const auto reader = [](const request &read) {
		return [&] {
			int unexpected = 0;
			for (int round = 0; round < rounds; ++round)
				unexpected += read() != 0;
			return unexpected;
		};
	};
	run({reader(one), reader(other)});
	EXPECT_EQ(harness::held(), before);
}

} // namespace
} // namespace conformance
