// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Sequences of calls on a sound board: commands with hostile memory, exported functions with any numbers.
#include "stage.hpp"
#include "target.hpp"

void fuzz::play(input from)
{
	stage on(FUZZ_BOARD);
	while (!from.is_over())
		on.step(from);
}
