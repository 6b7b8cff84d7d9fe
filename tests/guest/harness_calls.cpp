// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Calling the module: its functions through flash_lab, its commands from this very process.
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <stdexcept>
#include <vector>

#include "flash_mng.h"
#include "harness_mtd.hpp"
#include "lab_device.hpp"
#include "parts.hpp"

namespace harness {

namespace {

// An address of a byte even where a vector or text is empty.
uint64_t address_or_stub(const void *memory, std::size_t size)
{
	static char stub;
	return reinterpret_cast<uint64_t>(size ? memory : &stub);
}

template <typename record_type> uint64_t address_of(const record_type &record)
{
	return reinterpret_cast<uint64_t>(&record);
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

lab_call prepared(std::string_view function, std::span<const argument> arguments, part_lists &lists)
{
	if (arguments.size() > LAB_ARGUMENTS)
		throw std::runtime_error("too many arguments for " + std::string(function));
	lab_call call = {};
	guest::set_name(call.function, function);
	for (const argument &given : arguments)
		call.arguments[call.count++] = prepared(given, lists);
	return call;
}

uint64_t call_register(std::string_view function, std::initializer_list<argument> arguments)
{
	part_lists lists;
	lab_call call = prepared(function, arguments, lists);
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

std::vector<uint32_t> one_system_call(const std::vector<step> &steps)
{
	std::vector<lab_step> all;
	std::deque<lab_call> calls;
	std::deque<lab_mtd_add> devices;
	std::deque<__s32> removed;
	part_lists lists;
	std::vector<uint32_t> results;

	for (const step &each : steps) {
		if (const auto *call = std::get_if<kernel_call>(&each))
			all.push_back({LAB_CALL, address_of(calls.emplace_back(prepared(call->function, call->arguments, lists)))});
		else if (const auto *removal = std::get_if<mtd_removal>(&each))
			all.push_back({LAB_MTD_REMOVE, address_of(removed.emplace_back(removal->index))});
		else
			all.push_back({LAB_MTD_ADD, address_of(devices.emplace_back(guest::asking_for(std::get<mtd_spec>(each))))});
	}
	lab_steps record = {};
	record.steps = reinterpret_cast<uint64_t>(all.data());
	record.count = static_cast<uint32_t>(all.size());
	guest::lab(LAB_STEPS, &record, "steps of one system call");
	for (const lab_call &call : calls)
		results.push_back(static_cast<uint32_t>(call.result));
	return results;
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

} // namespace harness
