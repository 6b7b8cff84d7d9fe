// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The laboratory itself: devices as strict as flash, calls seen and counted, faults forced, holdings counted, a flash driver.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <thread>

#include "lab_device.hpp"
#include "parts.hpp"
#include "processes.hpp"
#include "spi_words.hpp"

namespace {

using namespace conformance;
using harness::mtd_activity;

class lab_mtd : public on_board {
protected:
	static int on_device(unsigned long command, int index, uint64_t offset, bytes &content)
	{
		lab_mtd_bytes range = {};
		range.index = index;
		range.offset = offset;
		range.length = content.size();
		range.buffer = reinterpret_cast<uint64_t>(content.data());
		return guest::try_lab(command, &range);
	}

	static int program(int index, uint64_t offset, bytes content) { return on_device(LAB_MTD_WRITE, index, offset, content); }

	static int erase(int index, uint64_t offset, std::size_t length)
	{
		bytes nothing(length);
		return on_device(LAB_MTD_ERASE, index, offset, nothing);
	}
};

mtd_spec nand(std::string name = "nand")
{
	return {.name = std::move(name), .size = 0x40000, .type = harness::mtd_nand, .erase_size = 0x10000};
}

mtd_spec nor()
{
	return {.name = "nor", .size = 0x40000, .type = harness::mtd_nor, .erase_size = 0x10000};
}

TEST_F(lab_mtd, a_new_device_is_blank)
{
	const int index = harness::add_mtd(nand());
	EXPECT_EQ(harness::mtd_content(index, 0x3F000, 0x1000), bytes(0x1000, 0xFF));
	EXPECT_EQ(harness::mtd_use_count(index), 0);
}

TEST_F(lab_mtd, nand_takes_a_page_once_per_erase)
{
	const int index = harness::add_mtd(nand());
	const bytes page = pattern(2048);
	EXPECT_EQ(program(index, 2048, page), 0);
	EXPECT_EQ(program(index, 2048, page), EIO);
	EXPECT_EQ(erase(index, 0, 0x10000), 0);
	EXPECT_EQ(harness::mtd_content(index, 2048, 2048), bytes(2048, 0xFF));
	EXPECT_EQ(program(index, 2048, page), 0);
	EXPECT_EQ(harness::mtd_content(index, 2048, 2048), page);
}

TEST_F(lab_mtd, nand_refuses_parts_of_a_page)
{
	const int index = harness::add_mtd(nand());
	EXPECT_EQ(program(index, 1, pattern(2048)), EIO);
	EXPECT_EQ(program(index, 0, pattern(2047)), EIO);
	EXPECT_EQ(harness::mtd_content(index, 0, 4096), bytes(4096, 0xFF));
}

TEST_F(lab_mtd, an_erase_covers_whole_erase_blocks)
{
	const int index = harness::add_mtd(nand());
	EXPECT_EQ(erase(index, 0x800, 0x10000), EIO);
	EXPECT_EQ(erase(index, 0, 0x8000), EIO);
}

TEST_F(lab_mtd, nor_programming_only_clears_bits)
{
	const int index = harness::add_mtd(nor());
	EXPECT_EQ(program(index, 5, {0xF0}), 0);
	EXPECT_EQ(program(index, 5, {0x30}), 0);
	EXPECT_EQ(program(index, 5, {0x31}), EIO);
	EXPECT_EQ(harness::mtd_content(index, 4, 3), (bytes{0xFF, 0x30, 0xFF}));
}

TEST_F(lab_mtd, ram_takes_anything)
{
	const int index = harness::add_mtd({.name = "ram", .type = harness::mtd_ram});
	EXPECT_EQ(program(index, 3, {0x00}), 0);
	EXPECT_EQ(program(index, 3, {0xFF}), 0);
}

TEST_F(lab_mtd, content_set_behind_the_back_needs_an_erase_like_any_other)
{
	const int index = harness::add_mtd(nand());
	harness::set_mtd_content(index, 100, pattern(10));
	EXPECT_EQ(harness::mtd_content(index, 100, 10), pattern(10));
	EXPECT_EQ(program(index, 0, pattern(2048)), EIO);
	EXPECT_EQ(program(index, 2048, pattern(2048)), 0);
	EXPECT_EQ(harness::mtd_count(index).writes, 1u);
}

TEST_F(lab_mtd, erases_and_writes_are_counted)
{
	const int index = harness::add_mtd(nand());
	EXPECT_EQ(erase(index, 0, 0x20000), 0);
	EXPECT_EQ(program(index, 0, pattern(4096)), 0);
	EXPECT_EQ(program(index, 0, pattern(4096)), EIO);
	EXPECT_EQ(harness::mtd_count(index).erases, 2u);
	EXPECT_EQ(harness::mtd_count(index).writes, 1u);
}

TEST_F(lab_mtd, the_nth_erase_and_the_nth_write_fail_when_wanted)
{
	const int index = harness::add_mtd(nor());
	harness::fail_flash(index, harness::flash_operation::write, 2);
	EXPECT_EQ(program(index, 0, {0xF0}), 0);
	EXPECT_EQ(program(index, 1, {0xF0}), EIO);
	EXPECT_EQ(program(index, 1, {0xF1}), 0);
	harness::fail_flash(index, harness::flash_operation::erase);
	EXPECT_EQ(erase(index, 0, 0x10000), EIO);
	EXPECT_EQ(harness::mtd_content(index, 0, 3), (bytes{0xF0, 0xF1, 0xFF}));
	EXPECT_EQ(erase(index, 0, 0x10000), 0);
	EXPECT_EQ(harness::mtd_content(index, 0, 3), bytes(3, 0xFF));
	harness::fail_flash(index, harness::flash_operation::erase);
	harness::fail_flash(index, harness::flash_operation::erase, 0);
	EXPECT_EQ(erase(index, 0, 0x10000), 0);
}

TEST_F(lab_mtd, steps_of_one_system_call_end_with_the_first_that_fails)
{
	const int index = harness::add_mtd(nor());
	__s32 there = index, not_there = index + 1;
	lab_mtd_failure failure = {.index = index, .is_write = 1, .nth = 1};
	const auto address = [](auto &record) { return reinterpret_cast<uint64_t>(&record); };
	lab_step steps[] = {{LAB_MTD_FAIL, address(failure)}, {LAB_MTD_REMOVE, address(not_there)}, {LAB_MTD_REMOVE, address(there)}};
	lab_steps all = {.steps = address(steps), .count = 3, .reserved = 0};
	EXPECT_EQ(guest::try_lab(LAB_STEPS, &all), ENODEV);
	EXPECT_EQ(program(index, 0, {0}), EIO) << "the first step";
	EXPECT_EQ(harness::mtd_use_count(index), 0) << "the device is there";
	all.count = LAB_MOST_STEPS + 1;
	EXPECT_EQ(guest::try_lab(LAB_STEPS, &all), EINVAL);
	steps[0] = {LAB_STEPS, address(all)};
	all.count = 1;
	EXPECT_EQ(guest::try_lab(LAB_STEPS, &all), EINVAL);
}

// Why files must not be opened by path from there: Linux walks a path from current->fs.
TEST_F(lab_mtd, an_exiting_task_releases_its_files_without_current_fs)
{
	const auto releaser_had_fs = [](bool closes) {
		const pid_t child = fork();
		if (child == 0) {
			const int file = open("/dev/flash_lab", O_RDWR | O_CLOEXEC);
			if (closes)
				close(file);
			_exit(file < 0);
		}
		int status = -1;
		EXPECT_EQ(waitpid(child, &status, 0), child);
		EXPECT_EQ(status, 0);
		uint32_t had = 2;
		guest::lab(LAB_RELEASER_HAD_FS, &had, "releaser");
		return had;
	};
	EXPECT_EQ(releaser_had_fs(true), 1u);
	EXPECT_EQ(releaser_had_fs(false), 0u);
}

TEST_F(lab_mtd, five_gigabytes_are_backed_sparsely)
{
	const int index = harness::add_mtd({.name = "huge", .size = 5ull << 30, .erase_size = 0x20000});
	harness::set_mtd_content(index, (5ull << 30) - 10, pattern(10));
	EXPECT_EQ(harness::mtd_content(index, (5ull << 30) - 12, 12).front(), 0xFF);
	EXPECT_EQ(harness::mtd_content(index, (5ull << 30) - 10, 10), pattern(10));
	EXPECT_EQ(erase(index, (5ull << 30) - 0x20000, 0x20000), 0);
	EXPECT_EQ(harness::mtd_content(index, (5ull << 30) - 10, 10), bytes(10, 0xFF));
}

TEST_F(lab_mtd, numbers_are_the_lowest_free_or_the_wanted_ones)
{
	EXPECT_EQ(harness::add_mtd(nand("a")), 0);
	EXPECT_EQ(harness::add_mtd({.name = "b", .index = 7}), 7);
	EXPECT_EQ(harness::add_mtd(nand("c")), 1);
	EXPECT_ANY_THROW(harness::add_mtd({.name = "d", .index = 7}));
	harness::remove_mtd(0);
	EXPECT_EQ(harness::add_mtd(nand("e")), 0);
	EXPECT_EQ(guest::read_file("/sys/class/mtd/mtd7/name"), "b\n");
}

TEST_F(lab_mtd, names_may_be_long_or_missing)
{
	const std::string name(100, 'n');
	const int named = harness::add_mtd(nand(name));
	EXPECT_EQ(guest::read_file("/sys/class/mtd/mtd" + std::to_string(named) + "/name"), name + "\n");
	const int nameless = harness::add_mtd({.name = "", .nameless = true});
	EXPECT_EQ(guest::read_file("/sys/class/mtd/mtd" + std::to_string(nameless) + "/name"), "(null)\n");
}

TEST_F(lab_mtd, a_partition_has_its_flags_and_a_hidden_parent)
{
	const int index = harness::add_mtd({.name = "part", .type = harness::mtd_nor, .partition_flags = 0x400});
	EXPECT_EQ(index, 0);
	EXPECT_EQ(guest::read_file("/sys/class/mtd/mtd0/flags"), "0x400\n");
	EXPECT_FALSE(guest::file_exists("/sys/class/mtd/mtd1"));
	EXPECT_EQ(program(index, 0, {0}), 0);
}

class lab_observer : public on_board {};

TEST_F(lab_observer, every_function_is_found_when_the_module_is_loaded)
{
	ASSERT_EQ(harness::load(), 0u);
	const lab_status status = guest::status();
	EXPECT_STREQ(status.unobserved, "");
	EXPECT_EQ(status.observed, status.functions);
}

TEST_F(lab_observer, calls_are_seen_in_order_with_their_arguments)
{
	ASSERT_EQ(harness::load(), 0u);
	const call_list calls = harness::calls();
	ASSERT_GE(calls.size(), 4u);
	EXPECT_EQ(calls[0], "log_get_timestamp_ms()");
	EXPECT_EQ(calls[1], "drv_log_record(0, 2, 0, \"%s MODULE INIT BEGIN\")");
	EXPECT_EQ(calls[2], "drv_log_register(27, \"flash_mng\", 8192)");
	EXPECT_EQ(calls[3], "misc_register(-)");
	EXPECT_EQ(calls.back(), "log_module_init_end(\"flash_mng\", -, 0x0, null)");
	harness::forget();
	harness::unload();
	EXPECT_EQ(harness::calls().back(), "drv_log_record(0, 2, 0, \"flash_module_exit\")");
	EXPECT_TRUE(called("misc_deregister"));
}

TEST_F(lab_observer, calls_of_others_are_not_seen)
{
	ASSERT_EQ(harness::load(), 0u);
	harness::forget();
	const int index = harness::add_mtd(nand());
	harness::remove_mtd(index);
	EXPECT_EQ(harness::calls(), call_list{});
	EXPECT_EQ(harness::log(), log_lines{});
}

TEST_F(lab_observer, a_call_fails_when_it_is_its_turn)
{
	harness::fail("drv_log_register", 0x1234);
	EXPECT_EQ(harness::load(), 0x1234u);
	EXPECT_EQ(harness::faults_hit(), 1u);
	EXPECT_TRUE(called("drv_log_register"));
	EXPECT_FALSE(called("misc_register"));
	ASSERT_TRUE(harness::load_report());
	EXPECT_EQ(harness::load_report()->name, "flash_mng");
	EXPECT_EQ(harness::load_report()->failure, "log register fail");
}

TEST_F(lab_observer, a_negative_code_refuses_the_load)
{
	harness::fail("misc_register", -EBUSY);
	EXPECT_EQ(harness::load(), static_cast<uint32_t>(-EBUSY));
	EXPECT_FALSE(harness::loaded());
	EXPECT_FALSE(harness::device_registered());
}

TEST_F(lab_observer, the_second_call_fails_and_the_third_does_not)
{
	ASSERT_EQ(harness::load(), 0u);
	harness::add_mtd(nand());
	bytes size(8);
	harness::fail("get_mtd_device_nm", -ENODEV, 2);
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"nand", &size}), 0u);
	EXPECT_NE(harness::call("drv_flash_get_mtd_size", {"nand", &size}), 0u);
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"nand", &size}), 0u);
	EXPECT_EQ(harness::faults_hit(), 1u);
}

