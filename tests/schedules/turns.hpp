// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Callers of the module that take turns. Each is a fiber; it pauses before each call to Linux, the platform or the flash driver and before
// each marked access of the module, and goes on when it is told to. What it does from one pause to the next is a step.
//
// A caller that waits for a lock cannot be told to go on before the lock is free. Steps are watched: what they touch, whether it is alive,
// and whether something else than luck keeps it apart from what others touch.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "access.hpp"
#include "arena.hpp"
#include "fiber.hpp"
#include "simulation.hpp"

namespace schedules {

constexpr unsigned most_callers = 3;
using caller_set = unsigned; // a bit for each

// How many steps of each caller came before something.
using clock_vector = std::array<unsigned, most_callers>;
void join(clock_vector &one, const clock_vector &other);

// Where a caller pauses, and what it will begin its next step with.
struct pause_point {
	std::string what;	      // a call, as traces show it
	const void *marked = nullptr; // or a marked access
	bool stores = false;
	address waits_for = 0; // a lock
	bool killable = false;
};

// A call that fails: of one caller, the nth one of a function, counted from 1. It gives its commonest wrong result and does nothing.
struct failing_call {
	unsigned caller;
	std::string function;
	unsigned nth;
};

struct step {
	unsigned caller;
	pause_point begins_with;
	footprint touched;
	address held_before; // a lock
	bool killed;	     // the caller, while it waited
};

class turns final : private simulation::call_scheduler {
public:
	turns();
	turns(const turns &) = delete;
	turns &operator=(const turns &) = delete;
	~turns();

	// Puts the board back to power-on, without what it takes to read its description again. Callers that are not over are given up.
	void power_on();
	// Adds a caller; it pauses before its first step. Transfers of sections must follow one another.
	unsigned add(std::function<void()> work, bool moves_sections = false);
	// Makes a call of a caller that was added fail, until power-on.
	void fail(const failing_call &which) { failing_ = which; }
	// Nothing failed so far, and something would.
	bool may_still_fail() const { return failing_.has_value(); }
	// Transfers of this device must follow one another: it is a listed partition.
	void list(int device) { listed_ |= 1u << device; }

	unsigned callers() const { return static_cast<unsigned>(callers_.size()); }
	caller_set able() const;
	bool all_over() const;
	// Lets a caller make a step.
	const step &go_on(unsigned caller);
	const std::vector<step> &steps() const { return steps_; }

	// What was found in these steps, one line each.
	const std::vector<std::string> &findings() const { return findings_; }
	// After a broken rule nobody goes on.
	bool is_broken() const { return broken_; }

	// For the work of callers: a pause of their own, and what the step behind it touches.
	void pause(const std::string &what);
	void touch(const access &one);
	// Linux keeps what is behind a meeting from what was before an earlier one of the same thing.
	void meet(address thing);
	// The return to user space, where the block device of a file that was closed is released.
	void touch_released_file();
	// Somebody kills a caller.
	void kill(unsigned caller);
	bool is_killed(unsigned caller) const { return callers_[caller]->killed; }
	static std::string name_of(const void *where);
	static std::string race_text(const std::string &place);
	static turns &current();

	// For the compiler's hooks.
	void module_touches(const void *where, std::size_t size, bool write);
	void module_marks(const void *where, std::size_t size, bool write, bool ordered);

private:
	struct caller {
		fiber line;
		simulation::task task;
		pause_point next;
		clock_vector known = {}; // its own component: its steps so far
		address held = 0;	 // a lock
		bool moves_sections = false;
		int file_device = -1; // that it opened
		bool wrote = false;
		bool killed = false;
		bool given_up = false;
	};
	struct given_up {};

	std::optional<long long> at_call(simulation::call which, const std::string &text,
					 std::initializer_list<simulation::traced> arguments) override;
	void *take_memory(std::size_t size) override;
	void give_memory(void *memory) override;
	[[noreturn]] void rule_is_broken(const std::string &text) override;

	std::optional<long long> failure_of(const std::string &text);
	void wait_at(pause_point point);
	void begin_step(caller &running);
	void touch_for_call(simulation::call which, const simulation::traced *arguments);
	void touch_bytes(const void *where, std::size_t size, bool write);
	void touch_text(const char *text);
	void check_alive(address start, std::size_t size, bool write);
	void take_lock(const void *lock);
	void release_lock(const void *lock);
	void look_for_races(const step &last);
	clock_vector before_this_step() const;
	caller *running() const;
	bool is_able(const caller &one) const;

	arena arena_;
	std::vector<std::unique_ptr<caller>> callers_;
	std::vector<std::unique_ptr<caller>> spare_;
	std::vector<step> steps_;
	std::vector<clock_vector> known_; // of each step: what is ordered before it
	std::vector<unsigned> number_;	  // of each step: which of its caller's it is
	std::map<address, clock_vector> released_;
	std::vector<std::string> findings_;
	std::optional<failing_call> failing_; // so many calls of the function from now
	unsigned running_ = most_callers;
	unsigned listed_ = 0; // a bit for each device
	bool broken_ = false;
};

} // namespace schedules
