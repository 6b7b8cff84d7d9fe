// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What a failing call of Linux or of the platform may answer.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace faults {

// The name of the function in a call as the trace shows it.
std::string_view function_of(std::string_view call);

// The wrong results of a call as the trace shows it; none when its function cannot fail. The first is the commonest.
std::vector<long long> wrong_results(std::string_view call);

// The functions of calls.def that stand in neither list, the one of wrong results and the one of functions that cannot fail, or in both.
std::vector<std::string> badly_listed_functions();

} // namespace faults