TEST_F(lab_observer, every_later_call_fails)
{
	ASSERT_EQ(harness::load(), 0u);
	harness::add_mtd(nand());
	bytes size(8);
	harness::fail_always("get_mtd_device_nm", -ENODEV, 2);
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"nand", &size}), 0u);
	EXPECT_NE(harness::call("drv_flash_get_mtd_size", {"nand", &size}), 0u);
	EXPECT_NE(harness::call("drv_flash_get_mtd_size", {"nand", &size}), 0u);
}

TEST_F(lab_observer, unknown_functions_are_refused)
{
	EXPECT_ANY_THROW(harness::fail("no_such_function", 0));
	ASSERT_EQ(harness::load(), 0u);
	EXPECT_ANY_THROW(harness::call("no_such_function", {}));
	EXPECT_ANY_THROW(harness::global("no_such_global", 4));
}

TEST_F(lab_observer, memory_and_references_are_counted_until_they_are_given_back)
{
	ASSERT_EQ(harness::load(), 0u);
	EXPECT_GT(harness::held().heap, 0);
	EXPECT_EQ(harness::held().mtd_references, 0);
	harness::unload();
	EXPECT_EQ(harness::held(), harness::holdings{});
}

TEST_F(lab_observer, a_release_that_is_suppressed_is_a_leak)
{
	ASSERT_EQ(harness::load(), 0u);
	const int index = harness::add_mtd(nand());
	bytes size(8);
	harness::fail("put_mtd_device", 0);
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"nand", &size}), 0u);
	EXPECT_EQ(harness::held().mtd_references, 1);
	EXPECT_EQ(harness::mtd_use_count(index), 1);
	EXPECT_NE(guest::try_lab(LAB_HELD_GIVE_BACK, nullptr), 0) << "given back under the eyes of the module";
	harness::unload();
	EXPECT_EQ(harness::held().mtd_references, 1);
	EXPECT_EQ(guest::try_lab(LAB_HELD_GIVE_BACK, nullptr), 0);
	EXPECT_EQ(harness::held().mtd_references, 0);
	EXPECT_EQ(harness::mtd_use_count(index), 0);
}

