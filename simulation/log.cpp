// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The platform module "log": registered logs, every message in order, and how the last load ended.
#include "platform/log.h"

#include <array>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <set>
#include <string>
#include <string_view>

#include "../../reference_platform/include/platform_status.h"
#include "simulation.hpp"

namespace simulation {

namespace {

constexpr std::size_t text_size = 240; // with the NUL; a longer text is cut

// The kernel writes 0x in front of a zero too where the C library leaves it away.
std::string as_the_kernel_formats(std::string_view format)
{
	std::string made(format);
	for (std::size_t at = made.find("%#x"); at != made.npos; at = made.find("%#x", at))
		made.replace(at, 3, "0x%x");
	return made;
}

std::set<u32> g_registered;
std::vector<harness::log_line> g_lines;
std::optional<harness::load_end> g_load_end;

} // namespace

std::vector<harness::log_line> log()
{
	state_guard guard;
	return g_lines;
}

void forget_log()
{
	state_guard guard;
	g_lines.clear();
}

std::optional<harness::load_end> load_report()
{
	state_guard guard;
	return g_load_end;
}

void forget_load_report()
{
	state_guard guard;
	g_load_end.reset();
}

void reset_log()
{
	state_guard guard;
	g_registered.clear();
	g_lines.clear();
	g_load_end.reset();
}

} // namespace simulation

using namespace simulation;

u32 drv_log_register(u32 module_id, const char *name, u32 size)
{
	if (auto forced = seen(call::drv_log_register, {module_id, name, size}))
		return static_cast<u32>(*forced);
	state_guard guard;

	if (module_id == 0 || !name)
		return LOG_BAD_ARGUMENT;
	return g_registered.insert(module_id).second ? 0 : LOG_ALREADY_REGISTERED;
}

u32 drv_log_deregister(u32 module_id)
{
	if (auto forced = seen(call::drv_log_deregister, {module_id}))
		return static_cast<u32>(*forced);
	state_guard guard;

	if (g_registered.erase(module_id) == 0)
		misuse("drv_log_deregister(%u): the log is not registered", module_id);
	return 0;
}

void drv_log_record(u32 module_id, u32 level, u32 flag, const char *fmt, ...)
{
	std::array<char, text_size> text;
	va_list values;

	if (seen(call::drv_log_record, {module_id, level, flag, fmt}))
		return;
	va_start(values, fmt);
	const int length = std::vsnprintf(text.data(), text.size(), as_the_kernel_formats(fmt).c_str(), values);
	va_end(values);
	if (length < 0)
		misuse("drv_log_record(): the format \"%s\" is broken", fmt);
	state_guard guard;
	g_lines.push_back({module_id, level, text.data()});
}

u64 log_get_timestamp_ms(void)
{
	using namespace std::chrono;

	if (auto forced = seen(call::log_get_timestamp_ms))
		return static_cast<u64>(*forced);
	return static_cast<u64>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

void log_module_init_end(const char *name, u64 start_ms, u32 result, const char *failure)
{
	if (seen(call::log_module_init_end, {name, start_ms, result, failure}))
		return;
	state_guard guard;
	g_load_end = harness::load_end{name, result, failure ? std::optional<std::string>(failure) : std::nullopt, start_ms};
}
