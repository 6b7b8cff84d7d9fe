// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Where messages go and how serious they are: the first two arguments of drv_log_record(). The third, a flag, is always 0. And what they
// print of a text that is missing.
#pragma once

#include "platform/log.h"

namespace flash_mng {

inline constexpr u32 common_log = 0; // the platform's own, there before the module's log and after it
inline constexpr u32 module_log = 27;

inline constexpr u32 serious = 1;
inline constexpr u32 ordinary = 2;
inline constexpr u32 trace = 3;

// A text that may be missing, as messages print it.
inline const char *printable(const char *text)
{
	return text ? text : "(null)";
}

} // namespace flash_mng