TEST_F(lab_observer, an_entry_list_is_lied_about_once)
{
	harness::lie_about_count(0);
	ASSERT_EQ(harness::load(), 0u);
	EXPECT_EQ(harness::faults_hit(), 1u);
	harness::unload();
	harness::lie_with_null_list(2);
	harness::load();
	EXPECT_EQ(harness::faults_hit(), 2u);
}

TEST_F(lab_observer, a_forged_call_stores_its_content)
{
	harness::forge("xml_get_specified_node_num", 0, 3, bytes(4, 0xFF));
	harness::forge("drv_board_get_bom_value", 0, 2, bytes{9, 0, 0, 0});
	harness::load();
	EXPECT_EQ(harness::faults_hit(), 2u);
	EXPECT_EQ(std::ranges::count(harness::calls(), "xml_get_entry_list(0xffffffff, \"flash_mng\", \"attr_9\", -, -)"), 1);
	EXPECT_THROW(harness::forge("kfree", 0, 0, bytes(65)), std::runtime_error);
}

TEST_F(lab_observer, a_text_is_seen_whole_and_a_missing_one_as_null)
{
	ASSERT_EQ(harness::load(), 0u);
	harness::forget();
	bytes size(8);
	harness::call("drv_flash_get_mtd_size", {"no such partition", &size});
	EXPECT_TRUE(std::ranges::count(harness::calls(), "get_mtd_device_nm(\"no such partition\")"));
	EXPECT_EQ(harness::held(), harness::holdings{.heap = harness::held().heap});
}

