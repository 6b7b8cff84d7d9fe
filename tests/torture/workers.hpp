// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Workers: each is a thread that makes one step after the other until the time is over. What a step does follows from the seed, the
// worker and the step's number alone.
#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "choices.hpp"
#include "ledger.hpp"
#include "transfer_paths.hpp"

namespace torture {

// What did not come as it has to; the first of them are printed.
class failures {
public:
	void add(const std::string &text);
	unsigned count() const { return count_; }

private:
	std::mutex lock_;
	std::atomic<unsigned> count_{0};
};

// Of one worker: calls by operation and code.
using tally = std::map<std::pair<std::string, uint32_t>, uint64_t>;

struct worker;

// What a step works with.
struct step_context {
	const flash_mng_access &access;
	choices choice;
	worker &self;
	failures &bad;

	// Counts a call and checks its code.
	bool expect(const char *operation, uint32_t code, std::initializer_list<uint32_t> allowed);
	void check(bool right, const std::string &otherwise);
};

struct worker {
	std::string name;
	std::function<void(step_context &)> step;
	std::function<void(step_context &)> finish = nullptr; // after the last step of all
	tally counted = {};
	std::atomic<uint64_t> steps = 0;
};

using worker_list = std::deque<worker>;

// Writers and readers of all slots.
void add_transfer_workers(worker_list &list, std::deque<slot> &slots);
// Questions, whose answers do not depend on what others do; commands with hostile addresses; callers that are killed.
void add_question_workers(worker_list &list);
void add_hostile_workers(worker_list &list);
// SPI flashes: owners that create, use and destroy, and others that look on.
void add_spi_workers(worker_list &list);
// Everybody on the same SPI flashes, with a driver that comes and goes. Leaves records and names behind.
void add_spi_race_workers(worker_list &list);

// A step that takes no time, and a rest that leaves the processors to steps that do.
void with_rest(step_context &context, void (*step)(step_context &));

// A write of the slot's next generation.
void write_next(step_context &context, slot &one);

} // namespace torture
