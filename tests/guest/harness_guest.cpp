// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The conformance suite's board on the real one: the whole board and the module under test.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "harness.hpp"
#include "lab_device.hpp"
#include "parts.hpp"

namespace harness {

namespace {

constexpr const char *board_selector = "/sys/kernel/debug/xml_parser/reload";
constexpr const char *module_folder = "/sys/module/flash_mng";

std::string g_configuration = "plain";

lab_load_end last_load_end()
{
	lab_load_end end = {};
	guest::lab(LAB_LOAD_END, &end, "end of the load");
	return end;
}

} // namespace

world_kind world()
{
	return world_kind::guest;
}

void reset()
{
	if (loaded())
		unload();
	guest::lab(LAB_FAULT_CLEAR, nullptr, "clear faults");
	guest::lab(LAB_PLATFORM_GIVE_BACK, nullptr, "give back what the platform keeps");
	guest::lab(LAB_HELD_GIVE_BACK, nullptr, "give back what is held");
	guest::lab(LAB_MTD_REMOVE_ALL, nullptr, "remove all MTD devices");
	guest::release_user_memory();
	g_configuration = "plain";
	forget();
}

void configure(std::string_view name)
{
	g_configuration = name;
}

uint32_t load()
{
	guest::write_file(board_selector, "conformance/" + g_configuration);
	guest::lab(LAB_LOAD_END_CLEAR, nullptr, "forget the last load");
	const int error = guest::insert_module(guest::module_file("flash_mng"));
	const lab_load_end end = last_load_end();
	if (!end.seen)
		throw std::runtime_error("flash_mng did not report the end of its load; loading it gave: " +
					 std::string(std::strerror(error)));
	return end.result;
}

void unload()
{
	if (const int error = guest::remove_module_patiently("flash_mng"))
		throw std::runtime_error("flash_mng cannot be unloaded: " + std::string(std::strerror(error)));
}

bool loaded()
{
	return guest::file_exists(module_folder);
}

bool device_registered()
{
	const int file = open("/dev/flash_mng", O_RDWR | O_CLOEXEC);
	if (file < 0)
		return false;
	close(file);
	return true;
}

std::optional<load_end> load_report()
{
	const lab_load_end end = last_load_end();
	if (!end.seen)
		return std::nullopt;
	load_end report = {end.name, end.result, std::nullopt, end.start_ms};
	if (end.has_failure)
		report.failure = end.failure;
	return report;
}

} // namespace harness
