// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Words that the lists of operations share.
#pragma once

#include <memory>

#include "case.hpp"
#include "operation.hpp"

namespace faults {

inline constexpr uint32_t erase_size = 0x1000;

inline harness::mtd_spec device(const std::string &name, uint32_t type, uint64_t size = 0x4000)
{
	return {.name = name, .size = size, .type = type, .erase_size = erase_size};
}

// What the board puts on its n-th device.
inline bytes content_of(int device, std::size_t offset, std::size_t length)
{
	const bytes whole = conformance::pattern(offset + length, static_cast<uint32_t>(device) + 1);
	return {whole.begin() + static_cast<std::ptrdiff_t>(offset), whole.end()};
}

// New bytes for a device.
inline bytes fresh_data(std::size_t length)
{
	return conformance::pattern(length, 77);
}

// A buffer that start() empties, run() fills and done() looks at.
using shared_bytes = std::shared_ptr<bytes>;

inline shared_bytes shared(std::size_t size)
{
	return std::make_shared<bytes>(size);
}

inline constexpr uint8_t untouched = 0xEE;

inline std::function<void()> emptying(const shared_bytes &buffer)
{
	return [buffer] { std::fill(buffer->begin(), buffer->end(), untouched); };
}

inline std::function<bool()> holds(const shared_bytes &buffer, const bytes &expected)
{
	return [buffer, expected] { return *buffer == expected; };
}

inline void append(operations &all, const operations &more)
{
	all.insert(all.end(), more.begin(), more.end());
}

} // namespace faults
