// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "trial.hpp"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <map>

#include "../../reference_platform/include/platform_status.h"
#include "accepted.hpp"
#include "case.hpp"
#include "simulation.hpp"
#include "uapi/flash_mng.h"
#include "wrong_results.hpp"

namespace faults {

namespace {

constexpr std::size_t most_points_for_twos = 40;
constexpr std::size_t results_for_twos = 4;
constexpr unsigned most_complaints = 10;

unsigned long g_injected;
std::array<char, 512> g_current_attempt;

// The simulation ends the process when a rule is broken: what was being tried is then the more needed.
void show_current_attempt(int)
{
	const char before[] = "while trying ";
	if (write(STDERR_FILENO, before, sizeof(before) - 1) < 0 ||
	    write(STDERR_FILENO, g_current_attempt.data(), std::strlen(g_current_attempt.data())) < 0 || write(STDERR_FILENO, "\n", 1) < 0)
		_exit(1);
}

std::string described(const fault &fault)
{
	return fault.call + " no. " + std::to_string(fault.nth) + (fault.sticky ? " and later ones" : "") + " -> " +
	       std::to_string(fault.result);
}

// Codes that the module makes itself; any other one has to be the wrong result.
bool is_own_code(uint32_t code)
{
	constexpr std::array codes = {
		FLASH_MNG_FAILED,	FLASH_MNG_NULL_POINTER,	      FLASH_MNG_INVALID,
		FLASH_MNG_NO_DRIVER,	FLASH_MNG_NOT_FOUND,	      FLASH_MNG_OVERFLOW,
		FLASH_MNG_COPY_FAILED,	FLASH_MNG_NO_MEMORY,	      FLASH_MNG_NO_DATA,
		FLASH_MNG_BAD_LENGTH,	FLASH_MNG_REQUEST_UNREADABLE, FLASH_MNG_INTERRUPTED,
		FLASH_MNG_SHORT_WRITE,	FLASH_MNG_SHORT_READ,	      FLASH_MNG_NOT_OPENED,
		FLASH_MNG_ENTRY_COUNT,	FLASH_MNG_NOT_LISTED,	      FLASH_MNG_VARIANT_NAME,
		FLASH_MNG_EMPTY_RANGE,	FLASH_MNG_PATH_FAILED,	      FLASH_MNG_CLEAR_FAILED,
		FLASH_MNG_NO_BUFFER,	FLASH_MNG_USER_UNREADABLE,    FLASH_MNG_USER_UNWRITABLE,
		FLASH_MNG_NO_PARTITION, FLASH_MNG_XML_NODE,	      FLASH_MNG_XML_ATTRIBUTE,
		FLASH_MNG_XML_NAME,
	};
	return std::find(codes.begin(), codes.end(), code) != codes.end();
}

bool strikes(const fault &fault, std::string_view function, unsigned nth)
{
	return function_of(fault.call) == function && (fault.sticky ? nth >= fault.nth : nth == fault.nth);
}

// The positions in a trace at which the faults struck.
std::vector<std::size_t> struck_positions(const std::vector<std::string> &trace, const std::vector<fault> &faults)
{
	std::map<std::string_view, unsigned> counts;
	std::vector<std::size_t> positions;

	for (std::size_t i = 0; i < trace.size(); ++i) {
		const std::string_view function = function_of(trace[i]);
		const unsigned nth = ++counts[function];
		if (std::any_of(faults.begin(), faults.end(), [&](const fault &fault) { return strikes(fault, function, nth); }))
			positions.push_back(i);
	}
	return positions;
}

} // namespace

trial::trial(const operation &operation) : operation_(operation)
{
	std::signal(SIGABRT, show_current_attempt);
	harness::reset();
	harness::configure(operation.board);
	for (std::size_t i = 0; i < operation.devices.size(); ++i) {
		const int device = harness::add_mtd(operation.devices[i]);
		contents_.push_back(conformance::pattern(operation.devices[i].size, static_cast<uint32_t>(i) + 1));
		harness::set_mtd_content(device, 0, contents_.back());
	}
	if (operation.on_loaded_module && harness::load() != 0)
		complain("the module does not load");
}

trial::~trial()
{
	harness::reset();
}

unsigned long trial::injected()
{
	return g_injected;
}

void trial::run()
{
	const auto points = points_of_untouched_run();

	try_one_by_one(points);
	if (points.size() <= most_points_for_twos)
		try_by_twos(points);
	try_flash_faults();
	testing::Test::RecordProperty("points", static_cast<int>(points.size()));
}

std::vector<trial::point> trial::points_of_untouched_run()
{
	std::map<std::string_view, unsigned> counts;
	std::vector<point> points;

	try_untouched();
	for (const std::string &call : trace_)
		if (const auto results = wrong_results(call); !results.empty())
			points.push_back({call, 0, results});
	for (point &point : points)
		point.nth = ++counts[function_of(point.call)];
	return points;
}

void trial::try_one_by_one(const std::vector<point> &points)
{
	for (const point &point : points)
		for (long long result : point.results)
			for (bool sticky : {false, true})
				try_with({{point.call, point.nth, result, sticky}});
}

void trial::try_by_twos(const std::vector<point> &points)
{
	for (std::size_t i = 0; i < points.size(); ++i)
		for (std::size_t j = i + 1; j < points.size(); ++j)
			for (std::size_t first = 0; first < std::min(points[i].results.size(), results_for_twos); ++first)
				for (std::size_t second = 0; second < std::min(points[j].results.size(), results_for_twos); ++second)
					try_with({{points[i].call, points[i].nth, points[i].results[first], false},
						  {points[j].call, points[j].nth, points[j].results[second], false}});
}

void trial::try_with(const std::vector<fault> &faults)
{
	if (complaints_ >= most_complaints)
		return;
	judge_faulted(faults, run_once(faults));
	judge_end();
	try_untouched();
}

void trial::try_untouched()
{
	const uint32_t code = run_once({});

	if (code != 0)
		complain("untouched, it answers " + std::to_string(code));
	else if (!operation_.done())
		complain("untouched, it does not do what it promises");
	judge_flash(code == 0);
	judge_end();
}

void trial::try_flash_faults()
{
	if (!operation_.written)
		return;
	const harness::mtd_activity untouched = activity_;
	try_flash_faults(harness::flash_operation::erase, untouched.erases);
	try_flash_faults(harness::flash_operation::write, untouched.writes);
}

void trial::try_flash_faults(harness::flash_operation operation, uint64_t count)
{
	for (uint64_t nth = 1; nth <= count && complaints_ < most_complaints; ++nth) {
		flash_fault_ = flash_fault{operation, nth};
		judge_flash_fault(run_once({}));
		flash_fault_.reset();
		judge_end();
		try_untouched();
		++g_injected;
	}
}

uint32_t trial::run_once(const std::vector<fault> &faults)
{
	const auto &target = operation_.written;

	attempt_ = operation_.name + " " + operation_.scenario;
	for (const fault &fault : faults)
		attempt_ += "; " + described(fault);
	if (flash_fault_)
		attempt_ += (flash_fault_->operation == harness::flash_operation::erase ? "; erase no. " : "; write no. ") +
			    std::to_string(flash_fault_->nth) + " of the flash";
	attempt_.copy(g_current_attempt.data(), g_current_attempt.size() - 1);
	g_current_attempt[std::min(attempt_.size(), g_current_attempt.size() - 1)] = '\0';

	if (target)
		harness::set_mtd_content(target->device, 0, contents_[static_cast<std::size_t>(target->device)]);
	before_ = harness::held();
	operation_.start();
	simulation::reset_calls();
	simulation::forget_log();
	for (const fault &fault : faults)
		simulation::arm(function_of(fault.call), fault.result, fault.nth, fault.sticky);
	const harness::mtd_activity before = target ? harness::mtd_count(target->device) : harness::mtd_activity{};
	if (flash_fault_)
		harness::fail_flash(target->device, flash_fault_->operation, flash_fault_->nth);
	const uint32_t code = operation_.run();
	const harness::mtd_activity after = target ? harness::mtd_count(target->device) : harness::mtd_activity{};
	activity_ = {after.erases - before.erases, after.writes - before.writes};
	hits_ = harness::faults_hit();
	trace_ = harness::calls();
	struck_ = struck_positions(trace_, faults);
	simulation::reset_calls();
	g_injected += hits_;
	return code;
}

void trial::judge_faulted(const std::vector<fault> &faults, uint32_t code)
{
	if (hits_ == 0)
		return complain("the fault does not come to be");
	if (code == 0)
		return judge_success();
	if (!explains(faults, code))
		complain("the code " + std::to_string(code) + " is neither the module's own nor the wrong result");
	judge_flash(false);
}

bool trial::is_struck(std::string_view part_of_call) const
{
	return std::any_of(struck_.begin(), struck_.end(),
			   [&](std::size_t position) { return trace_[position].find(part_of_call) != std::string::npos; });
}

// The module's own codes, the wrong result itself, and what the platform says to a lock value that could not be read.
bool trial::explains(const std::vector<fault> &faults, uint32_t code) const
{
	const bool is_wrong_result = std::any_of(faults.begin(), faults.end(),
						 [code](const fault &fault) { return static_cast<uint32_t>(fault.result) == code; });
	const bool has_no_lock_value = is_struck("\"hardlock_val\"") || is_struck("\"hardunlock_val\"");
	return is_wrong_result || is_own_code(code) || (has_no_lock_value && code == HARD_LOCK_BAD_VALUE);
}

void trial::judge_success()
{
	bool in_part = false;

	for (std::size_t position : struck_) {
		effect left = effect::whole;
		if (!is_accepted(operation_.name, trace_, position, left))
			return complain("a false success: " + trace_[position] + " failed");
		in_part |= left == effect::in_part;
	}
	if (!operation_.done() && !(in_part && operation_.done_in_part()))
		complain("success, but it does not do what it promises");
	judge_flash(true);
}

// Every byte is as it was, but for those that are written: they are all old or all new.
void trial::judge_flash(bool must_be_written)
{
	for (std::size_t i = 0; i < contents_.size(); ++i) {
		const bytes present = harness::mtd_content(static_cast<int>(i), 0, contents_[i].size());
		const bool is_old = present == contents_[i];

		if (!operation_.written || operation_.written->device != static_cast<int>(i)) {
			if (!is_old)
				complain("mtd" + std::to_string(i) + " was changed");
			continue;
		}
		if (present != written_content() && (must_be_written || !is_old))
			complain("mtd" + std::to_string(i) + " does not hold what was written, or other bytes were changed");
	}
}

// What the device that is written to holds afterwards.
bytes trial::written_content() const
{
	const target &target = *operation_.written;
	bytes content = contents_[static_cast<std::size_t>(target.device)];
	std::copy(target.data.begin(), target.data.end(), content.begin() + static_cast<std::ptrdiff_t>(target.offset));
	return content;
}

// Of the erase blocks of the range, each 512 bytes are old or new, or the block is erased; every other byte is old.
bool trial::may_be_left(const bytes &present) const
{
	const target &target = *operation_.written;
	constexpr std::size_t sector = 512;
	const auto device = static_cast<std::size_t>(target.device);
	const std::size_t block = operation_.devices[device].erase_size;
	const bytes &old = contents_[device];
	const bytes fresh = written_content();
	const auto same = [&](const bytes &wanted, std::size_t start, std::size_t size) {
		return std::memcmp(present.data() + start, wanted.data() + start, std::min(size, present.size() - start)) == 0;
	};
	const bytes erased(old.size(), 0xFF);

	for (std::size_t start = 0; start < old.size(); start += block) {
		const bool touched = start < target.offset + target.data.size() && target.offset < start + block;
		if (touched && same(erased, start, block))
			continue;
		for (std::size_t at = start; at < std::min(start + block, old.size()); at += sector)
			if (!same(old, at, std::min(sector, start + block - at)) && !same(fresh, at, std::min(sector, start + block - at)))
				return false;
	}
	return true;
}

void trial::judge_flash_fault(uint32_t code)
{
	const bool is_told = code == FLASH_BUFFER_ERASE_FAILED || code == FLASH_BUFFER_WRITE_FAILED || code == FLASH_MNG_SHORT_WRITE;
	const bool is_silent =
		std::any_of(trace_.begin(), trace_.end(), [&](const std::string &call) { return loses_silently(operation_.name, call); });

	if (is_silent ? code != 0 : !is_told)
		complain("the code " + std::to_string(code) + " is not what is documented of a flash that fails");
	for (std::size_t i = 0; i < contents_.size(); ++i) {
		const bytes present = harness::mtd_content(static_cast<int>(i), 0, contents_[i].size());
		const bool is_target = operation_.written->device == static_cast<int>(i);
		if (is_target ? !may_be_left(present) : present != contents_[i])
			complain("mtd" + std::to_string(i) +
				 " was changed beyond the erase blocks of the range, or in them to something new");
		// RAM is written sector by sector, and most of these do not change.
		if (is_target && operation_.devices[i].type != harness::mtd_ram && present == written_content())
			complain("the flash failed, and all is written");
	}
}

// A platform that did not release something still has it; the next try begins with one that has not.
void trial::repair_platform() const
{
	if (is_struck("drv_hard_unlock(") || is_struck("\"hardunlock_val\""))
		simulation::reset_hard_locks();
	if (is_struck("drv_log_deregister("))
		simulation::reset_log();
}

void trial::judge_end()
{
	const kept_memory &kept_after = operation_.kept_after;

	operation_.settle();
	repair_platform();
	harness::holdings expected = before_;
	expected.heap += operation_.kept;
	if (kept_after.allocations && is_struck(kept_after.function))
		expected.heap += kept_after.allocations;
	if (const auto held = harness::held(); held != expected)
		complain("held before: " + testing::PrintToString(expected) + "; now: " + testing::PrintToString(held));
	if (harness::loaded() != operation_.on_loaded_module)
		complain("the module is loaded where it should not be, or the other way round");
}

void trial::complain(const std::string &what)
{
	++complaints_;
	ADD_FAILURE() << attempt_ << "\n" << what;
}

} // namespace faults
