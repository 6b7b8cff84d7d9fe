// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "input.hpp"

#include "simulation.hpp"

namespace fuzz {

namespace {

constexpr uint32_t limits[] = {
	0,	1,	2,	3,	 31,	  32,	   33,	    40,		511,	    512,
	513,	0xfff,	0x1000, 0x1001,	 0x1fff,  0x2000,  0x2001,  0x27ff,	0x2800,	    0x2801,
	0x2fff, 0x3000, 0x3001, 0xd0000, 0xd0001, 0xd1fff, 0xd2000, 0x7fffffff, 0x80000000, 0xffffffff,
};
constexpr uint32_t most_bytes = 0x4000;

} // namespace

uint32_t input::byte()
{
	if (rest_.empty())
		return 0;
	const uint32_t first = rest_.front();
	rest_ = rest_.subspan(1);
	return first;
}

uint32_t input::number()
{
	uint32_t value = 0;
	for (int i = 0; i < 4; ++i)
		value = value << 8 | byte();
	return value;
}

bytes input::some(std::size_t count)
{
	bytes taken(count);
	for (uint8_t &one : taken)
		one = static_cast<uint8_t>(byte());
	return taken;
}

uint32_t input::size()
{
	const uint32_t choice = byte();
	if (choice < std::size(limits))
		return limits[choice];
	const uint32_t any = number();
	return choice >= 0xe0 && any > simulation::memory_limit ? any : any % most_bytes;
}

uint32_t input::start_of(uint32_t length)
{
	static constexpr uint32_t ends[] = {0x2800, 0x3000, 0x9000, 0xd2000};
	const uint32_t choice = byte();
	return choice % 2 ? ends[choice / 16 % std::size(ends)] - length + choice / 2 % 3 - 1 : size();
}

} // namespace fuzz
