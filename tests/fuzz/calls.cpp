// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "calls.hpp"

#include <algorithm>
#include <cstring>

#include "flash_mng.h"
#include "simulation.hpp"

namespace fuzz {

namespace {

constexpr std::string_view other_names[] = {
	"",
	"nosuch",
	"usrdat",
	"usrdatab",
	"made_a",
	"made_b",
	"%s%n%x",
	"name_with_thirty_one_characters",
	"name_with_thirty_two_characters_",
};
constexpr uint32_t instances[] = {0x11, 0x12, 0x13, 0x20, 0xffffffff, 0x10, 0, 0x77};
constexpr std::size_t most_bytes = 0x4000; // of a buffer in the kernel: more than any partition has

std::string_view name_of(input &from)
{
	const uint32_t choice = from.byte() % 32;
	return choice < 32 - std::size(other_names) ? devices[choice % devices.size()].name : other_names[choice % std::size(other_names)];
}

std::optional<range> range_in(std::string_view name, uint32_t offset, uint32_t length)
{
	for (std::size_t i = 0; i < devices.size(); ++i)
		if (devices[i].name == name && offset <= device_size && length <= device_size - offset && length > 0)
			return range{i, offset, length};
	return std::nullopt;
}

// As the board lays it out. The last section is larger than its device: what lies beyond cannot be touched.
std::optional<range> range_in_section(uint32_t inst_id, uint32_t id, uint32_t address, uint32_t length)
{
	struct section {
		std::size_t device;
		uint32_t address;
		uint32_t size;
	};
	static constexpr section sections[] = {{4, 0, 0x3000}, {0, 0xd0000, 0x2000}, {3, 0x1000, 0x8000}};
	if (inst_id != 0xffffffff || id < 1 || id > std::size(sections))
		return std::nullopt;
	const section &in = sections[id - 1];
	if (address < in.address || address - in.address >= device_size || length > in.size - (address - in.address))
		return std::nullopt;
	return range{in.device, address - in.address, std::min(length, device_size - (address - in.address))};
}

template <typename record> bytes bytes_of(const record &value)
{
	bytes made(sizeof(value));
	std::memcpy(made.data(), &value, sizeof(value));
	return made;
}

bytes at(uint64_t address, std::size_t size)
{
	const auto *start = reinterpret_cast<const uint8_t *>(address);
	return {start, start + size};
}

flash_mtd_io_arg transfer_request(input &from, uint64_t buffer, uint32_t length)
{
	flash_mtd_io_arg record;
	std::memset(record.name, from.byte() % 8 == 7 ? 'u' : 0, sizeof(record.name));
	const std::string_view name = from.one_in(4) ? name_of(from) : devices[1 + from.byte() % 2].name; // those are listed
	name.copy(record.name, sizeof(record.name));
	record.offset = from.start_of(length);
	record.length = length;
	record.buffer = buffer;
	return record;
}

std::string_view text_of(const char (&field)[FLASH_MNG_NAME_SIZE])
{
	return {field, strnlen(field, sizeof(field))};
}

bytes fresh(input &from, std::size_t size)
{
	bytes made(size);
	uint32_t value = from.byte() + 1;
	for (uint8_t &byte : made)
		byte = static_cast<uint8_t>(value += 37);
	return made;
}

// A place for an answer of the kernel's own callers, now and then none.
harness::argument answer(input &from, bytes &place)
{
	return from.one_in(8) ? harness::argument(nullptr) : harness::argument(&place);
}

harness::argument name_argument(input &from, std::string_view name)
{
	return from.one_in(16) ? harness::argument(nullptr) : harness::argument(std::string(name));
}

} // namespace

void caller::interfere(input &from, uint64_t record, bytes content)
{
	static constexpr struct {
		const char *function;
		unsigned nth;
	} moments[] = {{"linux_copy_from_user", 2}, {"get_mtd_device_nm", 1}, {"linux_copy_to_user", 1}};
	const uint32_t choice = from.byte();
	if (choice % 4 != 3)
		return;
	const auto &moment = moments[choice / 8 % std::size(moments)];
	if (choice % 8 == 7) {
		simulation::at_call(moment.function, moment.nth, [this] { data_.take_away(); });
	} else {
		content[content.size() - 1 - from.byte() % 24] ^= static_cast<uint8_t>(from.byte() + 1); // numbers and addresses stand last
		simulation::at_call(moment.function, moment.nth, [this, record, content] { records_.change(record, content); });
	}
}

made_call caller::ask(input &from)
{
	static constexpr struct {
		uint32_t command;
		std::size_t size;
	} questions[] = {{FLASH_MNG_GET_NAND_PART_INFO, sizeof(nand_part_info)},
			 {FLASH_MNG_GET_PART_NUM, sizeof(uint32_t)},
			 {FLASH_MNG_GET_NAND_IS_EXIST, sizeof(uint32_t)},
			 {FLASH_MNG_GET_MTD_STATISTICS, sizeof(flash_mtd_statistics)}};
	const auto &[command, size] = from.of(questions);
	return {.code = harness::ioctl(command, records_.place(from, size)).code()};
}

made_call caller::find(input &from)
{
	flash_find_config_arg record = {};
	const bool by_name = from.one_in(2);
	const std::string_view name = name_of(from);
	record.inst_id = from.of(instances);
	record.name_length = from.one_in(4) ? from.size() : static_cast<uint32_t>(name.size());
	record.name = data_.place(from, record.name_length, bytes(name.begin(), name.end()));
	const uint64_t address = records_.place(from, sizeof(record), bytes_of(record));
	interfere(from, address, bytes_of(record));
	const uint32_t code = harness::ioctl(by_name ? FLASH_MNG_FIND_CONFIG : FLASH_MNG_FIND_CONFIG_BY_INST, address).code();
	data_.give_back();
	return {.code = code};
}

made_call caller::request(input &from)
{
	const bool write = from.one_in(2);
	const uint32_t length = from.size();
	const bytes data = fresh(from, write && length < most_bytes ? length : 0);
	const uint64_t buffer = data_.place(from, length, data);
	const flash_mtd_io_arg record = transfer_request(from, buffer, length);
	const uint64_t address = records_.place(from, sizeof(record), bytes_of(record));
	made_call made = {.what = write ? kind::write : kind::read};
	if (records_.readable(address, sizeof(record)) && (write ? data_.readable(buffer, length) : data_.writable(buffer, length)))
		made.touched = range_in(text_of(record.name), record.offset, length);
	if (made.touched && write)
		made.data = at(buffer, length);
	interfere(from, address, bytes_of(record));
	made.code = harness::ioctl(write ? FLASH_MNG_MTD_WRITE : FLASH_MNG_MTD_READ, address).code();
	data_.give_back();
	if (made.touched && !write)
		made.data = at(buffer, length);
	return made;
}

made_call caller::any_command(input &from)
{
	const uint32_t number = from.one_in(2) ? from.number() : 0x80045400u | (from.byte() & 0xf);
	// Known transfers are made with records of their own.
	if (number == FLASH_MNG_MTD_READ || number == FLASH_MNG_MTD_WRITE)
		return request(from);
	return {.code = harness::ioctl(number, records_.place(from, sizeof(flash_mtd_statistics))).code()};
}

made_call caller::transfer(input &from)
{
	const bool write = from.one_in(2);
	const std::string_view name = name_of(from);
	const uint32_t length = from.size();
	const uint32_t offset = from.start_of(length);
	bytes buffer = fresh(from, std::min<std::size_t>(length, most_bytes));
	made_call made = {.what = write ? kind::write : kind::read, .touched = range_in(name, offset, length)};
	made.code = harness::call(write ? "drv_flash_mtd_write" : "drv_flash_mtd_read",
				  {name_argument(from, name), offset, answer(from, buffer), length});
	made.data = std::move(buffer);
	return made;
}

made_call caller::section(input &from)
{
	const bool write = from.one_in(2);
	const uint32_t inst_id = from.one_in(8) ? from.number() : 0xffffffff;
	const uint32_t id = from.byte() % 5;
	const uint32_t length = from.size();
	const uint32_t address = from.start_of(length);
	bytes buffer = fresh(from, std::min<std::size_t>(length, most_bytes));
	made_call made = {
		.what = write ? kind::write : kind::read, .touched = range_in_section(inst_id, id, address, length), .by_section = true};
	made.code = harness::call(write ? "drv_flash_write" : "drv_flash_read", {inst_id, id, address, answer(from, buffer), length});
	made.data = std::move(buffer);
	return made;
}

made_call caller::ask_kernel(input &from)
{
	bytes info(sizeof(nand_part_info));
	bytes number(sizeof(uint32_t));
	bytes size(sizeof(uint64_t));
	switch (from.byte() % 7) {
	case 0:
		return {.code = harness::call("drv_flash_get_nand_part_size_info", {answer(from, info)})};
	case 1:
		return {.code = harness::call("drv_flash_get_nand_part_num", {answer(from, number)})};
	case 2:
		return {.code = harness::call("drv_flash_get_nand_is_exist", {answer(from, number)})};
	case 3:
		return {.code = harness::call("drv_flash_get_mtd_size", {name_argument(from, name_of(from)), answer(from, size)})};
	case 4:
		return {.code = harness::call("drv_flash_get_type", {name_argument(from, name_of(from)), answer(from, number)})};
	case 5:
		return {.code = harness::call("flash_mng_drv_patch_func1", {})};
	default:
		return {.code = harness::call("flash_mng_drv_patch_func2", {})};
	}
}

made_call caller::spi_flash(input &from)
{
	made_call made = {.what = kind::spi_flash};
	const uint32_t inst_id = from.one_in(16) ? from.number() : from.of(instances);
	made.inst_id = inst_id;
	bytes size(sizeof(uint64_t));
	const uint32_t choice = from.byte();
	switch (choice % 6) {
	case 0:
		harness::register_driver({.get_size = choice < 240, .create = choice < 248, .destroy = choice < 244});
		break;
	case 1:
		if (choice > 128)
			harness::call("drv_flash_driver_unregister", {});
		break;
	case 2:
	case 3: {
		harness::parts_spec spec;
		for (uint32_t count = from.byte() % 4; count; --count)
			spec.parts.push_back({std::string(name_of(from)), from.size(), from.size()});
		spec.null_parts = from.one_in(16);
		made.flash = flash_call::create;
		made.code = harness::call("drv_flash_create",
					  {inst_id, from.one_in(16) ? harness::argument(nullptr) : harness::argument(&spec)});
		break;
	}
	case 4:
		made.flash = flash_call::destroy;
		made.code = harness::call("drv_flash_destroy", {inst_id});
		break;
	default:
		made.flash = flash_call::size;
		made.code = harness::call("drv_flash_get_size", {inst_id, from.number(), answer(from, size)});
	}
	return made;
}

made_call caller::make(input &from)
{
	switch (from.byte() % 16) {
	case 0:
		return ask(from);
	case 1:
	case 2:
		return find(from);
	case 3:
	case 4:
	case 5:
		return request(from);
	case 6:
		return any_command(from);
	case 7:
	case 8:
		return transfer(from);
	case 9:
	case 10:
		return section(from);
	case 11:
		return ask_kernel(from);
	case 12:
		return {.what = kind::reload};
	default:
		return spi_flash(from);
	}
}

} // namespace fuzz
