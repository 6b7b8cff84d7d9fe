// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The entry that libFuzzer calls.
#include <cstdio>
#include <cstdlib>

#include "stage.hpp"
#include "target.hpp"

namespace {

void report()
{
	std::fprintf(stderr, "fuzz: %llu calls of the module\n", static_cast<unsigned long long>(fuzz::calls_made()));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
	return std::atexit(report);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
	fuzz::play(fuzz::input({data, size}));
	return 0;
}
