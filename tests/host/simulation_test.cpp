// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The simulation's own tests: that it is as strict as it says, and that its answers are Linux's.
#include <gtest/gtest.h>

#include <fcntl.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <numeric>
#include <thread>

#include "../../reference_platform/include/platform_status.h"
#include "kernel/device.h"
#include "kernel/file.h"
#include "kernel/list.h"
#include "kernel/lock.h"
#include "kernel/memory.h"
#include "kernel/mtd.h"
#include "kernel/user_copy.h"
#include "platform/board_capability.h"
#include "platform/bounded.h"
#include "platform/flash_buffer.h"
#include "platform/instance.h"
#include "platform/log.h"
#include "platform/xml.h"
#include "simulation.hpp"

namespace {

using simulation::kernel_address;
using texts = std::vector<std::string>;

constexpr u32 instance = 0xffffffff;
constexpr char module[] = "flash_mng";

class simulation_test : public testing::Test {
protected:
	simulation_test()
	{
		testing::FLAGS_gtest_death_test_style = "threadsafe";
		simulation::reset();
		simulation::configure("../../host/boards/simulation");
	}
	~simulation_test() override { simulation::reset(); }

	static harness::bytes counted(std::size_t size)
	{
		harness::bytes content(size);
		std::iota(content.begin(), content.end(), std::uint8_t(1));
		return content;
	}
};

using simulation_death_test = simulation_test;
using trace_test = simulation_test;
using fault_test = simulation_test;
using memory_test = simulation_test;
using memory_death_test = simulation_test;
using lock_test = simulation_test;
using lock_death_test = simulation_test;
using mtd_test = simulation_test;
using mtd_death_test = simulation_test;
using file_test = simulation_test;
using file_death_test = simulation_test;
using user_copy_test = simulation_test;
using user_copy_death_test = simulation_test;
using flash_buffer_test = simulation_test;
using bounded_test = simulation_test;
using log_test = simulation_test;
using log_death_test = simulation_test;
using xml_test = simulation_test;
using xml_death_test = simulation_test;
using instance_test = simulation_test;
using list_test = simulation_test;
using list_death_test = simulation_test;
using device_death_test = simulation_test;

// ---------------------------------------------------------------------------------------------------------------- trace and faults

TEST_F(trace_test, renders_each_kind_of_argument)
{
	put_mtd_device(get_mtd_device(nullptr, simulation::add_mtd({.name = "a"})));
	kfree(linux_kcalloc(3, 16));
	filp_open("/dev/none", 0x101002, 0);
	drv_log_register(27, "flash_mng", 8192);
	drv_log_record(27, 2, 0, "text %u", 5);
	log_module_init_end("flash_mng", 1234, 0x811b04aa, nullptr);
	drv_board_get_bom_value(instance, 1, nullptr);

	EXPECT_EQ(simulation::calls(),
		  (texts{"get_mtd_device(-, 0)", "put_mtd_device(-)", "linux_kcalloc(3, 16)", "kfree(-)",
			 "filp_open(\"/dev/none\", 0x101002, 0x0)", "drv_log_register(27, \"flash_mng\", 8192)",
			 "drv_log_record(27, 2, 0, \"text %u\")", "log_module_init_end(\"flash_mng\", -, 0x811b04aa, null)",
			 "drv_board_get_bom_value(0xffffffff, 0x1, -)"}));
}

TEST_F(trace_test, renders_negative_int_and_wide_numbers)
{
	get_mtd_device(nullptr, -1);
	vzalloc(0xffffffffffffffff);
	EXPECT_EQ(simulation::calls(), (texts{"get_mtd_device(-, -1)", "vzalloc(18446744073709551615)"}));
}

TEST_F(trace_test, forgets)
{
	kfree(nullptr);
	simulation::forget_calls();
	EXPECT_EQ(simulation::calls(), texts{});
}

TEST_F(fault_test, strikes_the_nth_call_only)
{
	simulation::arm("misc_register", -16, 2, false);
	EXPECT_EQ(misc_register(&misc_dev), 0);
	misc_deregister(&misc_dev);
	EXPECT_EQ(misc_register(&misc_dev), -16);
	EXPECT_FALSE(simulation::device_registered());
	EXPECT_EQ(misc_register(&misc_dev), 0);
	EXPECT_EQ(simulation::faults_hit(), 1u);
}

TEST_F(fault_test, sticky_strikes_every_call_from_the_nth)
{
	simulation::arm("linux_kzalloc", 0, 2, true);
	void *first = linux_kzalloc(8);
	EXPECT_NE(first, nullptr);
	EXPECT_EQ(linux_kzalloc(8), nullptr);
	EXPECT_EQ(linux_kzalloc(8), nullptr);
	EXPECT_EQ(simulation::faults_hit(), 1u);
	kfree(first);
}

TEST_F(fault_test, two_faults_of_one_function_count_alike)
{
	simulation::arm("drv_log_register", 7, 1, false);
	simulation::arm("drv_log_register", 8, 2, false);
	EXPECT_EQ(drv_log_register(1, "a", 1), 7u);
	EXPECT_EQ(drv_log_register(1, "a", 1), 8u);
	EXPECT_EQ(drv_log_register(1, "a", 1), 0u);
	EXPECT_EQ(simulation::faults_hit(), 2u);
}

TEST_F(fault_test, gives_error_pointers)
{
	simulation::arm("get_mtd_device_nm", -12, 1, false);
	EXPECT_EQ(reinterpret_cast<long>(get_mtd_device_nm("any")), -12);
}

TEST_F(fault_test, a_struck_call_is_traced_and_does_nothing)
{
	void *memory = linux_kzalloc(8);
	simulation::forget_calls();
	simulation::arm("kfree", 0, 1, false);
	kfree(memory);
	EXPECT_EQ(simulation::calls(), texts{"kfree(-)"});
	EXPECT_EQ(simulation::heap_allocations(), 1);
	kfree(memory);
}

TEST_F(fault_test, a_forged_call_stores_its_content_and_does_nothing_else)
{
	u32 parent = 1, card = 2;
	const harness::bytes forged = {9, 8, 7, 6};
	simulation::forge("drv_common_parse_parent_id_card_id", 5, 2, forged, 2);
	EXPECT_EQ(drv_common_parse_parent_id_card_id(77, &parent, &card), INSTANCE_UNKNOWN);
	EXPECT_EQ(card, 2u);
	EXPECT_EQ(drv_common_parse_parent_id_card_id(77, &parent, &card), 5u);
	EXPECT_EQ(card, 0x06070809u);
	EXPECT_EQ(parent, 1u);
	EXPECT_EQ(drv_common_parse_parent_id_card_id(77, &parent, &card), INSTANCE_UNKNOWN);
}

TEST_F(fault_test, a_stopped_call_waits_and_its_faults_are_disarmed)
{
	simulation::stop_call("vmalloc", 1);
	simulation::arm("vzalloc", 0, 1, true);
	std::atomic<bool> over = false;
	std::thread caller([&over] {
		vfree(vmalloc(1));
		over = true;
	});
	while (simulation::calls().empty())
		std::this_thread::yield();
	std::this_thread::sleep_for(std::chrono::milliseconds(20));
	EXPECT_FALSE(over);
	simulation::let_calls_go();
	caller.join();
	EXPECT_TRUE(over);
	void *memory = vzalloc(1);
	EXPECT_NE(memory, nullptr);
	vfree(memory);
}

TEST_F(fault_test, not_hit_is_not_counted)
{
	simulation::arm("vmalloc", 0, 5, false);
	vfree(vmalloc(1));
	EXPECT_EQ(simulation::faults_hit(), 0u);
}

TEST_F(simulation_death_test, refuses_faults_of_unknown_functions)
{
	EXPECT_DEATH(simulation::arm("no_such_call", 0, 1, false), "calls.def does not list");
	EXPECT_DEATH(simulation::arm("kfree", 0, 0, false), "the first call is 1");
}

// ---------------------------------------------------------------------------------------------------------------- memory

TEST_F(memory_test, zeroes_what_Linux_zeroes)
{
	auto *heap = static_cast<std::uint8_t *>(linux_kzalloc(64));
	auto *image = static_cast<std::uint8_t *>(vzalloc(64));
	auto *raw = static_cast<std::uint8_t *>(vmalloc(64));

	EXPECT_EQ(harness::bytes(heap, heap + 64), harness::bytes(64, 0));
	EXPECT_EQ(harness::bytes(image, image + 64), harness::bytes(64, 0));
	EXPECT_NE(harness::bytes(raw, raw + 64), harness::bytes(64, 0));
	EXPECT_EQ(simulation::heap_allocations(), 1);
	EXPECT_EQ(simulation::virtual_allocations(), 2);
	kfree(heap);
	vfree(image);
	vfree(raw);
	EXPECT_EQ(simulation::heap_allocations() + simulation::virtual_allocations(), 0);
}

TEST_F(memory_test, no_bytes_and_absurd_lengths)
{
	EXPECT_EQ(vzalloc(0), nullptr);
	EXPECT_EQ(vmalloc(0), nullptr);
	EXPECT_EQ(vzalloc(simulation::memory_limit + 1), nullptr);
	EXPECT_EQ(linux_kzalloc((std::size_t(4) << 20) + 1), nullptr);
	EXPECT_EQ(linux_kcalloc(std::size_t(1) << 40, std::size_t(1) << 40), nullptr);
	kfree(linux_kzalloc(0));
	kfree(nullptr);
	vfree(nullptr);
}

TEST_F(memory_test, the_limit_counts_what_is_live)
{
	void *half = vmalloc(simulation::memory_limit / 2 + 1);
	EXPECT_NE(half, nullptr);
	EXPECT_EQ(vmalloc(simulation::memory_limit / 2), nullptr);
	vfree(half);
	half = vmalloc(simulation::memory_limit / 2);
	EXPECT_NE(half, nullptr);
	vfree(half);
}

TEST_F(memory_death_test, refuses_a_second_free)
{
	void *memory = linux_kzalloc(8);
	kfree(memory);
	EXPECT_DEATH(kfree(memory), "freed twice");
}

TEST_F(memory_death_test, refuses_the_other_allocator)
{
	void *memory = linux_kzalloc(8);
	EXPECT_DEATH(vfree(memory), "other allocator");
	kfree(memory);
}

TEST_F(memory_death_test, refuses_an_address_inside)
{
	auto *memory = static_cast<char *>(linux_kzalloc(8));
	EXPECT_DEATH(kfree(memory + 1), "not the start");
	kfree(memory);
}

// ---------------------------------------------------------------------------------------------------------------- locks

TEST_F(lock_test, a_mutex_keeps_others_out)
{
	mutex lock;
	long sum = 0;
	auto add = [&] {
		for (int i = 0; i < 2000; ++i) {
			linux_mutex_lock(&lock);
			sum = sum + 1;
			mutex_unlock(&lock);
		}
	};

	linux_mutex_init(&lock, "lock");
	std::thread one(add), two(add);
	one.join();
	two.join();
	EXPECT_EQ(sum, 4000);
	EXPECT_EQ(simulation::locks_held(), 0);
}

TEST_F(lock_test, a_waiter_gets_the_semaphore_only_after_up)
{
	semaphore lock;
	std::atomic<bool> taken = false;

	linux_semaphore_init(&lock, 1);
	EXPECT_EQ(down_killable(&lock), 0);
	EXPECT_EQ(simulation::locks_held(), 1);
	std::thread waiter([&] {
		down_killable(&lock);
		taken = true;
		up(&lock);
	});
	std::this_thread::sleep_for(std::chrono::milliseconds(20));
	EXPECT_FALSE(taken);
	up(&lock);
	waiter.join();
	EXPECT_TRUE(taken);
}

TEST_F(lock_test, a_killed_waiter_gives_up)
{
	semaphore lock;

	linux_semaphore_init(&lock, 1);
	simulation::arm("down_killable", -EINTR, 1, false);
	EXPECT_EQ(down_killable(&lock), -EINTR);
	EXPECT_EQ(simulation::locks_held(), 0);
}

TEST_F(lock_death_test, refuses_what_breaks_the_rules)
{
	mutex one, two, never;

	linux_mutex_init(&one, "one");
	linux_mutex_init(&two, "two");
	EXPECT_DEATH(linux_mutex_lock(&never), "never initialised");
	EXPECT_DEATH(mutex_unlock(&one), "nobody holds");
	linux_mutex_lock(&one);
	EXPECT_DEATH(linux_mutex_lock(&one), "wait for itself");
	EXPECT_DEATH(linux_mutex_lock(&two), "no two locks");
	EXPECT_DEATH(linux_mutex_init(&one, "one"), "while it is held");
	mutex_unlock(&one);
	one.storage[3] = 0;
	EXPECT_DEATH(linux_mutex_lock(&one), "overwritten");
}

TEST_F(lock_death_test, refuses_release_by_another_thread)
{
	mutex lock;

	linux_mutex_init(&lock, "lock");
	linux_mutex_lock(&lock);
	EXPECT_DEATH(std::thread([&] { mutex_unlock(&lock); }).join(), "does not hold");
	mutex_unlock(&lock);
}

TEST_F(lock_death_test, refuses_more_ups_than_downs)
{
	semaphore lock;

	linux_semaphore_init(&lock, 1);
	EXPECT_DEATH(up(&lock), "nobody holds");
}

TEST_F(lock_death_test, refuses_to_free_a_held_lock)
{
	auto *lock = static_cast<mutex *>(linux_kzalloc(sizeof(mutex)));

	linux_mutex_init(lock, "lock");
	linux_mutex_lock(lock);
	EXPECT_DEATH(kfree(lock), "held mutex");
	mutex_unlock(lock);
	kfree(lock);
}

TEST_F(lock_death_test, forgets_locks_in_freed_memory)
{
	auto *lock = static_cast<mutex *>(linux_kzalloc(sizeof(mutex)));
	linux_mutex_init(lock, "lock");
	kfree(lock);
	EXPECT_DEATH(linux_mutex_lock(lock), "memory was freed");
}

// ---------------------------------------------------------------------------------------------------------------- MTD

TEST_F(mtd_test, finds_by_name_and_number)
{
	const int number =
		simulation::add_mtd({.name = "boot", .size = 0x20000, .type = 3, .erase_size = 0x10000, .partition_flags = 0x400});
	auto *mtd = get_mtd_device_nm("boot");

	EXPECT_EQ(get_mtd_device(nullptr, number), mtd);
	EXPECT_EQ(linux_mtd_size(mtd), 0x20000u);
	EXPECT_EQ(linux_mtd_index(mtd), static_cast<u32>(number));
	EXPECT_EQ(linux_mtd_type(mtd), 3u);
	EXPECT_EQ(simulation::mtd_use_count(number), 2);
	put_mtd_device(mtd);
	put_mtd_device(mtd);
	EXPECT_EQ(simulation::mtd_references(), 0);
}

TEST_F(mtd_test, describes_all_but_the_name_in_an_entry)
{
	const int number = simulation::add_mtd(
		{.name = "boot", .size = 0x20000, .type = 3, .erase_size = 0x10000, .partition_flags = 0x400, .index = 5});
	auto *mtd = get_mtd_device(nullptr, number);
	flash_mtd_stat_entry entry = {};

	entry.name[0] = 'k';
	EXPECT_STREQ(linux_mtd_describe(mtd, &entry), "boot");
	EXPECT_EQ(entry.size, 0x20000u);
	EXPECT_EQ(entry.index, 5u);
	EXPECT_EQ(entry.type, 3u);
	EXPECT_EQ(entry.erasesize, 0x10000u);
	EXPECT_EQ(entry.flags, 0x400u);
	EXPECT_STREQ(entry.name, "k");
	put_mtd_device(mtd);
}

TEST_F(mtd_test, absent_devices_are_error_pointers)
{
	EXPECT_EQ(reinterpret_cast<long>(get_mtd_device_nm("boot")), -ENODEV);
	EXPECT_EQ(reinterpret_cast<long>(get_mtd_device(nullptr, 0)), -ENODEV);
	EXPECT_EQ(reinterpret_cast<long>(get_mtd_device(nullptr, -1)), -ENODEV);
}

TEST_F(mtd_test, the_first_of_two_equal_names_is_found)
{
	simulation::add_mtd({.name = "same", .index = 4});
	simulation::add_mtd({.name = "same", .index = 2});
	auto *mtd = get_mtd_device_nm("same");
	EXPECT_EQ(linux_mtd_index(mtd), 2u);
	put_mtd_device(mtd);
}

TEST_F(mtd_test, takes_the_lowest_free_number)
{
	EXPECT_EQ(simulation::add_mtd({.name = "b", .index = 1}), 1);
	EXPECT_EQ(simulation::add_mtd({.name = "a"}), 0);
	EXPECT_EQ(simulation::add_mtd({.name = "c"}), 2);
	simulation::remove_mtd(0);
	EXPECT_EQ(simulation::add_mtd({.name = "d"}), 0);
}

TEST_F(mtd_test, huge_devices_are_sparse)
{
	const int number = simulation::add_mtd({.name = "huge", .size = std::uint64_t(8) << 30});
	const harness::bytes content{1, 2, 3};

	simulation::set_mtd_content(number, (std::uint64_t(8) << 30) - 3, content.data(), 3);
	EXPECT_EQ(simulation::mtd_content(number, (std::uint64_t(8) << 30) - 4, 4), (harness::bytes{0xff, 1, 2, 3}));
	EXPECT_EQ(simulation::mtd_count(number).writes, 0u);
}

TEST_F(mtd_test, a_nameless_device_behind_the_match_is_harmless)
{
	simulation::add_mtd({.name = "boot"});
	auto *mtd = get_mtd_device(nullptr, simulation::add_mtd({.name = "", .nameless = true}));
	flash_mtd_stat_entry entry = {};
	EXPECT_EQ(linux_mtd_describe(mtd, &entry), nullptr);
	put_mtd_device(mtd);
	put_mtd_device(get_mtd_device_nm("boot"));
}

TEST_F(mtd_death_test, a_nameless_device_before_the_match_is_an_oops)
{
	simulation::add_mtd({.name = "", .nameless = true});
	EXPECT_DEATH(get_mtd_device_nm("boot"), "no name");
}

TEST_F(mtd_death_test, refuses_unbalanced_references)
{
	const int number = simulation::add_mtd({.name = "boot"});
	auto *mtd = get_mtd_device_nm("boot");

	EXPECT_DEATH(simulation::remove_mtd(number), "while it is in use");
	put_mtd_device(mtd);
	EXPECT_DEATH(put_mtd_device(mtd), "holds no reference");
	EXPECT_DEATH(linux_mtd_size(mtd), "holds no reference");
	EXPECT_DEATH(put_mtd_device(reinterpret_cast<mtd_info *>(-19L)), "no MTD device");
}

// ---------------------------------------------------------------------------------------------------------------- files

TEST_F(file_test, reads_and_moves_its_own_position)
{
	const int number = simulation::add_mtd({.name = "nor", .type = harness::mtd_nor});
	const auto content = counted(8);
	harness::bytes read(4);

	simulation::set_mtd_content(number, 0x100, content.data(), content.size());
	auto *file = filp_open(("/dev/mtdblock" + std::to_string(number)).c_str(), 0, 0);
	EXPECT_EQ(vfs_llseek(file, 0x102, 0), 0x102);
	EXPECT_EQ(kernel_read(file, read.data(), 4, linux_file_position(file)), 4);
	EXPECT_EQ(read, (harness::bytes{3, 4, 5, 6}));
	EXPECT_EQ(*linux_file_position(file), 0x106);
	EXPECT_EQ(simulation::open_files(), 1);
	EXPECT_EQ(simulation::mtd_use_count(number), 1);
	EXPECT_EQ(filp_close(file, nullptr), 0);
	EXPECT_EQ(simulation::open_files(), 0);
	EXPECT_EQ(simulation::mtd_use_count(number), 1) << "until the task returns to user space";
	{
		const simulation::system_call around;
	}
	EXPECT_EQ(simulation::mtd_use_count(number), 0);
}

TEST_F(file_test, ends_where_the_device_ends)
{
	const int number = simulation::add_mtd({.name = "nor", .size = 0x10000, .type = harness::mtd_nor});
	harness::bytes data(8, 7);
	auto *file = filp_open("/dev/mtdblock0", 2, 0);

	EXPECT_EQ(vfs_llseek(file, 0x10001, 0), -EINVAL);
	EXPECT_EQ(vfs_llseek(file, -1, 0), -EINVAL);
	EXPECT_EQ(vfs_llseek(file, 0xfffe, 0), 0xfffe);
	EXPECT_EQ(kernel_read(file, data.data(), 8, linux_file_position(file)), 2);
	EXPECT_EQ(kernel_read(file, data.data(), 8, linux_file_position(file)), 0);
	EXPECT_EQ(kernel_write(file, data.data(), 8, linux_file_position(file)), -ENOSPC);
	EXPECT_EQ(kernel_write(file, data.data(), 0, linux_file_position(file)), 0);
	EXPECT_EQ(vfs_llseek(file, 0xfffe, 0), 0xfffe);
	EXPECT_EQ(kernel_write(file, data.data() + 2, 6, linux_file_position(file)), 2);
	EXPECT_EQ(vfs_fsync(file, 0), 0);
	EXPECT_EQ(simulation::mtd_content(number, 0xfffd, 3), (harness::bytes{0xff, 7, 7}));
	filp_close(file, nullptr);
}

// Two erase blocks of a NOR flash, and a write that covers their common edge.
class write_back_test : public simulation_test {
protected:
	static constexpr std::uint64_t place = 0xff8;
	static constexpr long length = 0x10;

