// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// faults: for every command and export, for load and unload, the first, second, third ... fault point of the kernel fails, until the
// call has none left; then each function of the platform, once and for good. After each fault nothing may be held, bytes around the target
// of a write stand as they stood, and a retry succeeds. An argument chooses the operations whose names contain it.
//
// For the debug kernel, without kmemleak, whose own metadata has fault points.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "fault_operations.hpp"
#include "kernel_state.hpp"
#include "lab_device.hpp"
#include "modules.hpp"

namespace torture {

namespace {

constexpr uint32_t most_points = 5000;
constexpr unsigned most_printed = 30;
constexpr uint32_t first_status_of_flash_buffer = 0x70050001;
constexpr uint32_t last_status_of_flash_buffer = 0x7005000c;

lab_held held()
{
	lab_held now = {};
	guest::lab(LAB_HELD, &now, "holdings");
	return now;
}

std::string text_of(const lab_held &held)
{
	return "heap " + std::to_string(held.heap) + ", virtual memory " + std::to_string(held.virtual_memory) + ", MTD devices " +
	       std::to_string(held.mtd_references) + ", files " + std::to_string(held.open_files) + ", locks " + std::to_string(held.locks);
}

bool holds_more(const lab_held &before, const lab_held &after, int64_t heap_on_purpose)
{
	return after.heap != before.heap + heap_on_purpose || after.virtual_memory != before.virtual_memory ||
	       after.mtd_references != before.mtd_references || after.open_files != before.open_files || after.locks != before.locks ||
	       after.untracked;
}

class trials {
public:
	// Without access, between load and unload.
	explicit trials(const flash_mng_access *access) : access_(access) {}

	// How many operations have the word in their names.
	unsigned run(const std::vector<operation> &list, const std::string &only)
	{
		unsigned chosen = 0;
		for (const operation &one : list) {
			if (one.name.find(only) == std::string::npos)
				continue;
			++chosen;
			const uint64_t kernel = kernel_faults(one);
			const uint64_t platform = platform_faults(one);
			std::printf("  %-40s %4llu faults of the kernel, %4llu of the platform\n", one.name.c_str(),
				    static_cast<unsigned long long>(kernel), static_cast<unsigned long long>(platform));
			std::fflush(stdout);
			kernel_total_ += kernel;
			platform_total_ += platform;
		}
		return chosen;
	}

	uint64_t kernel_total() const { return kernel_total_; }
	uint64_t platform_total() const { return platform_total_; }
	unsigned failures() const { return failures_; }

private:
	uint64_t kernel_faults(const operation &one)
	{
		for (uint32_t nth = 1; nth <= most_points; ++nth) {
			doing_ = one.name + ", fault point " + std::to_string(nth);
			fault given = {nth};
			const uint32_t code = trial(one, given, [] {});
			if (!given.happened) {
				check(code == FLASH_MNG_OK, "without a fault the code is not 0");
				return nth - 1;
			}
		}
		check(false, "there is no end of fault points");
		return most_points;
	}

	uint64_t platform_faults(const operation &one)
	{
		uint64_t count = 0;
		for (const platform_switch &service : platform_switches()) {
			if (!guest::file_exists("/sys/kernel/debug/" + service.module))
				continue;
			uint32_t nth = 1;
			while (switched(one, service, nth, false)) {
				switched(one, service, nth, true);
				count += 2;
				++nth;
			}
		}
		return count;
	}

	bool switched(const operation &one, const platform_switch &service, uint32_t nth, bool sticky)
	{
		doing_ = one.name + ", " + service.function + " fails, call " + std::to_string(nth) + (sticky ? " and all later" : "");
		switch_ = &service;
		fault none;
		bool fired = false;
		// Armed right before the attempt, off right after it.
		operation armed = one;
		armed.attempt = [&](fault &given) {
			if (fired || !switch_)
				return one.attempt(given);
			arm(service, nth, sticky);
			const uint32_t code = one.attempt(given);
			fired = sticky || has_fired(service);
			clear(service);
			switch_ = nullptr;
			return code;
		};
		trial(armed, none, [&] { allow_kept_locks(service); });
		switch_ = nullptr;
		return fired;
	}

