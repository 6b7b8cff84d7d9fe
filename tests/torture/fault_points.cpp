// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "fault_points.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "lab_device.hpp"

namespace torture {

namespace {

// Opened once: the fault is counted from the write on, and an open has fault points of its own.
int fail_nth_file()
{
	static const int file = open("/proc/thread-self/fail-nth", O_RDWR | O_CLOEXEC);
	if (file < 0)
		throw std::runtime_error("the kernel has no fail-nth: it needs CONFIG_FAULT_INJECTION");
	return file;
}

void set_nth(uint32_t nth)
{
	const std::string text = std::to_string(nth);
	// A fault that is still to come may hit this very write.
	for (int attempt = 0; attempt < 3; ++attempt)
		if (pwrite(fail_nth_file(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()))
			return;
	throw std::runtime_error(std::string("fail-nth: ") + std::strerror(errno));
}

// A fault that is the next to come hits this read instead.
bool nothing_left()
{
	char text[16] = {};
	return pread(fail_nth_file(), text, sizeof(text) - 1, 0) > 0 && std::atoi(text) == 0;
}

// The formatting routines fail with a negative result, everything else with any that is not 0.
std::string status_of(const platform_switch &one)
{
	return one.function == "sprintf_s" || one.function == "snprintf_s" ? "0xffffffff" : "0x5a5a0001";
}

std::string path_of(const platform_switch &one)
{
	return "/sys/kernel/debug/" + one.module + "/switches";
}

} // namespace

void enable_fault_points()
{
	const std::string debug = "/sys/kernel/debug/";
	guest::write_file(debug + "failslab/ignore-gfp-wait", "N");
	guest::write_file(debug + "fail_page_alloc/ignore-gfp-wait", "N");
	guest::write_file(debug + "fail_page_alloc/ignore-gfp-highmem", "N");
	guest::write_file(debug + "fail_page_alloc/min-order", "0");
	for (const char *kind : {"failslab", "fail_page_alloc", "fail_usercopy"})
		guest::write_file(debug + kind + "/verbose", "0");
}

uint32_t with_fault(fault &one, const std::function<uint32_t()> &attempt)
{
	if (!one.nth)
		return attempt();
	set_nth(one.nth);
	const uint32_t code = attempt();
	one.happened = nothing_left();
	set_nth(0);
	return code;
}

const std::vector<platform_switch> &platform_switches()
{
	static const std::vector<platform_switch> all = {
		{"board_capability_mng", "drv_board_get_bom_value"},
		{"drv_basic", "strcpy_s"},
		{"drv_basic", "memcpy_s"},
		{"drv_basic", "memset_s"},
		{"drv_basic", "sprintf_s"},
		{"drv_basic", "snprintf_s"},
		{"drv_basic", "drv_common_parse_parent_id_card_id"},
		{"drv_basic", "drv_hard_trylock"},
		{"drv_basic", "drv_hard_unlock"},
		{"log", "drv_log_register"},
		{"plat_extern_api", "plat_mtd_read_buf"},
		{"plat_extern_api", "plat_mtd_update_buf"},
		{"xml_parser", "xml_get_specified_node_num"},
		{"xml_parser", "xml_get_entry_list"},
		{"xml_parser", "xml_get_attr_value_u32"},
		{"xml_parser", "xml_get_attr_string"},
		{"xml_parser", "xml_is_node_exist"},
		{"xml_parser", "xml_get_entry_num"},
		{"xml_parser", "xml_get_element_string"},
		{"xml_parser", "xml_is_element_exist"},
	};
	return all;
}

void arm(const platform_switch &one, uint32_t nth, bool sticky)
{
	guest::write_file(path_of(one), one.function + " " + std::to_string(nth) + " " + status_of(one) + (sticky ? " sticky" : ""));
}

bool has_fired(const platform_switch &one)
{
	return guest::read_file(path_of(one)).find(one.function + " ") == std::string::npos;
}

void clear(const platform_switch &one)
{
	guest::write_file(path_of(one), "clear");
}

} // namespace torture
