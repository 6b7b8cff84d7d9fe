// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "turns.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "config/flash_config.hpp"
#include "config/mtd_info.hpp"
#include "faults/wrong_results.hpp"
#include "kernel/device.h"
#include "kernel/spinlock.h"
#include "spi/driver.hpp"
#include "spi/registry.hpp"

namespace schedules {

namespace {

turns *g_current;

struct known_place {
	const void *start;
	std::size_t size;
	const char *name;
};

const known_place places[] = {
	{&g_flash_config_list, sizeof(g_flash_config_list), "g_flash_config_list"},
	{g_usrdata_mtd_name, sizeof(g_usrdata_mtd_name), "g_usrdata_mtd_name"},
	{&g_flash_mtd_info_list, sizeof(g_flash_mtd_info_list), "g_flash_mtd_info_list"},
	{&g_flash_mtd_info_list_num, sizeof(g_flash_mtd_info_list_num), "g_flash_mtd_info_list_num"},
	{&g_spi_flash_info_list, sizeof(g_spi_flash_info_list), "g_spi_flash_info_list"},
	{&g_spi_flash_info_list_lock, 4, "g_spi_flash_info_list_lock"},
	{&g_flash_funcs, sizeof(g_flash_funcs), "g_flash_funcs"},
};

} // namespace

void join(clock_vector &one, const clock_vector &other)
{
	for (unsigned i = 0; i < most_callers; ++i)
		one[i] = std::max(one[i], other[i]);
}

turns::turns()
{
	g_current = this;
	simulation::g_call_scheduler = this;
}

turns::~turns()
{
	power_on();
	simulation::g_call_scheduler = nullptr;
	g_current = nullptr;
}

turns &turns::current()
{
	return *g_current;
}

void turns::power_on()
{
	for (auto &one : callers_) {
		if (!one->line.is_over()) {
			one->given_up = true;
			running_ = static_cast<unsigned>(&one - callers_.data());
			simulation::become(&one->task);
			one->line.resume();
			simulation::become(nullptr);
		}
		spare_.push_back(std::move(one));
	}
	running_ = most_callers;
	callers_.clear();
	steps_.clear();
	known_.clear();
	number_.clear();
	released_.clear();
	findings_.clear();
	failing_.reset();
	broken_ = false;
	listed_ = 0;
	simulation::power_cycle();
	arena_.reset();
}

unsigned turns::add(std::function<void()> work, bool moves_sections)
{
	if (spare_.empty())
		spare_.push_back(std::make_unique<caller>());
	callers_.push_back(std::move(spare_.back()));
	spare_.pop_back();
	caller &one = *callers_.back();
	one.task = {};
	one.next = {.what = "begins"};
	one.known = {};
	one.held = 0;
	one.moves_sections = moves_sections;
	one.file_device = -1;
	one.wrote = false;
	one.killed = false;
	one.given_up = false;
	one.line.start([&one, work = std::move(work)] {
		try {
			if (!one.given_up)
				work();
		} catch (const given_up &) {
		}
	});
	return callers() - 1;
}

turns::caller *turns::running() const
{
	return running_ < callers_.size() ? callers_[running_].get() : nullptr;
}

bool turns::is_able(const caller &one) const
{
	if (one.line.is_over())
		return false;
	const address lock = one.next.waits_for;
	return !lock || (one.next.killable && one.killed) || simulation::lock_is_free(reinterpret_cast<const void *>(lock));
}

caller_set turns::able() const
{
	caller_set all = 0;

	if (!broken_)
		for (unsigned i = 0; i < callers(); ++i)
			all |= is_able(*callers_[i]) ? 1u << i : 0;
	return all;
}

bool turns::all_over() const
{
	return std::all_of(callers_.begin(), callers_.end(), [](const auto &one) { return one->line.is_over(); });
}

const step &turns::go_on(unsigned number)
{
	caller &one = *callers_[number];

	running_ = number;
	steps_.push_back({number, one.next, {}, one.held, false});
	number_.push_back(++one.known[number]);
	known_.push_back({});
	simulation::become(&one.task);
	one.line.resume();
	simulation::become(nullptr);
	running_ = most_callers;
	known_.back() = one.known;
	look_for_races(steps_.back());
	return steps_.back();
}

// A caller that is given up leaves all that it was doing.
void turns::wait_at(pause_point point)
{
	caller &self = *running();

	self.next = std::move(point);
	fiber::pause();
	if (self.given_up)
		throw given_up{};
}

void turns::pause(const std::string &what)
{
	if (running())
		wait_at({.what = what});
}

void turns::kill(unsigned number)
{
	touch({killed(number), 1, true, true});
	callers_[number]->killed = true;
}

std::optional<long long> turns::at_call(simulation::call which, const std::string &text,
					std::initializer_list<simulation::traced> arguments)
{
	using enum simulation::call;
	if (!running())
		return std::nullopt;
	if (const auto wrong = failure_of(text)) {
		wait_at({.what = text + " fails"});
		return wrong;
	}
	const bool takes = which == linux_spin_lock || which == linux_mutex_lock || which == down_killable;
	const auto *const lock = takes ? arguments.begin()->address() : nullptr;

	wait_at({.what = text, .waits_for = reinterpret_cast<address>(lock), .killable = which == down_killable});
	touch_for_call(which, arguments.begin());
	if (which == down_killable) {
		touch({killed(running_), 1, false, true});
		if (!simulation::lock_is_free(lock)) {
			steps_.back().killed = true;
			return -EINTR;
		}
	}
	if (takes)
		take_lock(lock);
	return std::nullopt;
}

std::optional<long long> turns::failure_of(const std::string &text)
{
	if (!failing_ || failing_->caller != running_ || failing_->function != faults::function_of(text) || --failing_->nth)
		return std::nullopt;
	failing_.reset();
	return faults::wrong_results(text).front();
}

void turns::take_lock(const void *lock)
{
	running()->held = reinterpret_cast<address>(lock);
	join(running()->known, released_[running()->held]);
}

void turns::release_lock(const void *lock)
{
	released_[reinterpret_cast<address>(lock)] = before_this_step();
	running()->held = 0;
}

clock_vector turns::before_this_step() const
{
	clock_vector known = running()->known;
	--known[running_];
	return known;
}

void turns::meet(address thing)
{
	if (!running())
		return;
	touch({thing, 1, true, true});
	join(running()->known, released_[thing]);
	join(released_[thing], before_this_step());
}

void turns::touch(const access &one)
{
	if (running())
		steps_.back().touched.add(one);
}

void turns::touch_bytes(const void *where, std::size_t size, bool write)
{
	const auto start = reinterpret_cast<address>(where);
	const bool is_global = std::any_of(std::begin(places), std::end(places), [&](const known_place &place) {
		return start >= reinterpret_cast<address>(place.start) && start < reinterpret_cast<address>(place.start) + place.size;
	});

	if (is_global || arena_.contains(start))
		touch({start, size, write, false});
}

void turns::touch_text(const char *text)
{
	if (text)
		touch_bytes(text, std::strlen(text) + 1, false);
}

void *turns::take_memory(std::size_t size)
{
	return arena_.take(running() ? running_ + 1 : 0, size);
}

void turns::give_memory(void *memory)
{
	arena_.give(memory);
}

void turns::rule_is_broken(const std::string &text)
{
	if (!running()) {
		std::fprintf(stderr, "outside of all callers: %s\n", text.c_str());
		std::abort();
	}
	findings_.push_back("broken rule: " + text);
	broken_ = true;
	throw given_up{};
}

void turns::module_touches(const void *where, std::size_t size, bool write)
{
	const auto start = reinterpret_cast<address>(where);

	if (!running())
		return;
	check_alive(start, size, write);
	touch_bytes(where, size, write);
}

void turns::check_alive(address start, std::size_t size, bool write)
{
	if (arena_.contains(start) && !arena_.is_live(start, size))
		rule_is_broken((write ? "a store to " : "a load from ") + std::to_string(size) +
			       " bytes of memory that was freed or never allocated");
}

void turns::module_marks(const void *where, std::size_t size, bool write, bool ordered)
{
	const auto start = reinterpret_cast<address>(where);

	if (!running())
		return;
	wait_at({.what = {}, .marked = where, .stores = write});
	check_alive(start, size, write);
	touch({start, size, write, true});
	if (!write && ordered)
		join(running()->known, released_[start]);
	if (write)
		released_[start] = ordered ? before_this_step() : clock_vector{};
}

std::string turns::name_of(const void *where)
{
	const auto start = reinterpret_cast<address>(where);

	for (const known_place &place : places)
		if (start >= reinterpret_cast<address>(place.start) && start < reinterpret_cast<address>(place.start) + place.size)
			return place.name;
	if (start >= 9 * things)
		return "a listed partition";
	if (start >= 8 * things)
		return "sections";
	return current().arena_.contains(start) ? "memory of the module" : "the flash driver's functions";
}

std::string turns::race_text(const std::string &place)
{
	return "nothing orders two accesses of " + place;
}

// Steps of two callers that touch the same bytes, one of them storing there, with nothing between the steps that orders them.
void turns::look_for_races(const step &last)
{
	const clock_vector &known = known_.back();

	for (std::size_t i = 0; i + 1 < steps_.size(); ++i) {
		access met = {};
		if (steps_[i].caller == last.caller || number_[i] <= known[steps_[i].caller] ||
		    !steps_[i].touched.clashes_unmarked(last.touched, met))
			continue;
		std::string text = race_text(name_of(reinterpret_cast<const void *>(met.start)));
		if (std::find(findings_.begin(), findings_.end(), text) == findings_.end())
			findings_.push_back(std::move(text));
	}
}

} // namespace schedules
