// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the module calls, in order, and the calls that are made to fail.
#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "simulation.hpp"

namespace simulation {

namespace {

struct signature {
	std::string_view name;
	std::string_view letters;
};

constexpr std::array signatures = {
#define FLASH_CALL(name, arguments) signature{#name, arguments},
#include "calls.def"
#undef FLASH_CALL
};

struct fault {
	call which;
	unsigned remaining; // calls until it strikes, that one counted; 0 when spent
	bool sticky;
	long long result;
	bool hit;
	unsigned argument; // that points to where the content goes
	std::vector<std::uint8_t> content;
};

// Functions that may be called with a spinlock held.
constexpr std::array never_sleep = {call::linux_spin_lock, call::linux_spin_unlock, call::linux_list_add_tail,
				    call::linux_list_del,  call::memcpy_s,	    call::memset_s,
				    call::strcpy_s};

struct interruption {
	call which;
	unsigned remaining;
	std::function<void()> action;
};

std::vector<interruption> g_interruptions;
unsigned g_times_let_go;
std::condition_variable g_let_go;
std::vector<std::string> g_calls;
std::vector<fault> g_faults;
unsigned g_hits;

std::string formatted(const char *format, ...) __attribute__((format(printf, 1, 2)));

std::string formatted(const char *format, ...)
{
	std::array<char, 32> text;
	va_list values;

	va_start(values, format);
	std::vsnprintf(text.data(), text.size(), format, values);
	va_end(values);
	return text.data();
}

std::string rendered(char letter, const traced &argument)
{
	const auto number = argument.number();

	switch (letter) {
	case 's':
		return argument.text() ? '"' + std::string(argument.text()) + '"' : "null";
	case 'u':
		return formatted("%" PRIu32, static_cast<std::uint32_t>(number));
	case 'x':
		return formatted("0x%" PRIx32, static_cast<std::uint32_t>(number));
	case 'l':
		return formatted("%" PRIu64, number);
	case 'X':
		return formatted("0x%" PRIx64, number);
	case 'd':
		return formatted("%" PRId32, static_cast<std::int32_t>(number));
	case '-':
		return "-";
	}
	misuse("calls.def: unknown letter '%c'", letter);
}

std::string rendered(const signature &function, std::initializer_list<traced> arguments)
{
	std::string text(function.name);
	auto argument = arguments.begin();

	if (arguments.size() != function.letters.size())
		misuse("calls.def lists %zu arguments for %s, the simulation traces %zu", function.letters.size(), function.name.data(),
		       arguments.size());
	text += '(';
	for (char letter : function.letters) {
		if (argument != arguments.begin())
			text += ", ";
		text += rendered(letter, *argument++);
	}
	return text + ')';
}

bool strikes_locked(fault &fault)
{
	if (fault.remaining == 0)
		return false;
	if (fault.remaining > 1) {
		--fault.remaining;
		return false;
	}
	if (!fault.sticky)
		fault.remaining = 0;
	if (!fault.hit)
		++g_hits;
	fault.hit = true;
	return true;
}

call call_named(std::string_view function)
{
	for (std::size_t i = 0; i < signatures.size(); ++i) {
		if (signatures[i].name == function)
			return static_cast<call>(i);
	}
	misuse("%.*s is named, which calls.def does not list", static_cast<int>(function.size()), function.data());
}

std::function<void()> interruption_locked(call which)
{
	for (auto &one : g_interruptions) {
		if (one.which == which && one.remaining && --one.remaining == 0)
			return std::move(one.action);
	}
	return {};
}

std::optional<long long> forced_locked(call which, std::initializer_list<traced> arguments)
{
	std::optional<long long> result;

	for (auto &fault : g_faults) {
		if (fault.which != which || !strikes_locked(fault))
			continue;
		result = fault.result;
		if (!fault.content.empty())
			std::memcpy((arguments.begin() + fault.argument)->address(), fault.content.data(), fault.content.size());
	}
	return result;
}

unsigned times_let_go()
{
	state_guard guard;
	return g_times_let_go;
}

void arm_locked(fault fault)
{
	if (fault.remaining == 0)
		misuse("a fault is armed for call 0 of %s; the first call is 1",
		       signatures[static_cast<std::size_t>(fault.which)].name.data());
	g_faults.push_back(std::move(fault));
}

} // namespace

const witness *g_witness;
call_scheduler *g_call_scheduler;

void misuse(const char *format, ...)
{
	va_list values;

	std::array<char, 512> text;

	va_start(values, format);
	std::vsnprintf(text.data(), text.size(), format, values);
	va_end(values);
	if (g_call_scheduler)
		g_call_scheduler->rule_is_broken(text.data());
	std::fprintf(stderr, "simulation: %s\n", text.data());
	std::abort();
}

std::mutex &state_mutex()
{
	static std::mutex mutex;
	return mutex;
}

std::optional<long long> seen(call which, std::initializer_list<traced> arguments)
{
	const signature &function = signatures[static_cast<std::size_t>(which)];
	auto text = rendered(function, arguments);
	std::function<void()> action;
	std::optional<long long> forced;

	if (g_call_scheduler)
		if (const auto decided = g_call_scheduler->at_call(which, text, arguments))
			return decided;
	if (std::find(never_sleep.begin(), never_sleep.end(), which) == never_sleep.end())
		must_not_sleep_here(function.name.data());
	{
		state_guard guard;

		if (g_witness)
			g_witness->called(text);
		g_calls.push_back(std::move(text));
		action = interruption_locked(which);
		forced = forced_locked(which, arguments);
	}
	if (action)
		action();
	return forced;
}

void at_call(std::string_view function, unsigned nth, std::function<void()> action)
{
	state_guard guard;

	g_interruptions.push_back({call_named(function), nth, std::move(action)});
}

void arm(std::string_view function, long long result, unsigned nth, bool sticky)
{
	state_guard guard;
	arm_locked({call_named(function), nth, sticky, result, false, 0, {}});
}

void forge(std::string_view function, long long result, unsigned argument, std::span<const std::uint8_t> content, unsigned nth)
{
	state_guard guard;
	const call which = call_named(function);

	if (argument >= signatures[static_cast<std::size_t>(which)].letters.size())
		misuse("%.*s has no argument %u", static_cast<int>(function.size()), function.data(), argument);
	arm_locked({which, nth, false, result, false, argument, {content.begin(), content.end()}});
}

// A call that is let go before it comes to wait does not wait.
void stop_call(std::string_view function, unsigned nth)
{
	at_call(function, nth, [before = times_let_go()] {
		std::unique_lock<std::mutex> held(state_mutex());
		g_let_go.wait(held, [before] { return g_times_let_go != before; });
	});
}

void let_calls_go()
{
	state_guard guard;
	g_faults.clear();
	g_interruptions.clear();
	++g_times_let_go;
	g_let_go.notify_all();
}

unsigned faults_hit()
{
	state_guard guard;
	return g_hits;
}

void count_hit_locked()
{
	++g_hits;
}

std::vector<std::string> calls()
{
	state_guard guard;
	return g_calls;
}

void forget_calls()
{
	state_guard guard;
	g_calls.clear();
}

void reset_calls()
{
	state_guard guard;
	g_calls.clear();
	g_faults.clear();
	g_interruptions.clear();
	g_hits = 0;
}

void power_cycle()
{
	reset_files();
	reset_mtd();
	reset_device();
	reset_locks();
	reset_memory();
	reset_log();
	reset_driver();
	reset_hard_locks();
	reset_calls();
}

void reset()
{
	power_cycle();
	reset_user_memory();
	reset_xml();
}

} // namespace simulation