TEST_F(lab_observer, a_global_is_read_as_it_stands)
{
	ASSERT_EQ(harness::load(), 0u);
	EXPECT_EQ(harness::global("g_flash_mng_patch", 40), bytes(40));
	EXPECT_NE(harness::global("misc_dev", 16), bytes(16));
}

TEST_F(lab_observer, memory_of_a_call_has_its_exact_size_and_comes_back)
{
	ASSERT_EQ(harness::load(), 0u);
	harness::add_mtd({.name = "nand", .size = 0x80000});
	bytes size(8, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"nand", &size}), 0u);
	EXPECT_EQ(size, (bytes{0, 0, 8, 0, 0, 0, 0, 0}));
}

TEST_F(lab_observer, a_call_waits_until_the_faults_are_cleared)
{
	ASSERT_EQ(harness::load(), 0u);
	harness::add_mtd(nand());
	lab_fault wait = {};
	guest::set_name(wait.function, "get_mtd_device_nm");
	wait.kind = LAB_WAIT;
	wait.nth = 1;
	guest::arm(wait, "a wait");
	std::atomic<bool> over = false;
	std::thread caller([&over] {
		bytes size(8);
		EXPECT_EQ(harness::call("drv_flash_get_mtd_size", {"nand", &size}), 0u);
		over = true;
	});
	EXPECT_TRUE(guest::comes_true([] { return called("get_mtd_device_nm"); }));
	usleep(100000);
	EXPECT_FALSE(over);
	EXPECT_FALSE(called("put_mtd_device"));
	guest::lab(LAB_FAULT_CLEAR, nullptr, "clear faults");
	caller.join();
	EXPECT_TRUE(called("put_mtd_device"));
}

