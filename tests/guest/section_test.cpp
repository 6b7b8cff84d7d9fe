// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Waiting for an instance's sections, which only a real kernel can interrupt.
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

#include "lab_device.hpp"
#include "parts.hpp"
#include "processes.hpp"
#include "section_words.hpp"

namespace {

using namespace conformance;

constexpr uint32_t address = 0x1000; // where the section begins
constexpr uint32_t length = 16;

// A reader that stops in the middle of its transfer, with the semaphore of its instance, until it is let go.
class stopped_reader {
public:
	stopped_reader()
	{
		lab_fault stop = {};
		guest::set_name(stop.function, "kernel_read");
		stop.kind = LAB_WAIT;
		stop.nth = 1;
		guest::arm(stop, "a reader that stops");
		reader_ = std::thread([this] { code_ = section_read(default_instance, one, address, &data_, length); });
	}
	~stopped_reader() { let_go(); }
	stopped_reader(const stopped_reader &) = delete;
	stopped_reader &operator=(const stopped_reader &) = delete;

	// The code of its transfer.
	uint32_t let_go()
	{
		guest::lab(LAB_FAULT_CLEAR, nullptr, "let the reader go");
		if (reader_.joinable())
			reader_.join();
		return code_;
	}

	const bytes &data() const { return data_; }

private:
	uint32_t code_ = failed;
	bytes data_ = bytes(length);
	std::thread reader_;
};

// A transfer whose record lies in memory that a child shares, so that its result is seen although the child is dead.
class shared_transfer {
public:
	explicit shared_transfer(direction way)
	{
		void *const memory = mmap(nullptr, sizeof(content), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
		if (memory == MAP_FAILED)
			throw std::runtime_error(std::string("no shared memory: ") + std::strerror(errno));
		shared_ = static_cast<content *>(memory);
		guest::set_name(shared_->call.function, by(way, "drv_flash_read", "drv_flash_write"));
		for (uint64_t value : {uint64_t(default_instance), uint64_t(one), uint64_t(address), uint64_t(0), uint64_t(length)})
			shared_->call.arguments[shared_->call.count++].value = value;
		shared_->call.arguments[3] = {CALL_MEMORY, 0, reinterpret_cast<uint64_t>(shared_->data), length};
	}
	~shared_transfer() { munmap(shared_, sizeof(content)); }
	shared_transfer(const shared_transfer &) = delete;
	shared_transfer &operator=(const shared_transfer &) = delete;

	void start() const { guest::lab(LAB_CALL, &shared_->call, "a transfer"); }
	uint32_t code() const { return static_cast<uint32_t>(shared_->call.result); }
	bool untouched() const { return bytes(shared_->data, shared_->data + length) == bytes(length); }

private:
	struct content {
		lab_call call;
		uint8_t data[length];
	};
	content *shared_;
};

class board_section_waiter : public on_sections, public testing::WithParamInterface<direction> {};

TEST_P(board_section_waiter, that_is_killed_opens_nothing)
{
	const harness::holdings at_rest = harness::held();
	const shared_transfer transfer(GetParam());
	stopped_reader holder;
	EXPECT_TRUE(guest::comes_true([] { return called("kernel_read"); }));
	guest::endless_process waiter([&] { transfer.start(); });
	EXPECT_TRUE(guest::comes_true([] { return times_called("down_killable") == 2; }));
	usleep(100000);
	EXPECT_EQ(transfer.code(), 0u) << "it does not wait";
	waiter.end();

	EXPECT_EQ(transfer.code(), interrupted);
	EXPECT_TRUE(transfer.untouched());
	EXPECT_EQ(times_called("filp_open"), 1) << "the holder's alone";
	EXPECT_FALSE(called("up"));
	EXPECT_EQ(harness::log(), log_lines{interrupted_said(GetParam(), -EINTR)});

	EXPECT_EQ(holder.let_go(), 0u);
	EXPECT_EQ(holder.data(), original(nor, 0, length));
	EXPECT_EQ(harness::held(), at_rest);
	expect_unchanged(nor);
}

TEST_P(board_section_waiter, that_is_killed_leaves_the_section_to_others)
{
	const shared_transfer transfer(GetParam());
	{
		stopped_reader holder;
		EXPECT_TRUE(guest::comes_true([] { return called("kernel_read"); }));
		guest::endless_process waiter([&] { transfer.start(); });
		EXPECT_TRUE(guest::comes_true([] { return times_called("down_killable") == 2; }));
	}
	bytes data(length);
	EXPECT_EQ(section_transfer(GetParam(), default_instance, one, address, &data, length), 0u);
}

INSTANTIATE_TEST_SUITE_P(to, board_section_waiter, testing::Values(direction::read, direction::write),
			 [](const auto &row) { return as_case_name(row.param); });

} // namespace
