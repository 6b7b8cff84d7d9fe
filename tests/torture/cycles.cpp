// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// cycles: flash_mng loaded and unloaded again and again; slab and vmalloc memory must not grow.
//
// Parameter of the kernel command line: torture.cycles (1000).
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "kernel_state.hpp"
#include "modules.hpp"

namespace {

constexpr uint64_t warm_up = 100;
constexpr long most_growth = 512; // kB, of slab and vmalloc each: what the kernel's own caches may still take

void load_and_unload(uint64_t count)
{
	for (uint64_t i = 0; i < count; ++i)
		torture::loaded_modules({"flash_mng"}).unload();
}

} // namespace

int main()
try {
	const uint64_t count = torture::parameter("torture.cycles", 1000);
	load_and_unload(warm_up);
	const torture::memory_use before = torture::memory_in_use();
	const auto start = std::chrono::steady_clock::now();
	load_and_unload(count);
	const auto took = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start);
	const torture::memory_use after = torture::memory_in_use();
	std::printf("cycles: %llu load cycles in %lld s; before: %s; after: %s\n", static_cast<unsigned long long>(count),
		    static_cast<long long>(took.count()), text_of(before).c_str(), text_of(after).c_str());
	return after.slab - before.slab > most_growth || after.vmalloc - before.vmalloc > most_growth;
} catch (const std::exception &failure) {
	std::printf("cycles: %s\n", failure.what());
	return EXIT_FAILURE;
}