// The functions of the registered driver, one word each; 0 for one that it lacks.
std::vector<uint64_t> driver_functions()
{
	const uint64_t table = u64_at(harness::global("g_flash_funcs", 8), 0);
	std::vector<uint64_t> functions;
	for (std::size_t at = 0; table && at < 24; at += 8)
		functions.push_back(u64_at(harness::memory(table + at, 8), 0));
	return functions;
}

class lab_driver : public on_spi_board_with_driver {};

TEST_F(lab_driver, calls_are_seen_in_order_with_their_arguments)
{
	EXPECT_EQ(create(0x21, {"a"}), 0u);
	EXPECT_EQ(get_size(0x21), 0u);
	EXPECT_EQ(destroy(0x21), 0u);
	call_list calls = harness::calls();
	std::erase_if(calls, [](const std::string &call) { return !call.starts_with("suite_driver_"); });
	EXPECT_EQ(calls, (call_list{"suite_driver_create(0x21, 4, 5, 6, -)", "suite_driver_get_size(0x21, 4, 5, 6, -)",
				    "suite_driver_destroy(0x21, 4, 5, 6)"}));
}

TEST_F(lab_driver, stores_its_size)
{
	bytes size(10, 0xEE);
	EXPECT_EQ(harness::call("drv_flash_get_size", {0x20, 0, &size}), 0u);
	EXPECT_EQ(size, (bytes{0x9A, 0x78, 0x56, 0x34, 0x12, 0, 0, 0, 0xEE, 0xEE}));
}

TEST_F(lab_driver, fails_when_it_is_its_turn_and_does_nothing)
{
	bytes size(8, 0xEE);
	harness::fail("suite_driver_get_size", 0x80000005, 2);
	EXPECT_EQ(get_size(0x20), 0u);
	EXPECT_EQ(harness::call("drv_flash_get_size", {0x20, 0, &size}), 0x80000005u);
	EXPECT_EQ(size, bytes(8, 0xEE));
	EXPECT_EQ(get_size(0x20), 0u);
	EXPECT_EQ(harness::faults_hit(), 1u);
}

TEST_F(lab_driver, fails_in_each_function)
{
	harness::fail("suite_driver_create", 1);
	harness::fail_always("suite_driver_destroy", 2);
	EXPECT_EQ(create(0x20, {"a"}), 1u);
	EXPECT_EQ(destroy(0x20), 2u);
	EXPECT_EQ(destroy(0x20), 2u);
	EXPECT_EQ(harness::faults_hit(), 2u);
}

TEST_F(lab_driver, remembers_the_parts_of_the_last_create)
{
	const harness::parts_spec parts = {.parts = {{name_of_32, 1, 2}, {"", 0xFFFFFFFF, 0xFFFFFFFE}}};
	EXPECT_EQ(create(0x20, {"x", "y", "z"}), 0u);
	EXPECT_EQ(create(0x22, parts), 0u);
	EXPECT_EQ(harness::created_parts(), parts.parts);
	harness::fail("suite_driver_create", 1);
	EXPECT_EQ(create(0x23, {"unseen"}), 1u);
	EXPECT_EQ(harness::created_parts(), parts.parts);
}

TEST_F(lab_driver, forgets_the_parts_at_a_load)
{
	ASSERT_EQ(create(0x20, {"a"}), 0u);
	ASSERT_EQ(destroy(0x20), 0u);
	EXPECT_EQ(harness::created_parts().size(), 1u);
	harness::unload();
	ASSERT_EQ(harness::load(), 0u);
	EXPECT_TRUE(harness::created_parts().empty());
}

