// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// One operation under faults: tried with each of them, and after each try looked over and tried again without.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "operation.hpp"

namespace faults {

// One call of a function made to fail.
struct fault {
	std::string call; // as the trace of an untouched run shows it
	unsigned nth;	  // of the calls of its function, from 1
	long long result;
	bool sticky; // and every later call of the function
};

// One erase or write of the flash that the operation writes to made to fail.
struct flash_fault {
	harness::flash_operation operation;
	uint64_t nth; // from 1
};

class trial {
public:
	explicit trial(const operation &operation);
	trial(const trial &) = delete;
	trial &operator=(const trial &) = delete;
	~trial();

	// All of it: every point alone, once and for good, with every wrong result; where there are few points, two at a time; then every
	// erase and write of the flash. Failures are GoogleTest's.
	void run();

	// Faults that came to be, over all trials.
	static unsigned long injected();

private:
	// A call that can fail, in the untouched run.
	struct point {
		std::string call;
		unsigned nth;
		std::vector<long long> results;
	};

	std::vector<point> points_of_untouched_run();
	void try_one_by_one(const std::vector<point> &points);
	void try_by_twos(const std::vector<point> &points);
	void try_with(const std::vector<fault> &faults);
	void try_untouched();
	void try_flash_faults();
	void try_flash_faults(harness::flash_operation operation, uint64_t count);

	uint32_t run_once(const std::vector<fault> &faults);
	void judge_faulted(const std::vector<fault> &faults, uint32_t code);
	void judge_success();
	void judge_flash(bool must_be_written);
	void judge_flash_fault(uint32_t code);
	bytes written_content() const;
	bool may_be_left(const bytes &present) const;
	void judge_end();
	void repair_platform() const;
	bool explains(const std::vector<fault> &faults, uint32_t code) const;
	bool is_struck(std::string_view part_of_call) const;
	void complain(const std::string &what);

	const operation &operation_;
	std::vector<bytes> contents_; // of the devices, before the operation
	harness::holdings before_;
	std::optional<flash_fault> flash_fault_; // of the next run
	harness::mtd_activity activity_ = {};	 // of the flash to be written, in the latest run
	std::vector<std::string> trace_;	 // of the latest run
	std::vector<std::size_t> struck_;	 // positions in it that faults struck
	unsigned hits_ = 0;			 // faults that came to be in it
	std::string attempt_;			 // what is being tried, for messages
	unsigned complaints_ = 0;
};

} // namespace faults
