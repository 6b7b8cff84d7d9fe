// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Results in JSON, as flashctl.schema.json describes it.
#pragma once

#include <string>

#include "failure.hpp"
#include "outcome.hpp"

namespace flashctl {

// One object and a line end. Both pointers may be nullptr, and both may be given: a comparison that came out badly has a result.
std::string json_report(const std::string &command, const outcome *found, const failure *wrong);

} // namespace flashctl
