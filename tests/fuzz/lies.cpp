// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Linux, the platform and the flash driver lie: each call is made once as it is, and then again while up to three of the calls that it
// made give a wrong result, or a success with any answer.
#include <algorithm>
#include <cstring>
#include <string>

#include "../faults/wrong_results.hpp"
#include "simulation.hpp"
#include "stage.hpp"
#include "target.hpp"

namespace fuzz {

namespace {

// A function that answers through an argument, and how many bytes; 0: as many as its last argument says.
struct answering {
	std::string_view function;
	unsigned argument;
	uint32_t size;
};
constexpr answering answering_functions[] = {
	{"xml_get_specified_node_num", 3, 4}, {"xml_get_attr_value_u32", 2, 4},
	{"xml_get_attr_string", 2, 0},	      {"xml_is_node_exist", 3, 4},
	{"xml_get_entry_num", 3, 4},	      {"xml_get_element_value_u32", 5, 4},
	{"xml_get_element_string", 5, 0},     {"drv_board_get_bom_value", 2, 4},
	{"suite_driver_get_size", 4, 8},      {"drv_common_parse_parent_id_card_id", 1, 4},
};

// Routines that fill a buffer, and what they give when they have; one that does nothing gives that too.
struct filling {
	std::string_view function;
	long long success;
};
constexpr filling filling_functions[] = {{"memset_s", 0}, {"strcpy_s", 0}, {"sprintf_s", 6}, {"snprintf_s", 9}};

bool is_filling(std::string_view function)
{
	return std::any_of(std::begin(filling_functions), std::end(filling_functions),
			   [&](const filling &one) { return one.function == function; });
}

uint32_t last_argument(const std::string &call)
{
	return static_cast<uint32_t>(std::stoul(call.substr(call.rfind(' ') + 1)));
}

bytes any_answer(input &from, uint32_t size)
{
	if (size != sizeof(uint32_t))
		return from.some(size);
	const uint32_t number = from.size();
	bytes made(sizeof(number));
	std::memcpy(made.data(), &number, sizeof(number));
	return made;
}

class liar {
public:
	// Arms what is wrong in the next run of a call, whose trace shows what there is to be wrong about.
	liar(input &from, const std::vector<std::string> &trace)
	{
		for (uint32_t count = from.byte() % 4; count && !trace.empty(); --count)
			lie(from, trace);
	}

	// Allocations that fail: what a load keeps for want of memory.
	long failing_allocations() const { return failing_allocations_; }

	// A platform that did not release something still has it; what follows begins with one that has not.
	void repair_platform() const
	{
		if (unlocks_)
			simulation::reset_hard_locks();
		if (deregisters_ && !harness::loaded())
			simulation::reset_log();
	}

private:
	void lie(input &from, const std::vector<std::string> &trace)
	{
		const std::size_t position = (from.byte() << 8 | from.byte()) % trace.size();
		const std::string &call = trace[position];
		const std::string_view function = faults::function_of(call);
		const auto nth = static_cast<unsigned>(
			std::count_if(trace.begin(), trace.begin() + static_cast<std::ptrdiff_t>(position) + 1,
				      [&](const std::string &other) { return faults::function_of(other) == function; }));
		const auto *answer = std::find_if(std::begin(answering_functions), std::end(answering_functions),
						  [&](const answering &one) { return one.function == function; });
		if (answer != std::end(answering_functions) && from.one_in(2)) {
			const bytes content = any_answer(from, answer->size ? answer->size : last_argument(call));
			simulation::forge(function, 0, answer->argument, content, nth);
			return;
		}
		if (is_filling(function) && from.one_in(2)) {
			leave_buffers_alone(from, function, nth);
			return;
		}
		const auto results = faults::wrong_results(call);
		if (results.empty())
			return;
		simulation::arm(function, from.of(results), nth, from.one_in(4));
		failing_allocations_ += function == "linux_kzalloc";
		unlocks_ |= function == "drv_hard_unlock" || call.find("hardunlock_val") != std::string::npos;
		deregisters_ |= function == "drv_log_deregister";
	}

	// One call does nothing, or those of the function from then on, or all calls of all such functions.
	static void leave_buffers_alone(input &from, std::string_view function, unsigned nth)
	{
		const bool all = from.one_in(2);
		const bool sticky = from.one_in(2);
		for (const filling &one : filling_functions) {
			if (all)
				simulation::arm(one.function, one.success, 1, true);
			else if (one.function == function)
				simulation::arm(function, one.success, nth, sticky);
		}
	}

	long failing_allocations_ = 0;
	bool unlocks_ = false;
	bool deregisters_ = false;
};

bool is_load(const std::vector<std::string> &trace)
{
	return std::any_of(trace.begin(), trace.end(), [](const std::string &call) { return call.starts_with("log_module_init_end("); });
}

} // namespace

void play(input from)
{
	stage on(FUZZ_BOARD);
	while (!from.is_over()) {
		input again = from;
		const auto trace = on.step(from);
		const liar lies(from, trace);
		if (is_load(trace)) {
			on.sections_may_be_any();
			on.may_keep(lies.failing_allocations());
		}
		on.step(again);
		lies.repair_platform();
	}
}

} // namespace fuzz