	void allow_kept_locks(const platform_switch &service)
	{
		if (access_ && release_hard_locks(*access_))
			check(service.function == "drv_hard_unlock", "a hardware lock is still held");
	}

	// Gives the code of the attempt with the fault.
	uint32_t trial(const operation &one, fault &given, const std::function<void()> &repair)
	{
		guest::lab(LAB_TRACE_CLEAR, nullptr, "trace");
		const lab_held before = held();
		one.before();
		const bytes around = surroundings(one);
		const uint32_t code = one.attempt(given);
		int64_t on_purpose = 0;
		repair();
		if (code != FLASH_MNG_OK) {
			check_surroundings(one, around, code);
			on_purpose = one.left_on_purpose();
			retry(one);
		}
		check_target(one);
		one.after();
		const lab_held after = held();
		check(!holds_more(before, after, on_purpose), "before: " + text_of(before) + "; after: " + text_of(after));
		if (const uint64_t now = taint(); now != taint_) {
			check(false, "the kernel has reported something, taint " + std::to_string(now));
			taint_ = now;
		}
		return code;
	}

	void retry(const operation &one)
	{
		fault none;
		const uint32_t code = one.attempt(none);
		check(code == FLASH_MNG_OK, "a retry gives code " + std::to_string(code));
	}

	static bytes surroundings(const operation &one)
	{
		return one.target.around ? stored_bytes(one.target.partition, one.target.around) : bytes();
	}

	// A flash buffer service that fails while it rewrites an erase block loses it.
	void check_surroundings(const operation &one, const bytes &before, uint32_t code)
	{
		if (before.empty() || (code >= first_status_of_flash_buffer && code <= last_status_of_flash_buffer))
			return;
		const bytes after = surroundings(one);
		for (uint32_t at = 0; at < before.size(); ++at) {
			const bool inside = at >= one.target.offset && at < one.target.offset + one.target.data.size();
			if (!inside && after[at] != before[at]) {
				check(false, "byte " + std::to_string(at) + " beside the target has changed");
				return;
			}
		}
	}

	void check_target(const operation &one)
	{
		if (!one.target.around)
			return;
		const bytes all = surroundings(one);
		check(std::equal(one.target.data.begin(), one.target.data.end(), all.begin() + one.target.offset), "the data is not there");
	}

	void check(bool right, const std::string &otherwise)
	{
		if (!right && ++failures_ <= most_printed) {
			std::printf("%s: %s\n", doing_.c_str(), otherwise.c_str());
			std::fflush(stdout);
		}
	}

	const flash_mng_access *access_;
	const platform_switch *switch_ = nullptr;
	std::string doing_;
	uint64_t kernel_total_ = 0;
	uint64_t platform_total_ = 0;
	uint64_t taint_ = taint();
	unsigned failures_ = 0;
};

int all_faults(const std::string &only)
{
	enable_fault_points();
	trials alone(nullptr);
	unsigned chosen = alone.run(module_operations(), only);

	loaded_modules modules({"flash_mng", "flash_calls"});
	const flash_mng_access access;
	trials loaded(&access);
	chosen += loaded.run(operations(access), only);
	if (chosen == 0)
		throw std::runtime_error("no call has '" + only + "' in its name");

	const unsigned failures = alone.failures() + loaded.failures();
	const uint64_t kernel = alone.kernel_total() + loaded.kernel_total(), platform = alone.platform_total() + loaded.platform_total();
	std::printf("faults: %llu of the kernel, %llu of the platform, %u failures\n", static_cast<unsigned long long>(kernel),
		    static_cast<unsigned long long>(platform), failures);
	if (only.empty() && (kernel == 0 || platform == 0))
		throw std::runtime_error("no fault came: the kernel's fault points or the platform's switches are off");
	return failures ? EXIT_FAILURE : EXIT_SUCCESS;
}

} // namespace

} // namespace torture

int main(int count, char **arguments)
try {
	return torture::all_faults(count > 1 ? arguments[1] : "");
} catch (const std::exception &failure) {
	std::printf("faults: %s\n", failure.what());
	return EXIT_FAILURE;
}
