// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// A board description that says anything: the first half of the input answers for it, the second half calls.
#include "any_description.hpp"
#include "stage.hpp"
#include "target.hpp"

void fuzz::play(input from)
{
	const uint32_t size = from.byte();
	const bytes answers = from.some(size);
	any_description description{input(answers)};
	stage on("");
	on.sections_may_be_any();
	while (!from.is_over())
		on.step(from);
}
