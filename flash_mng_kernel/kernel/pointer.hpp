// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Pointers that Linux returns: an address, NULL, or an error number in the top 4095 addresses.
#pragma once

namespace flash_mng {

inline constexpr unsigned long highest_error = 4095;

inline bool is_address(const void *pointer)
{
	const auto value = reinterpret_cast<unsigned long>(pointer);
	return value != 0 && value < -highest_error;
}

inline bool is_error(long long result)
{
	return result < 0 && result >= -static_cast<long long>(highest_error);
}

// The error number of a pointer that is no address, as messages print it: negative, or 0 for NULL.
inline long error_of(const void *pointer)
{
	return static_cast<long>(reinterpret_cast<unsigned long>(pointer));
}

// A text that may be missing, as messages print it.
inline const char *printable(const char *text)
{
	return text ? text : "(null)";
}

} // namespace flash_mng
