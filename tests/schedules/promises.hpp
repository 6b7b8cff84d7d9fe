// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What the documents leave open: ends that callers may come to although no order of whole calls leads there.
#pragma once

#include <span>
#include <string>

#include "stage.hpp"

namespace schedules {

struct open_point {
	const char *what;
	bool (*fits)(const scene &on, const ending &end);
	bool of_failures = false; // only where a call fails
};

std::span<const open_point> open_points();

// The data races that are known.
struct known_race {
	const char *place;
	const char *why;
	bool (*fits)(const scene &on);
};

std::span<const known_race> known_races();

} // namespace schedules
