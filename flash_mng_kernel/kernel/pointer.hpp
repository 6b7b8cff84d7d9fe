// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#pragma once

#include "kernel/pointer.h"

namespace flash_mng {

// Two questions, as Linux asks them: made one range, the compiler needs an instruction more.
inline bool is_address(const void *pointer)
{
	if (!pointer) [[unlikely]]
		return false;
	return reinterpret_cast<unsigned long>(pointer) < -static_cast<unsigned long>(LINUX_MAX_ERRNO);
}

inline bool is_error(long long result)
{
	return result < 0 && result >= -LINUX_MAX_ERRNO;
}

// The error number of a pointer that is no address, as messages print it: negative, or 0 for NULL.
inline long error_of(const void *pointer)
{
	return static_cast<long>(reinterpret_cast<unsigned long>(pointer));
}

} // namespace flash_mng
