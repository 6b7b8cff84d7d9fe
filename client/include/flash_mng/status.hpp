// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// How a command ended. Three sides can refuse one, and they are kept apart: the module with a 32-bit code, the kernel with an errno,
// and this library when a request cannot be put into a record.
#pragma once

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

#include "flash_mng/codes.hpp"

namespace flash_mng {

enum class origin : std::uint8_t {
	success,
	module,	 // code() is what the module, or the platform through it, answered
	system,	 // error() is the kernel's errno; the module was not reached
	request, // the request does not fit its record; nothing was called
};

class [[nodiscard]] status {
public:
	constexpr status() = default;

	static constexpr status from_code(std::uint32_t code)
	{
		return code == FLASH_MNG_OK ? status() : status(flash_mng::origin::module, code);
	}
	static constexpr status from_errno(int error) { return {flash_mng::origin::system, static_cast<std::uint32_t>(error)}; }
	static constexpr status unfit_request() { return {flash_mng::origin::request, 0}; }

	// What ioctl() returned, and errno right after it. -1 with EPERM is the code FLASH_MNG_FAILED: the kernel's own EPERM does not
	// occur on an open device.
	static constexpr status from_ioctl(int result, int error)
	{
		return result == -1 && error != EPERM ? from_errno(error) : from_code(flash_mng_code(result, error));
	}

	constexpr bool ok() const { return origin_ == flash_mng::origin::success; }
	constexpr flash_mng::origin origin() const { return origin_; }

	// The module's 32-bit code: FLASH_MNG_OK on success, and also when the module was not reached: look at origin() or ok() first.
	constexpr std::uint32_t code() const { return origin_ == flash_mng::origin::module ? value_ : FLASH_MNG_OK; }
	constexpr bool is(std::uint32_t code) const { return origin_ == flash_mng::origin::module && value_ == code; }

	// The kernel's errno; 0 when the kernel did not refuse.
	constexpr int error() const { return origin_ == flash_mng::origin::system ? static_cast<int>(value_) : 0; }

	// One sentence, never nullptr. A literal, except for the kernel's errors, whose text is strerror()'s.
	const char *meaning() const
	{
		switch (origin_) {
		case flash_mng::origin::success:
			return find_code(FLASH_MNG_OK)->meaning;
		case flash_mng::origin::system:
			return std::strerror(error());
		case flash_mng::origin::request:
			return "the request does not fit its record";
		case flash_mng::origin::module:
			break;
		}
		const code_text *const known = find_code(value_);
		return known ? known->meaning : "a code of the platform, passed through by the module";
	}

	friend constexpr bool operator==(const status &, const status &) = default;

private:
	constexpr status(flash_mng::origin origin, std::uint32_t value) : value_(value), origin_(origin) {}

	std::uint32_t value_ = 0;
	flash_mng::origin origin_ = flash_mng::origin::success;
};

// A value, or the reason why there is none.
template <typename value_type> class [[nodiscard]] result {
public:
	constexpr result(value_type value) : value_(std::move(value)) {}
	constexpr result(flash_mng::status failure) : status_(failure) {}

	constexpr explicit operator bool() const { return value_.has_value(); }
	constexpr flash_mng::status status() const { return status_; }

	// Only for a result that has a value.
	constexpr value_type &operator*() { return *value_; }
	constexpr const value_type &operator*() const { return *value_; }
	constexpr value_type *operator->() { return &*value_; }
	constexpr const value_type *operator->() const { return &*value_; }

private:
	std::optional<value_type> value_;
	flash_mng::status status_;
};

} // namespace flash_mng
