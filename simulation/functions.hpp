// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The module's functions and globals by name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace simulation {

// Calls a function with as many of the arguments as it takes; it must take exactly @arguments.size(). Its result, widened.
std::uint64_t call_function(std::string_view name, std::span<const std::uint64_t> arguments);

// The bytes of a global.
std::span<const std::byte> global_named(std::string_view name);

// Gives the module's globals the content that a newly loaded module has.
void refresh_globals();

} // namespace simulation
