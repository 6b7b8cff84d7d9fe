// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "program.hpp"

#include <algorithm>
#include <cstring>

namespace fuzz {

namespace {

bool inside(const uint8_t *start, std::size_t length, uint64_t address, std::size_t size)
{
	const uint64_t first = harness::user_address(start);
	return address >= first && address <= first + length && size <= first + length - address;
}

} // namespace

piece::piece(std::size_t size)
	: size_(size), writable_(harness::user_memory(size)), read_only_(harness::user_memory(size, harness::access::read_only))
{
}

uint64_t piece::place(input &from, std::size_t size, const bytes &content)
{
	const std::size_t used = std::min(size, size_);
	uint64_t address = harness::user_address(writable_) + size_ - used;
	switch (from.byte() % 32) {
	case 0:
		return 0;
	case 1:
		return harness::unmapped_address();
	case 2:
		return harness::kernel_address();
	case 3:
		return ~uint64_t(0) - from.byte();
	case 4:
		address += (used + 1) / 2;
		break;
	case 5:
		address = harness::user_address(read_only_) + size_ - used;
		break;
	}
	put(address, content);
	return address;
}

bool piece::readable(uint64_t address, std::size_t size) const
{
	return writable(address, size) || inside(read_only_, size_, address, size);
}

bool piece::writable(uint64_t address, std::size_t size) const
{
	return inside(writable_, size_, address, size);
}

void piece::change(uint64_t address, const bytes &content) const
{
	if (writable(address, 0))
		put(address, content);
}

void piece::take_away() const
{
	harness::protect(writable_, size_, harness::access::none);
}

void piece::give_back() const
{
	harness::protect(writable_, size_, harness::access::read_write);
}

void piece::put(uint64_t address, const bytes &content) const
{
	const bool into_writable = writable(address, 0);
	uint8_t *const end = (into_writable ? writable_ : read_only_) + size_;
	uint8_t *const start = reinterpret_cast<uint8_t *>(address);
	const std::size_t fits = std::min<std::size_t>(content.size(), static_cast<std::size_t>(end - start));

	if (!into_writable)
		harness::protect(read_only_, size_, harness::access::read_write);
	if (fits)
		std::memcpy(start, content.data(), fits);
	if (!into_writable)
		harness::protect(read_only_, size_, harness::access::read_only);
}

} // namespace fuzz
