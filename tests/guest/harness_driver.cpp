// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The suite's flash driver, which flash_lab has.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "flash_mng.h"
#include "harness.hpp"
#include "lab_device.hpp"
#include "parts.hpp"

namespace harness {

namespace {

static_assert(suite_flash_size == LAB_DRIVER_SIZE);

uint64_t functions_of(const driver_slots &slots)
{
	return (slots.get_size ? LAB_DRIVER_GET_SIZE : 0u) | (slots.create ? LAB_DRIVER_CREATE : 0u) |
	       (slots.destroy ? LAB_DRIVER_DESTROY : 0u);
}

void interrupt(lab_fault_kind kind, std::string_view function, unsigned nth, uint64_t functions)
{
	lab_fault fault = {};
	guest::set_name(fault.function, function);
	fault.kind = kind;
	fault.nth = nth;
	fault.result = static_cast<long long>(functions);
	guest::arm(fault, function);
}

flash_part_spec described(const flash_part &part)
{
	return {{part.mtd_name, strnlen(part.mtd_name, sizeof(part.mtd_name))}, part.offset, part.size};
}

} // namespace

void register_driver(const driver_slots &slots)
{
	lab_call call = {};
	guest::set_name(call.function, "drv_flash_driver_register");
	call.count = 3;
	call.arguments[2].kind = CALL_DRIVER;
	call.arguments[2].value = functions_of(slots);
	guest::lab(LAB_CALL, &call, "registration of the flash driver");
}

std::vector<flash_part_spec> created_parts()
{
	lab_parts record = {};
	guest::lab(LAB_DRIVER_PARTS, &record, "number of created parts");
	std::vector<flash_part> parts(record.used / sizeof(flash_part));
	record.buffer = reinterpret_cast<uint64_t>(parts.data());
	record.size = record.used;
	guest::lab(LAB_DRIVER_PARTS, &record, "created parts");
	std::vector<flash_part_spec> created;
	std::transform(parts.begin(), parts.end(), std::back_inserter(created), described);
	return created;
}

void unregister_driver_at(std::string_view function, unsigned nth)
{
	interrupt(LAB_DRIVER_GOES, function, nth, 0);
}

void replace_driver_at(std::string_view function, const driver_slots &slots, unsigned nth)
{
	interrupt(LAB_DRIVER_COMES, function, nth, functions_of(slots));
}

} // namespace harness