	struct file *open_at_place(int flags)
	{
		auto *file = filp_open("/dev/mtdblock0", flags, 0);

		EXPECT_EQ(vfs_llseek(file, place, 0), static_cast<long long>(place));
		return file;
	}

	long write(struct file *file) const { return kernel_write(file, content.data(), length, linux_file_position(file)); }
	bool is_written() const { return simulation::mtd_content(number, place, length) == content; }
	bool is_blank(std::uint64_t offset) const { return simulation::mtd_content(number, offset, 1) == harness::bytes{0xff}; }

	// The system call ends, and with it what it has closed is released.
	static void close_and_return(struct file *file)
	{
		const simulation::system_call around;
		filp_close(file, nullptr);
	}

	const harness::bytes content = counted(length);
	const int number = simulation::add_mtd({.name = "nor", .type = harness::mtd_nor, .erase_size = 0x1000});
};

TEST_F(write_back_test, comes_with_the_flush)
{
	auto *file = open_at_place(O_RDWR);

	EXPECT_EQ(write(file), length);
	EXPECT_EQ(simulation::mtd_count(number).erases, 0u);
	EXPECT_EQ(simulation::mtd_content(number, place, length), harness::bytes(length, 0xff));
	EXPECT_EQ(vfs_fsync(file, 0), 0);
	EXPECT_TRUE(is_written());
	close_and_return(file);
	EXPECT_EQ(simulation::mtd_count(number).erases, 2u);
	EXPECT_EQ(simulation::mtd_count(number).writes, 2u);
}

TEST_F(write_back_test, comes_with_a_synchronous_write)
{
	auto *file = open_at_place(O_RDWR | O_SYNC);

	EXPECT_EQ(write(file), length);
	EXPECT_TRUE(is_written());
	close_and_return(file);
}

TEST_F(write_back_test, comes_with_the_last_close)
{
	auto *other = open_at_place(O_RDONLY), *file = open_at_place(O_RDWR);

	EXPECT_EQ(write(file), length);
	close_and_return(file);
	EXPECT_TRUE(is_blank(place));
	close_and_return(other);
	EXPECT_TRUE(is_written());
}

TEST_F(write_back_test, comes_with_the_end_of_the_thread)
{
	std::thread([&] {
		auto *file = open_at_place(O_RDWR);
		write(file);
		filp_close(file, nullptr);
		EXPECT_TRUE(is_blank(place));
	}).join();
	EXPECT_TRUE(is_written());
}

TEST_F(write_back_test, is_not_awaited_by_readers)
{
	auto *file = open_at_place(O_RDWR), *other = open_at_place(O_RDONLY);
	harness::bytes read(length);

	write(file);
	EXPECT_EQ(kernel_read(other, read.data(), length, linux_file_position(other)), length);
	EXPECT_EQ(read, content);
	EXPECT_TRUE(is_blank(place));
	close_and_return(file);
	close_and_return(other);
}

TEST_F(write_back_test, that_cannot_erase_fails_the_flush_and_leaves_the_flash)
{
	auto *file = open_at_place(O_RDWR);
	const harness::bytes old(0x1000, 0x33);

	simulation::set_mtd_content(number, 0, old.data(), old.size());
	simulation::fail_flash(number, harness::flash_operation::erase, 2);
	EXPECT_EQ(write(file), length);
	EXPECT_EQ(vfs_fsync(file, 0), -EIO);
	EXPECT_FALSE(is_blank(place)) << "the first block is written";
	EXPECT_TRUE(is_blank(0x1000)) << "the second is lost";
	EXPECT_EQ(vfs_fsync(file, 0), 0) << "an error is told once";
	close_and_return(file);
	EXPECT_TRUE(is_blank(0x1000));
}

TEST_F(write_back_test, that_cannot_program_leaves_the_block_erased)
{
	auto *file = open_at_place(O_RDWR);
	const harness::bytes old(0x1000, 0x33);

	simulation::set_mtd_content(number, 0x1000, old.data(), old.size());
	simulation::fail_flash(number, harness::flash_operation::write, 2);
	EXPECT_EQ(write(file), length);
	EXPECT_EQ(vfs_fsync(file, 0), -EIO);
	EXPECT_EQ(simulation::mtd_content(number, 0x1000, 0x1000), harness::bytes(0x1000, 0xff));
	close_and_return(file);
}

// mtdblock writes a block when the first page of the next one comes: the error is that page's.
TEST_F(write_back_test, that_fails_takes_the_next_page_with_it)
{
	auto *file = filp_open("/dev/mtdblock0", O_RDWR, 0);
	const harness::bytes old(0x3000, 0x33);

	simulation::set_mtd_content(number, 0, old.data(), old.size());
	simulation::fail_flash(number, harness::flash_operation::erase, 1);
	const harness::bytes fresh(0x3000, 0x44);
	EXPECT_EQ(kernel_write(file, fresh.data(), 0x3000, linux_file_position(file)), 0x3000);
	EXPECT_EQ(vfs_fsync(file, 0), -EIO);
	close_and_return(file);
	EXPECT_EQ(simulation::mtd_content(number, 0, 0x2000), harness::bytes(0x2000, 0x33));
	EXPECT_EQ(simulation::mtd_content(number, 0x2000, 0x1000), harness::bytes(0x1000, 0x44));
}

TEST_F(write_back_test, error_is_the_result_of_a_synchronous_write)
{
	auto *file = open_at_place(O_RDWR | O_SYNC);

	simulation::fail_flash(number, harness::flash_operation::erase, 1);
	EXPECT_EQ(write(file), -EIO);
	close_and_return(file);
}

TEST_F(write_back_test, error_of_the_last_close_is_told_to_nobody)
{
	auto *file = open_at_place(O_RDWR);

	write(file);
	simulation::fail_flash(number, harness::flash_operation::erase, 1);
	EXPECT_EQ(filp_close(file, nullptr), 0);
	{
		const simulation::system_call around;
	}
	EXPECT_EQ(simulation::mtd_count(number).erases, 0u);
	EXPECT_TRUE(is_blank(place));
}

TEST_F(write_back_test, of_ram_is_in_place)
{
	const int ram = simulation::add_mtd({.name = "ram", .type = harness::mtd_ram});
	auto *file = filp_open("/dev/mtdblock1", O_RDWR | O_SYNC, 0);

	EXPECT_EQ(write(file), length);
	EXPECT_EQ(simulation::mtd_content(ram, 0, length), content);
	EXPECT_EQ(simulation::mtd_count(ram).erases, 0u);
	close_and_return(file);
}

TEST_F(write_back_test, comes_before_the_device_goes)
{
	const simulation::system_call around;
	auto *file = open_at_place(O_RDWR);

	write(file);
	filp_close(file, nullptr);
	simulation::remove_mtd(number);
}

class block_number_test : public simulation_test {};

TEST_F(block_number_test, stays_taken_until_the_task_returns_to_user_space)
{
	const int number = simulation::add_mtd({.name = "nor", .type = harness::mtd_nor});
	{
		const simulation::system_call around;
		const simulation::system_call one_within_the_other;
		filp_close(filp_open("/dev/mtdblock0", O_RDONLY, 0), nullptr);
		simulation::remove_mtd(number);
		EXPECT_EQ(simulation::add_mtd({.name = "nor", .type = harness::mtd_nor}), number);
		EXPECT_EQ(reinterpret_cast<long>(filp_open("/dev/mtdblock0", O_RDONLY, 0)), -ENOENT);
		EXPECT_EQ(simulation::mtd_use_count(number), 0);
	}
	EXPECT_EQ(reinterpret_cast<long>(filp_open("/dev/mtdblock0", O_RDONLY, 0)), -ENOENT) << "it never gets one";
	simulation::remove_mtd(number);
	simulation::add_mtd({.name = "nor", .type = harness::mtd_nor});
	filp_close(filp_open("/dev/mtdblock0", O_RDONLY, 0), nullptr);
}

TEST_F(file_test, honours_the_open_mode)
{
	simulation::add_mtd({.name = "nor", .type = harness::mtd_nor});
	char byte = 0;
	auto *reader = filp_open("/dev/mtdblock0", 0, 0);
	auto *writer = filp_open("/dev/mtdblock0", 1, 0);

	EXPECT_EQ(kernel_write(reader, &byte, 1, linux_file_position(reader)), -EBADF);
	EXPECT_EQ(kernel_read(writer, &byte, 1, linux_file_position(writer)), -EINVAL);
	filp_close(reader, nullptr);
	filp_close(writer, nullptr);
}

TEST_F(file_test, unknown_paths_are_not_there)
{
	simulation::add_mtd({.name = "nor"});
	for (const char *path : {"/dev/mtdblock1", "/dev/mtdblock", "/dev/mtdblock0x", "/dev/mtd0", ""})
		EXPECT_EQ(reinterpret_cast<long>(filp_open(path, 0, 0)), -ENOENT) << path;
}

TEST_F(file_death_test, refuses_use_after_close)
{
	simulation::add_mtd({.name = "nor"});
	auto *file = filp_open("/dev/mtdblock0", 0, 0);
	long long position = 0;
	char byte;

	EXPECT_DEATH(kernel_read(file, &byte, 1, &position), "not the file's own");
	filp_close(file, nullptr);
	EXPECT_DEATH(filp_close(file, nullptr), "closed already");
	EXPECT_DEATH(vfs_llseek(file, 0, 0), "closed already");
	EXPECT_DEATH(filp_close(reinterpret_cast<struct file *>(-2L), nullptr), "error pointer");
}

TEST_F(file_death_test, refuses_a_task_that_is_exiting)
{
	simulation::add_mtd({.name = "nor"});
	const simulation::exiting_task exiting;
	EXPECT_DEATH(filp_open("/dev/mtdblock0", 0, 0), "current->fs is gone");
}

TEST_F(file_death_test, refuses_to_lose_the_device_of_an_open_file)
{
	const int number = simulation::add_mtd({.name = "nor"});
	auto *file = filp_open("/dev/mtdblock0", 0, 0);
	EXPECT_DEATH(simulation::remove_mtd(number), "while its block device is open");
	filp_close(file, nullptr);
}

TEST_F(flash_buffer_test, reports_what_the_flash_reports)
{
	const int number = simulation::add_mtd({.name = "nand", .erase_size = 0x1000});
	const auto content = counted(0x10);

	simulation::fail_flash(number, harness::flash_operation::erase, 1);
	EXPECT_EQ(plat_mtd_update_buf("/dev/mtd0", 0, content.data(), content.size()), FLASH_BUFFER_ERASE_FAILED);
	simulation::fail_flash(number, harness::flash_operation::write, 2);
	EXPECT_EQ(plat_mtd_update_buf("/dev/mtd0", 0xff8, content.data(), content.size()), FLASH_BUFFER_WRITE_FAILED);
	EXPECT_EQ(simulation::mtd_content(number, 0xff8, 0x10),
		  (harness::bytes{1, 2, 3, 4, 5, 6, 7, 8, 255, 255, 255, 255, 255, 255, 255, 255}));
	EXPECT_EQ(plat_mtd_update_buf("/dev/mtd0", 0xff8, content.data(), content.size()), 0u) << "the next try";
}

// ---------------------------------------------------------------------------------------------------------------- user copies

TEST_F(user_copy_test, copies_both_ways)
{
	const auto content = counted(16);
	harness::bytes back(16);
	auto *user = simulation::user_memory(16, harness::access::read_write);

	EXPECT_EQ(linux_copy_to_user(harness::user_address(user), content.data(), 16), 0u);
	EXPECT_EQ(harness::bytes(user, user + 16), content);
	EXPECT_EQ(linux_copy_from_user(back.data(), harness::user_address(user), 16), 0u);
	EXPECT_EQ(back, content);
}

TEST_F(user_copy_test, copies_of_records_are_copies_of_their_size)
{
	auto *user = simulation::user_memory(sizeof(flash_find_config_arg), harness::access::read_write);
	flash_find_config_arg query = {};
	flash_find_config_arg back = {};

	query.inst_id = 7;
	query.name = 9;
	EXPECT_EQ(linux_copy_config_query_to_user(harness::user_address(user), &query), 0u);
	EXPECT_EQ(linux_copy_config_query_from_user(&back, harness::user_address(user)), 0u);
	EXPECT_EQ(std::memcmp(&back, &query, sizeof(query)), 0);
	EXPECT_EQ(linux_copy_config_query_to_user(harness::user_address(user) + 16, &query), 16u);
	EXPECT_EQ(simulation::calls(), (std::vector<std::string>{"linux_copy_to_user(-, -, 56)", "linux_copy_from_user(-, -, 56)",
								 "linux_copy_to_user(-, -, 56)"}));
}

TEST_F(user_copy_test, stops_at_the_end_of_the_mapping)
{
	const auto content = counted(16);
	harness::bytes back(16, 0xee);
	auto *user = simulation::user_memory(10, harness::access::read_write);

	EXPECT_EQ(linux_copy_to_user(harness::user_address(user), content.data(), 16), 6u);
	EXPECT_EQ(harness::bytes(user, user + 10), counted(10));
	EXPECT_EQ(linux_copy_from_user(back.data(), harness::user_address(user), 16), 6u);
	auto expected = counted(10);
	expected.resize(16, 0);
	EXPECT_EQ(back, expected);
}

TEST_F(user_copy_test, spans_pages_until_the_first_forbidden_one)
{
	harness::bytes content(3 * 4096, 5);
	auto *user = simulation::user_memory(3 * 4096, harness::access::read_write);

	EXPECT_EQ(linux_copy_to_user(harness::user_address(user), content.data(), 3 * 4096), 0u);
	simulation::protect(user + 4096, 1, harness::access::read_only);
	EXPECT_EQ(linux_copy_to_user(harness::user_address(user) + 100, content.data(), 8192), 8192u - (4096 - 100));
	EXPECT_EQ(linux_copy_from_user(content.data(), harness::user_address(user), 3 * 4096), 0u);
	simulation::protect(user + 8192, 4096, harness::access::none);
	EXPECT_EQ(linux_copy_from_user(content.data(), harness::user_address(user), 3 * 4096), 4096u);
}

TEST_F(user_copy_test, refuses_what_is_no_user_memory)
{
	harness::bytes data(8, 0xee);

	for (std::uint64_t address : {kernel_address, simulation::unmapped_address, std::uint64_t(0), ~std::uint64_t(0),
				      (std::uint64_t(1) << 48) - 4, reinterpret_cast<std::uint64_t>(data.data())}) {
		EXPECT_EQ(linux_copy_to_user(address, data.data(), 8), 8u);
		harness::bytes read(8, 0xee);
		EXPECT_EQ(linux_copy_from_user(read.data(), address, 8), 8u);
		EXPECT_EQ(read, harness::bytes(8, 0));
	}
	EXPECT_EQ(linux_copy_from_user(data.data(), 0, 0), 0u);
}

TEST_F(user_copy_test, refuses_absurd_counts_untouched)
{
	auto *user = simulation::user_memory(16, harness::access::read_write);
	harness::bytes data(16, 0xee);

	EXPECT_EQ(linux_copy_to_user(harness::user_address(user), data.data(), 0x80000000), 0x80000000u);
	EXPECT_EQ(linux_copy_from_user(data.data(), harness::user_address(user), 0x80000000), 0x80000000u);
	EXPECT_EQ(data, harness::bytes(16, 0xee));
	EXPECT_EQ(user[0], 0);
}

TEST_F(user_copy_death_test, refuses_to_leave_a_kernel_object)
{
	auto *user = simulation::user_memory(32, harness::access::read_write);
	void *object = linux_kzalloc(16);

	EXPECT_DEATH(linux_copy_to_user(harness::user_address(user), object, 17), "leave a kernel object");
	EXPECT_DEATH(linux_copy_from_user(static_cast<char *>(object) + 8, harness::user_address(user), 9), "leave a kernel object");
	EXPECT_EQ(linux_copy_from_user(static_cast<char *>(object) + 8, harness::user_address(user), 8), 0u);
	kfree(object);
}

// ---------------------------------------------------------------------------------------------------------------- flash buffer service

TEST_F(flash_buffer_test, reads_what_it_wrote)
{
	const int number = simulation::add_mtd({.name = "data", .index = 11});
	const auto content = counted(100);
	harness::bytes read(100);

	EXPECT_EQ(plat_mtd_update_buf("/dev/mtd11", 0xfff0, content.data(), 100), 0u);
	EXPECT_EQ(plat_mtd_read_buf("/dev/mtd11", 0xfff0, read.data(), 100), 0u);
	EXPECT_EQ(read, content);
	EXPECT_EQ(simulation::mtd_count(number).erases, 2u);
	EXPECT_EQ(simulation::mtd_use_count(number), 0);
}

TEST_F(flash_buffer_test, leaves_blocks_alone_that_do_not_change)
{
	const int number = simulation::add_mtd({.name = "data", .erase_size = 0x1000});
	harness::bytes image(0x4000, 0xff);

	image[0x1234] = 0;
	EXPECT_EQ(plat_mtd_update_buf("/dev/mtd0", 0, image.data(), image.size()), 0u);
	EXPECT_EQ(simulation::mtd_count(number).erases, 1u);
	EXPECT_EQ(plat_mtd_update_buf("/dev/mtd0", 0, image.data(), image.size()), 0u);
	EXPECT_EQ(simulation::mtd_count(number).erases, 1u);
}

TEST_F(flash_buffer_test, says_why_it_refuses)
{
	simulation::add_mtd({.name = "data", .size = 0x10000});
	char byte = 0;

	EXPECT_EQ(plat_mtd_read_buf("/dev/mtd0", 0xffff, &byte, 1), 0u);
	EXPECT_EQ(plat_mtd_read_buf("/dev/mtd0", 0x10000, &byte, 1), FLASH_BUFFER_BEYOND_END);
	EXPECT_EQ(plat_mtd_update_buf("/dev/mtd0", 0, &byte, 0x10001), FLASH_BUFFER_BEYOND_END);
	EXPECT_EQ(plat_mtd_read_buf("/dev/mtd1", 0, &byte, 1), FLASH_BUFFER_NO_DEVICE);
	EXPECT_EQ(plat_mtd_read_buf("/dev/mtdblock0", 0, &byte, 1), FLASH_BUFFER_BAD_PATH);
	EXPECT_EQ(plat_mtd_read_buf("/dev/mtd00", 0, &byte, 1), FLASH_BUFFER_BAD_PATH);
	EXPECT_EQ(plat_mtd_read_buf("/dev/mtd", 0, &byte, 1), FLASH_BUFFER_BAD_PATH);
	EXPECT_EQ(plat_mtd_read_buf(nullptr, 0, &byte, 1), FLASH_BUFFER_BAD_ARGUMENT);
	EXPECT_EQ(plat_mtd_read_buf("/dev/mtd0", 0, nullptr, 1), FLASH_BUFFER_BAD_ARGUMENT);
}

// ---------------------------------------------------------------------------------------------------------------- bounded routines

TEST_F(bounded_test, copies_up_to_the_limit_and_not_beyond)
{
	char room[4] = "xyz";

	EXPECT_EQ(strcpy_s(room, 4, "abc"), 0);
	EXPECT_STREQ(room, "abc");
	EXPECT_EQ(strcpy_s(room, 4, "abcd"), BOUNDED_NO_ROOM);
	EXPECT_EQ(memcpy_s(room, 2, "12", 2), 0);
	EXPECT_EQ(memcpy_s(room, 2, "789", 3), BOUNDED_NO_ROOM);
	EXPECT_EQ(memcpy_s(room, 0, "7", 1), BOUNDED_BAD_ARGUMENT);
	EXPECT_EQ(memcpy_s(room, 4, nullptr, 1), BOUNDED_BAD_ARGUMENT);
	EXPECT_STREQ(room, "12c");
	EXPECT_EQ(memset_s(room, 4, 'q', 3), 0);
	EXPECT_EQ(memset_s(room, 4, 'r', 5), BOUNDED_NO_ROOM);
	EXPECT_STREQ(room, "qqq");
}

TEST_F(bounded_test, formats_what_fits)
{
	char room[8];

	EXPECT_EQ(sprintf_s(room, 8, "%s_%u", "attr", 12), 7);
	EXPECT_STREQ(room, "attr_12");
	EXPECT_EQ(sprintf_s(room, 8, "%s_%u", "attr", 123), -1);
	EXPECT_STREQ(room, "");
	EXPECT_EQ(snprintf_s(room, 8, 3, "%d", 123), 3);
	EXPECT_EQ(snprintf_s(room, 8, 3, "%d", 1234), -1);
}

// ---------------------------------------------------------------------------------------------------------------- log

TEST_F(log_test, keeps_messages_in_order)
{
	drv_log_register(27, "flash_mng", 8192);
	drv_log_record(0, 2, 0, "%s MODULE INIT BEGIN", "flash_mng");
	drv_log_record(27, 1, 0, "ends in a line feed\n");
	const char *volatile nobody = nullptr;
	drv_log_record(27, 3, 0, "name:%s", nobody);

	const std::vector<harness::log_line> expected{
		{0, 2, "flash_mng MODULE INIT BEGIN"}, {27, 1, "ends in a line feed\n"}, {27, 3, "name:(null)"}};
	EXPECT_EQ(simulation::log(), expected);
	simulation::forget_log();
	EXPECT_TRUE(simulation::log().empty());
}

TEST_F(log_test, writes_a_zero_as_the_kernel_does)
{
	drv_log_record(27, 1, 0, "%#x and %#x", 0, 0x1F);
	EXPECT_EQ(simulation::log().at(0).text, "0x0 and 0x1f");
}

TEST_F(log_test, registers_a_log_once)
{
	EXPECT_EQ(drv_log_register(27, "flash_mng", 8192), 0u);
	EXPECT_EQ(drv_log_register(27, "flash_mng", 8192), LOG_ALREADY_REGISTERED);
	EXPECT_EQ(drv_log_deregister(27), 0u);
	EXPECT_EQ(drv_log_register(27, "flash_mng", 8192), 0u);
	EXPECT_EQ(drv_log_register(0, "common", 1), LOG_BAD_ARGUMENT);
}

TEST_F(log_test, keeps_how_the_load_ended)
{
	EXPECT_FALSE(simulation::load_report());
	log_module_init_end("flash_mng", 0, 5, "why");
	ASSERT_TRUE(simulation::load_report());
	EXPECT_EQ(simulation::load_report()->result, 5u);
	EXPECT_EQ(simulation::load_report()->failure, "why");
}

TEST_F(log_death_test, refuses_to_deregister_twice)
{
	EXPECT_DEATH(drv_log_deregister(27), "not registered");
}

// ---------------------------------------------------------------------------------------------------------------- XML and instances

TEST_F(xml_test, counts_a_node_and_its_variants)
{
	u32 count = 99;

	EXPECT_EQ(xml_get_specified_node_num(instance, module, "attr", &count), 0u);
	EXPECT_EQ(count, 3u);
	EXPECT_EQ(xml_get_specified_node_num(instance, module, "mtd_info", &count), 0u);
	EXPECT_EQ(count, 0u);
	EXPECT_EQ(xml_get_specified_node_num(77, module, "attr", &count), XML_NO_INSTANCE);
}

TEST_F(xml_test, lists_entries_in_order)
{
	xml_entry_node *list = nullptr;
	u32 count = 0;

	ASSERT_EQ(xml_get_entry_list(instance, module, "attr", &list, &count), 0u);
	EXPECT_EQ(count, 2u);
	EXPECT_STREQ(list->entry->name, "section0");
	EXPECT_STREQ(list->next->entry->name, "section1");
	EXPECT_EQ(list->next->next, nullptr);
	EXPECT_EQ(xml_get_entry_list(instance, module, "attr_2", &list, &count), 0u);
	EXPECT_EQ(count, 0u);
	EXPECT_EQ(list, nullptr);
	EXPECT_EQ(xml_get_entry_list(instance, module, "attr_3", &list, &count), XML_NO_NODE);
}

TEST_F(xml_test, reads_attributes)
{
	xml_entry_node *list;
	u32 count, value = 99;
	char text[5] = "zzzz";

	xml_get_entry_list(instance, module, "attr", &list, &count);
	EXPECT_EQ(xml_get_attr_value_u32(list->entry, "offset", &value), 0u);
	EXPECT_EQ(value, 0x1000u);
	EXPECT_EQ(xml_get_attr_value_u32(list->entry, "size", &value), 0u);
	EXPECT_EQ(value, 4096u);
	for (const char *bad : {"section_id", "offset", "size"})
		EXPECT_EQ(xml_get_attr_value_u32(list->next->entry, bad, &value), XML_BAD_NUMBER) << bad;
	EXPECT_EQ(xml_get_attr_value_u32(list->entry, "none", &value), XML_NO_ATTRIBUTE);
	EXPECT_EQ(value, 4096u);
	EXPECT_EQ(xml_get_attr_string(list->entry, "mtd_name", text, 4), XML_TEXT_TOO_LONG);
	EXPECT_STREQ(text, "zzzz");
	EXPECT_EQ(xml_get_attr_string(list->entry, "mtd_name", text, 5), 0u);
	EXPECT_STREQ(text, "boot");
}

TEST_F(xml_test, lies_when_told_to)
{
	xml_entry_node *list;
	u32 count;

	simulation::lie_about_count(7, 2);
	simulation::lie_with_null_list(3);
	xml_get_entry_list(instance, module, "attr", &list, &count);
	EXPECT_EQ(count, 2u);
	xml_get_entry_list(instance, module, "attr", &list, &count);
	EXPECT_EQ(count, 7u);
	EXPECT_NE(list, nullptr);
	xml_get_entry_list(instance, module, "attr", &list, &count);
	EXPECT_EQ(count, 2u);
	EXPECT_EQ(list, nullptr);
	EXPECT_EQ(simulation::faults_hit(), 2u);
}

TEST_F(xml_test, reads_elements)
{
	u32 value = 0, exist = 9, count = 0;
	char text[8];

	EXPECT_EQ(xml_get_element_value_u32(instance, module, "spi_flash_info", "entry0", "flash_id", &value), 0u);
	EXPECT_EQ(value, 7u);
	EXPECT_EQ(xml_get_element_string(instance, module, "spi_flash_info", "entry0", "flash_name", text, 8), 0u);
	EXPECT_STREQ(text, "spi");
	EXPECT_EQ(xml_get_element_value_u32(instance, module, "spi_flash_info", "entry1", "flash_id", &value), XML_NO_ENTRY);
	EXPECT_EQ(xml_get_element_value_u32(instance, module, "spi_flash_info", "entry0", "none", &value), XML_NO_ELEMENT);
	EXPECT_TRUE(xml_is_element_exist(instance, module, "spi_flash_info", "entry0", "flash_id"));
	EXPECT_FALSE(xml_is_element_exist(instance, module, "none", "entry0", "flash_id"));
	EXPECT_EQ(xml_is_node_exist(77, module, "attr", &exist), 0u);
	EXPECT_EQ(exist, 0u);
	EXPECT_EQ(xml_get_entry_num(instance, module, "attr", &count), 0u);
	EXPECT_EQ(count, 2u);
}

TEST_F(xml_death_test, refuses_entries_of_another_configuration)
{
	xml_entry_node *list;
	u32 count, value;

	xml_get_entry_list(instance, module, "attr", &list, &count);
	auto *entry = list->entry;
	simulation::configure("../../host/boards/simulation");
	EXPECT_DEATH(xml_get_attr_value_u32(entry, "size", &value), "no entry of the selected configuration");
}

TEST_F(xml_death_test, names_a_missing_board_file)
{
	u32 count;

	simulation::configure("nowhere");
	EXPECT_DEATH(xml_get_specified_node_num(instance, module, "attr", &count), "nowhere.xml: File was not found");
}

TEST_F(instance_test, bom_value_of_instance_or_board)
{
	u32 bom = 0;

	EXPECT_EQ(drv_board_get_bom_value(instance, 0x100000, &bom), 0u);
	EXPECT_EQ(bom, 2u);
	EXPECT_EQ(drv_board_get_bom_value(5, 0x100000, &bom), 0u);
	EXPECT_EQ(bom, 9u);
	EXPECT_EQ(drv_board_get_bom_value(5, 1, &bom), CAPABILITY_UNKNOWN);
}

TEST_F(instance_test, parent_and_card)
{
	u32 parent = 1, card = 2;

	EXPECT_EQ(drv_common_parse_parent_id_card_id(instance, &parent, &card), INSTANCE_NO_PARENT);
	EXPECT_EQ(drv_common_parse_parent_id_card_id(77, &parent, &card), INSTANCE_UNKNOWN);
	EXPECT_EQ(parent, 1u);
	EXPECT_EQ(drv_common_parse_parent_id_card_id(5, &parent, &card), 0u);
	EXPECT_EQ(parent, 0xffffffffu);
	EXPECT_EQ(card, 3u);
}

TEST_F(instance_test, the_hard_lock_takes_only_the_values_that_the_board_states)
{
	simulation::configure("spi");
	hard_lock_request request{.operation = 720, .inst_id = 0x21, .lock_val = 0x5B, .reserved0 = 0, .reserved1 = 0};

	EXPECT_EQ(drv_hard_trylock(0x21, 0, &request), HARD_LOCK_BAD_VALUE);
	EXPECT_EQ(drv_hard_trylock(0x21, 3, &request), 0u);
	request.lock_val = 0x5A;
	EXPECT_EQ(drv_hard_trylock(0x21, 0, &request), 0u);
	EXPECT_EQ(drv_hard_unlock(0x21, 0, 0x21, 0xA6, 0), HARD_LOCK_BAD_VALUE);
	EXPECT_EQ(drv_hard_unlock(0x21, 0, 0x21, 0xA5, 0), 0u);
}

TEST_F(instance_test, the_hard_lock_is_held_once)
{
	hard_lock_request request{.operation = 720, .inst_id = 5, .lock_val = 1, .reserved0 = 0, .reserved1 = 0};

	EXPECT_EQ(drv_hard_unlock(5, 1, 5, 2, 0), HARD_LOCK_NOT_HELD);
	EXPECT_EQ(drv_hard_trylock(5, 1, &request), 0u);
	EXPECT_EQ(drv_hard_trylock(5, 1, &request), HARD_LOCK_BUSY);
	EXPECT_EQ(drv_hard_trylock(5, 2, &request), 0u);
	EXPECT_EQ(drv_hard_trylock(6, 1, &request), HARD_LOCK_BAD_REQUEST);
	EXPECT_EQ(drv_hard_unlock(5, 1, 6, 2, 0), HARD_LOCK_BAD_OWNER);
	EXPECT_EQ(drv_hard_unlock(5, 1, 5, 2, 0), 0u);
}

// ---------------------------------------------------------------------------------------------------------------- lists and the device

TEST_F(list_test, adds_at_the_tail_and_removes)
{
	list_head head{&head, &head}, one{}, two{};

	linux_list_add_tail(&one, &head);
	linux_list_add_tail(&two, &head);
	EXPECT_EQ(head.next, &one);
	EXPECT_EQ(one.next, &two);
	EXPECT_EQ(two.next, &head);
	linux_list_del(&one);
	EXPECT_EQ(head.next, &two);
	linux_list_del(&two);
	EXPECT_EQ(head.next, &head);
}

TEST_F(list_death_test, refuses_broken_links)
{
	list_head head{&head, &head}, one{}, never{};

	EXPECT_DEATH(linux_list_add_tail(&one, &never), "never initialised");
	linux_list_add_tail(&one, &head);
	EXPECT_DEATH(linux_list_add_tail(&one, &head), "in the list already");
	linux_list_del(&one);
	EXPECT_DEATH(linux_list_del(&one), "removed already");
}

TEST_F(device_death_test, refuses_to_register_twice)
{
	EXPECT_DEATH(misc_deregister(&misc_dev), "not registered");
	EXPECT_EQ(misc_register(&misc_dev), 0);
	EXPECT_DEATH(misc_register(&misc_dev), "registered already");
	misc_deregister(&misc_dev);
}

} // namespace
