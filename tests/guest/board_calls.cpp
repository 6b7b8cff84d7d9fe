// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Calling the module: its functions through flash_lab, its commands from this very process.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "../conformance/board.hpp"
#include "flash_mng.h"
#include "lab_device.hpp"
#include "parts.hpp"

namespace board {

namespace {

// An address of a byte even where a vector or text is empty.
uint64_t address_or_stub(const void *memory, std::size_t size)
{
	static char stub;
	return reinterpret_cast<uint64_t>(size ? memory : &stub);
}

// The parts that arguments are made of stay until the call is made.
using part_lists = std::deque<std::vector<flash_part>>;

flash_part built(const flash_part_spec &spec)
{
	flash_part part = {spec.offset, spec.size, {}};
	std::memcpy(part.mtd_name, spec.name.data(), std::min(spec.name.size(), sizeof(part.mtd_name)));
	return part;
}

call_argument prepared(const parts_spec &spec, part_lists &lists)
{
	call_argument argument = {};
	argument.kind = CALL_PARTS;
	argument.number = spec.part_num.value_or(static_cast<uint32_t>(spec.parts.size()));
	if (spec.null_parts)
		return argument;
	auto &parts = lists.emplace_back();
	std::transform(spec.parts.begin(), spec.parts.end(), std::back_inserter(parts), built);
	argument.value = address_or_stub(parts.data(), parts.size());
	argument.size = parts.size() * sizeof(flash_part);
	return argument;
}

call_argument prepared(const argument &given, part_lists &lists)
{
	if (given.parts())
		return prepared(*given.parts(), lists);
	call_argument argument = {};
	if (given.buffer()) {
		argument.kind = CALL_MEMORY;
		argument.value = address_or_stub(given.buffer()->data(), given.buffer()->size());
		argument.size = given.buffer()->size();
	} else if (given.text()) {
		argument.kind = CALL_MEMORY_IN;
		argument.value = reinterpret_cast<uint64_t>(given.text()->c_str());
		argument.size = given.text()->size() + 1;
	} else {
		argument.kind = CALL_VALUE;
		argument.value = given.value();
	}
	return argument;
}

uint64_t call_register(std::string_view function, std::initializer_list<argument> arguments)
{
	if (arguments.size() > LAB_ARGUMENTS)
		throw std::runtime_error("too many arguments for " + std::string(function));
	lab_call call = {};
	part_lists lists;
	guest::set_name(call.function, function);
	for (const argument &given : arguments)
		call.arguments[call.count++] = prepared(given, lists);
	guest::lab(LAB_CALL, &call, "call of " + std::string(function));
	return call.result;
}

} // namespace

uint32_t call(std::string_view function, std::initializer_list<argument> arguments)
{
	return static_cast<uint32_t>(call_register(function, arguments));
}

bool call_finds(std::string_view function, std::initializer_list<argument> arguments)
{
	return call_register(function, arguments) != 0;
}

uint64_t call_address(std::string_view function, std::initializer_list<argument> arguments)
{
	return call_register(function, arguments);
}

bytes global(std::string_view name, std::size_t size)
{
	bytes content(size);
	lab_global record = {};
	guest::set_name(record.name, name);
	record.buffer = reinterpret_cast<uint64_t>(content.data());
	record.size = size;
	guest::lab(LAB_GLOBAL, &record, "global " + std::string(name));
	return content;
}

bytes memory(uint64_t address, std::size_t size)
{
	bytes content(size);
	lab_global record = {};
	record.address = address;
	record.buffer = reinterpret_cast<uint64_t>(content.data());
	record.size = size;
	guest::lab(LAB_GLOBAL, &record, "kernel memory");
	return content;
}

// The device is opened for each command, so that nothing keeps the module loaded in between.
ioctl_result ioctl(uint32_t command, uint64_t address)
{
	const int file = open("/dev/flash_mng", O_RDWR | O_CLOEXEC);
	if (file < 0)
		return {-1, errno};
	errno = 0;
	const long value = ::ioctl(file, command, address);
	const ioctl_result result = {value, value == -1 ? errno : 0};
	close(file);
	return result;
}

uint64_t kernel_address()
{
	return 0xffffffc000000000; // of the upper half, where the kernel lives
}

uint64_t unmapped_address()
{
	return 0x10000; // below every program, above the lowest address that may be mapped
}

} // namespace board
