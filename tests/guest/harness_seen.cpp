// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What was seen: messages from the platform's log, calls and holdings from the observer of flash_lab; and the faults armed there.
#include <sstream>
#include <stdexcept>

#include "harness.hpp"
#include "lab_device.hpp"
#include "parts.hpp"

namespace guest {

constexpr const char *log_records = "/sys/kernel/debug/log/records";

void clear_platform_log()
{
	write_file(log_records, "clear");
}

void arm(lab_fault fault, std::string_view what)
{
	lab(LAB_FAULT_ARM, &fault, "arm fault: " + std::string(what));
}

} // namespace guest

namespace harness {

namespace {

char unescaped(std::istringstream &text)
{
	char c = 0;
	text.get(c);
	if (c == 'n')
		return '\n';
	if (c != 'x')
		return c;
	char digits[3] = {};
	text.read(digits, 2);
	return static_cast<char>(std::stoi(digits, nullptr, 16));
}

std::string unescape(const std::string &line)
{
	std::istringstream text(line);
	std::string plain;
	for (char c; text.get(c);)
		plain += c == '\\' ? unescaped(text) : c;
	return plain;
}

// "<sequence> <time> <module id> <level> <flag> <text>". The platform marks its own messages with a flag; flash_mng never sets one.
std::optional<log_line> module_message(const std::string &line)
{
	std::istringstream fields(line);
	uint64_t sequence, time;
	uint32_t flag;
	log_line message;
	if (!(fields >> sequence >> time >> message.module_id >> message.level >> flag))
		throw std::runtime_error("unreadable log record: " + line);
	fields.get();
	std::getline(fields, message.text);
	message.text = unescape(message.text);
	if (flag)
		return std::nullopt;
	return message;
}

void arm_failure(std::string_view function, long long result, unsigned nth, bool always)
{
	lab_fault fault = {};
	guest::set_name(fault.function, function);
	fault.kind = LAB_FAIL;
	fault.always = always;
	fault.nth = nth;
	fault.result = result;
	guest::arm(fault, function);
}

} // namespace

std::vector<log_line> log()
{
	std::istringstream records(guest::read_file(guest::log_records));
	std::vector<log_line> lines;
	for (std::string line; std::getline(records, line);) {
		if (auto message = module_message(line))
			lines.push_back(*message);
	}
	return lines;
}

std::vector<std::string> calls()
{
	lab_trace trace = {};
	guest::lab(LAB_TRACE_READ, &trace, "size of the trace");
	std::string text(trace.used, '\0');
	trace.buffer = reinterpret_cast<uint64_t>(text.data());
	trace.size = text.size();
	guest::lab(LAB_TRACE_READ, &trace, "read the trace");
	if (trace.dropped)
		throw std::runtime_error("the trace of flash_lab overflowed: " + std::to_string(trace.dropped) + " calls lost");
	std::istringstream all(text);
	std::vector<std::string> lines;
	for (std::string line; std::getline(all, line, '\0');)
		lines.push_back(line);
	return lines;
}

void forget()
{
	guest::clear_platform_log();
	guest::lab(LAB_TRACE_CLEAR, nullptr, "clear the trace");
}

holdings held()
{
	lab_held counted = {};
	guest::lab(LAB_HELD, &counted, "holdings");
	if (counted.untracked)
		throw std::runtime_error("flash_lab has no room for all holdings");
	holdings result;
	result.heap = static_cast<long>(counted.heap);
	result.virtual_memory = static_cast<long>(counted.virtual_memory);
	result.mtd_references = static_cast<long>(counted.mtd_references);
	result.open_files = static_cast<long>(counted.open_files);
	result.locks = static_cast<long>(counted.locks);
	return result;
}

void fail(std::string_view function, long long result, unsigned nth)
{
	arm_failure(function, result, nth, false);
}

void fail_always(std::string_view function, long long result, unsigned nth)
{
	arm_failure(function, result, nth, true);
}

void forge(std::string_view function, long long result, unsigned argument, std::span<const std::uint8_t> content, unsigned nth)
{
	lab_fault fault = {};
	if (content.size() > sizeof(fault.content))
		throw std::runtime_error("a forged call stores at most " + std::to_string(sizeof(fault.content)) + " bytes");
	guest::set_name(fault.function, function);
	fault.kind = LAB_FAIL;
	fault.nth = nth;
	fault.result = result;
	fault.argument = argument;
	fault.content_size = static_cast<uint32_t>(content.size());
	std::copy(content.begin(), content.end(), fault.content);
	guest::arm(fault, function);
}

void stop_at(std::string_view function, unsigned nth)
{
	lab_fault fault = {};
	guest::set_name(fault.function, function);
	fault.kind = LAB_WAIT;
	fault.nth = nth;
	guest::arm(fault, function);
}

void go_on()
{
	guest::lab(LAB_FAULT_CLEAR, nullptr, "let the waiting calls go");
}

void lie_about_count(uint32_t reported, unsigned nth)
{
	lab_fault fault = {};
	fault.kind = LAB_LIE_COUNT;
	fault.nth = nth;
	fault.result = reported;
	guest::arm(fault, "a wrong count");
}

void lie_with_null_list(unsigned nth)
{
	lab_fault fault = {};
	fault.kind = LAB_LIE_NULL;
	fault.nth = nth;
	guest::arm(fault, "no list");
}

unsigned faults_hit()
{
	return guest::status().faults_hit;
}

namespace {

// scripts/console_reports.awk reads these lines.
void allow(std::string_view text)
{
	guest::write_file("/dev/kmsg", "flash_mng_test: allow " + std::string(text) + "\n");
}

// What cases call reports of 5.10, and what newer kernels say instead; those without CONFIG_DEBUG_BUGVERBOSE name no file.
struct words_of_kernels {
	std::string_view text;
	std::string_view newer;
};

constexpr words_of_kernels report_words[] = {
	{"vmalloc: allocation failure", "mm/vmalloc.c:"},
	{"vmalloc: allocation failure", "at __vmalloc_node_range"},
	{"drivers/mtd/mtdcore.c:", "at mtd_read"},
	{"at linux_copy_to_user", " linux_copy_to_user+"},
	{"at linux_copy_from_user", " linux_copy_from_user+"},
};

} // namespace

expected_report::expected_report(std::string_view text)
{
	allow(text);
	for (const auto &words : report_words) {
		if (words.text == text)
			allow(words.newer);
	}
}

expected_report::~expected_report()
{
	guest::write_file("/dev/kmsg", "flash_mng_test: end\n");
}

} // namespace harness