TEST_F(lab_driver, has_the_wanted_functions)
{
	const std::vector<uint64_t> all = driver_functions();
	ASSERT_EQ(all.size(), 3u);
	EXPECT_EQ(std::count(all.begin(), all.end(), 0u), 0);
	harness::register_driver({.get_size = false});
	EXPECT_EQ(driver_functions(), (std::vector<uint64_t>{0, all[1], all[2]}));
	harness::register_driver({.create = false});
	EXPECT_EQ(driver_functions(), (std::vector<uint64_t>{all[0], 0, all[2]}));
	harness::register_driver({.destroy = false});
	EXPECT_EQ(driver_functions(), (std::vector<uint64_t>{all[0], all[1], 0}));
}

TEST_F(lab_driver, goes_in_the_middle_of_the_wanted_call)
{
	harness::unregister_driver_at("linux_spin_lock", 3);
	ASSERT_NE(find(0x20), 0u); // two of them
	EXPECT_EQ(driver_functions().size(), 3u);
	ASSERT_NE(find(0x20), 0u);
	EXPECT_TRUE(driver_functions().empty());
	EXPECT_EQ(harness::faults_hit(), 0u);
	harness::register_driver();
	ASSERT_NE(find(0x20), 0u);
	EXPECT_EQ(driver_functions().size(), 3u) << "it goes once only";
}

TEST_F(lab_driver, is_replaced_in_the_middle_of_the_wanted_call)
{
	const std::vector<uint64_t> all = driver_functions();
	harness::replace_driver_at("drv_hard_trylock", {.destroy = false});
	harness::fail("drv_hard_trylock", 9);
	EXPECT_EQ(get_size(0x21), 9u) << "the call itself fails as armed";
	EXPECT_EQ(driver_functions(), (std::vector<uint64_t>{all[0], all[1], 0}));
	EXPECT_EQ(harness::faults_hit(), 1u);
}

TEST_F(lab_driver, with_unknown_functions_is_refused)
{
	lab_fault wrong = {};
	guest::set_name(wrong.function, "drv_hard_trylock");
	wrong.kind = LAB_DRIVER_COMES;
	wrong.nth = 1;
	wrong.result = 8;
	EXPECT_ANY_THROW(guest::arm(wrong, "a driver with a fourth function"));
	EXPECT_ANY_THROW(harness::unregister_driver_at("no_such_function"));
}

TEST_F(lab_driver, parts_may_be_missing_or_fewer_than_told)
{
	EXPECT_EQ(create(0x20, {.parts = {}, .part_num = 1, .null_parts = true}), failed);
	EXPECT_FALSE(called("linux_kcalloc"));
	EXPECT_EQ(create(0x20, {.parts = {{"a"}}, .part_num = 0xFFFFFFFF}), no_memory);
	EXPECT_EQ(calls_of("linux_kcalloc"), call_list{"linux_kcalloc(4294967295, 8)"});
}

TEST_F(lab_driver, texts_and_arrays_are_counted_until_they_are_given_back)
{
	const harness::holdings before = harness::held();
	ASSERT_EQ(create(0x20, {"a", "b"}), 0u);
	EXPECT_EQ(harness::held().heap, before.heap + 4);
	EXPECT_EQ(harness::held().locks, before.locks);
	ASSERT_EQ(destroy(0x20), 0u);
	EXPECT_EQ(harness::held(), before);
}

TEST_F(lab_driver, records_that_an_unload_leaves_are_given_back)
{
	ASSERT_EQ(create(0x20, {"a", "b"}), 0u);
	harness::unload();
	EXPECT_EQ(harness::held(), harness::holdings{.heap = 4});
	guest::lab(LAB_HELD_GIVE_BACK, nullptr, "give back");
	EXPECT_EQ(harness::held(), harness::holdings{});
}

TEST_F(lab_driver, hardware_locks_that_stay_held_are_given_back)
{
	constexpr uint32_t busy = 0x70030012;
	harness::fail("drv_hard_unlock", 7);
	EXPECT_EQ(get_size(0x21), 7u);
	EXPECT_EQ(get_size(0x21), busy);
	harness::call("release_flash_info_alloc", {find(0x21)});
	harness::unload();
	guest::lab(LAB_PLATFORM_GIVE_BACK, nullptr, "give back what the platform keeps");
	ASSERT_EQ(harness::load(), 0u);
	harness::register_driver();
	EXPECT_EQ(get_size(0x21), 0u);
}

} // namespace
