// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "sequences.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "../../reference_platform/include/platform_status.h"
#include "config/mtd_info.hpp"
#include "flash_mng.h"
#include "functions.hpp"
#include "kernel/device.h"
#include "model.hpp"
#include "simulation.hpp"
#include "spi/driver.hpp"
#include "spi/registry.hpp"

namespace sequences {

namespace {

constexpr u32 plain_flash = 0x20, locked_flash = 0x21;
constexpr u32 length_of_transfer = 16;
constexpr const char *device_names[] = {"usrdata", "boot", "env", "sections"};

// ---------------------------------------------------------------------------------------------------------------- what a call gave

struct answer {
	u32 code = 0;
	bytes content = {};
	bool operator==(const answer &) const = default;
};

std::string text_of(const answer &given)
{
	std::string text(16, '\0');
	text.resize(static_cast<std::size_t>(std::snprintf(text.data(), text.size(), "0x%x", given.code)));
	for (std::uint8_t byte : given.content) {
		char hex[4];
		std::snprintf(hex, sizeof(hex), " %02x", byte);
		text += hex;
	}
	return text;
}

// What the module does and what the model says; nothing when it cannot be done now.
struct operation {
	const char *name;
	bool (*possible)(const model &);
	answer (*real)();
	answer (*expected)(model &);
};

// ---------------------------------------------------------------------------------------------------------------- memory of the callers

struct memory {
	std::uint8_t *record = simulation::user_memory(sizeof(flash_mtd_statistics), harness::access::read_write);
	std::uint8_t *data = simulation::user_memory(length_of_transfer, harness::access::read_write);
};

memory &program()
{
	static memory own;
	return own;
}

template <typename type> type in_record()
{
	type value;
	std::memcpy(&value, program().record, sizeof(value));
	return value;
}

bytes as_bytes(u32 value)
{
	bytes all(sizeof(value));
	std::memcpy(all.data(), &value, sizeof(value));
	return all;
}

constexpr u32 no_device = static_cast<u32>(-ENOENT);

u32 in_command(u32 number)
{
	if (!simulation::device_registered())
		return no_device;
	const simulation::system_call around;
	return static_cast<u32>(flash_ioctl(nullptr, number, reinterpret_cast<unsigned long>(program().record)));
}

bool always(const model &)
{
	return true;
}

bool when_loaded(const model &now)
{
	return now.loaded;
}

// ---------------------------------------------------------------------------------------------------------------- transfers

template <char value> bytes data_of()
{
	return bytes(length_of_transfer, static_cast<std::uint8_t>(value));
}

bytes window(const model &now, device where, u32 offset)
{
	const auto start = now.content[where].begin() + offset;
	return {start, start + length_of_transfer};
}

void store(model &now, device where, u32 offset, const bytes &data)
{
	std::copy(data.begin(), data.end(), now.content[where].begin() + offset);
}

answer requested(u32 number, u32 offset, const bytes &data)
{
	flash_mtd_io_arg request = {};

	std::strncpy(request.name, "usrdata", sizeof(request.name) - 1);
	request.offset = offset;
	request.length = length_of_transfer;
	request.buffer = reinterpret_cast<std::uint64_t>(program().data);
	std::memcpy(program().record, &request, sizeof(request));
	std::copy(data.begin(), data.end(), program().data);
	const u32 code = in_command(number);
	return {code, bytes(program().data, program().data + length_of_transfer)};
}

template <u32 offset> answer read_request()
{
	return requested(FLASH_MNG_MTD_READ, offset, data_of<'.'>());
}

template <u32 offset> answer expected_read_request(model &now)
{
	if (!now.loaded)
		return {no_device, data_of<'.'>()};
	if (offset + length_of_transfer > device_size)
		return {FLASH_BUFFER_BEYOND_END, data_of<'.'>()};
	return {FLASH_MNG_OK, window(now, usrdata, offset)};
}

template <u32 offset, char value> answer write_request()
{
	return requested(FLASH_MNG_MTD_WRITE, offset, data_of<value>());
}

template <u32 offset, char value> answer expected_write_request(model &now)
{
	if (!now.loaded)
		return {no_device, data_of<value>()};
	if (offset + length_of_transfer > usable_size)
		return {BOUNDED_NO_ROOM, data_of<value>()};
	store(now, usrdata, offset, data_of<value>());
	return {FLASH_MNG_OK, data_of<value>()};
}

template <device where, u32 offset> answer read_by_name()
{
	bytes data = data_of<'.'>();
	const simulation::system_call around;
	const u32 code = drv_flash_mtd_read(device_names[where], offset, data.data(), length_of_transfer);
	return {code, data};
}

template <device where, u32 offset> answer expected_read_by_name(model &now)
{
	return {FLASH_MNG_OK, window(now, where, offset)};
}

template <device where, u32 offset, char value> answer write_by_name()
{
	const bytes data = data_of<value>();
	const simulation::system_call around;
	return {drv_flash_mtd_write(device_names[where], offset, data.data(), length_of_transfer)};
}

template <device where, u32 offset, char value> answer expected_write_by_name(model &now)
{
	store(now, where, offset, data_of<value>());
	return {FLASH_MNG_OK};
}

constexpr u32 section_start = 0x100;

template <u32 address> answer read_section()
{
	bytes data = data_of<'.'>();
	const simulation::system_call around;
	const u32 code = drv_flash_read(0xffffffff, 1, address, data.data(), length_of_transfer);
	return {code, data};
}

template <u32 address> answer expected_read_section(model &now)
{
	if (address < section_start)
		return {FLASH_MNG_INVALID, data_of<'.'>()};
	return {FLASH_MNG_OK, window(now, sections, address - section_start)};
}

template <u32 address, char value> answer write_section()
{
	const bytes data = data_of<value>();
	const simulation::system_call around;
	return {drv_flash_write(0xffffffff, 1, address, data.data(), length_of_transfer)};
}

template <u32 address, char value> answer expected_write_section(model &now)
{
	store(now, sections, address - section_start, data_of<value>());
	return {FLASH_MNG_OK};
}

// ---------------------------------------------------------------------------------------------------------------- questions

answer part_number()
{
	std::memset(program().record, 0, 4);
	const u32 code = in_command(FLASH_MNG_GET_PART_NUM);
	return {code, as_bytes(in_record<u32>())};
}

answer expected_part_number(model &now)
{
	return now.loaded ? answer{FLASH_MNG_OK, as_bytes(1)} : answer{no_device, as_bytes(0)};
}

answer statistics()
{
	std::memset(program().record, 0, 4);
	const u32 code = in_command(FLASH_MNG_GET_MTD_STATISTICS);
	return {code, as_bytes(in_record<flash_mtd_statistics>().count)};
}

answer expected_statistics(model &now)
{
	return now.loaded ? answer{FLASH_MNG_OK, as_bytes(devices)} : answer{no_device, as_bytes(0)};
}

answer found(u32 number, u32 inst_id, const char *name)
{
	flash_find_config_arg request = {};

	request.inst_id = inst_id;
	request.name_length = static_cast<u32>(std::strlen(name));
	std::memcpy(program().data, name, request.name_length);
	request.name = reinterpret_cast<std::uint64_t>(program().data);
	std::memcpy(program().record, &request, sizeof(request));
	const u32 code = in_command(number);
	return {code, as_bytes(in_record<flash_find_config_arg>().config.inst_id)};
}

answer expected_found(const model &now, std::optional<u32> inst_id)
{
	if (!now.loaded)
		return {no_device, as_bytes(0)};
	return inst_id ? answer{FLASH_MNG_OK, as_bytes(*inst_id)} : answer{FLASH_MNG_NOT_FOUND, as_bytes(0)};
}

template <char digit> answer find_by_name()
{
	const char name[] = {'p', digit, '\0'};
	return found(FLASH_MNG_FIND_CONFIG, 0, name);
}

template <char digit> answer expected_find_by_name(model &now)
{
	return expected_found(now, now.instance_with({'p', digit}));
}

template <u32 inst_id> answer find_by_instance()
{
	return found(FLASH_MNG_FIND_CONFIG_BY_INST, inst_id, "");
}

template <u32 inst_id> answer expected_find_by_instance(model &now)
{
	return expected_found(now, now.find(inst_id) ? std::optional(inst_id) : std::nullopt);
}

// ---------------------------------------------------------------------------------------------------------------- SPI flashes

// The suite's, made once.
const flash_driver_ops *driver()
{
	static const flash_driver_ops *const made = [] {
		simulation::register_driver({});
		return g_flash_funcs;
	}();
	return made;
}

answer register_driver()
{
	return {drv_flash_driver_register(0, 0, driver())};
}

answer expected_register_driver(model &now)
{
	now.driver = true;
	return {};
}

answer unregister_driver()
{
	drv_flash_driver_unregister();
	return {};
}

answer expected_unregister_driver(model &now)
{
	now.driver = false;
	return {};
}

template <u32 inst_id> answer size_of_flash()
{
	u64 size = 0;
	const u32 code = drv_flash_get_size(inst_id, 0, &size);
	return {code, as_bytes(static_cast<u32>(size))};
}

template <u32 inst_id> answer expected_size_of_flash(model &now)
{
	if (!now.driver)
		return {FLASH_MNG_NO_DRIVER, as_bytes(0)};
	now.use(inst_id);
	return {FLASH_MNG_OK, as_bytes(static_cast<u32>(harness::suite_flash_size))};
}

template <u32 inst_id, char... digits> answer create_flash()
{
	flash_part parts[] = {flash_part{0, 0x1000, {'p', digits}}...};
	flash_parts_info info = {sizeof...(digits), {}, parts};
	return {drv_flash_create(inst_id, &info)};
}

template <u32 inst_id, char... digits> answer expected_create_flash(model &now)
{
	if (!now.driver)
		return {FLASH_MNG_NO_DRIVER};
	now.create(inst_id, {std::string{'p', digits}...});
	return {FLASH_MNG_OK};
}

template <u32 inst_id> answer destroy_flash()
{
	return {drv_flash_destroy(inst_id)};
}

template <u32 inst_id> answer expected_destroy_flash(model &now)
{
	if (!now.driver)
		return {FLASH_MNG_NO_DRIVER};
	now.destroy(inst_id);
	return {FLASH_MNG_OK};
}

// ---------------------------------------------------------------------------------------------------------------- load and unload

answer load()
{
	simulation::refresh_globals();
	return {flash_mng_load()};
}

answer expected_load(model &now)
{
	now.load();
	return {FLASH_MNG_OK};
}

answer unload()
{
	flash_mng_unload();
	return {};
}

answer expected_unload(model &now)
{
	now.unload();
	return {};
}

bool when_not_loaded(const model &now)
{
	return !now.loaded;
}

constexpr operation operations[] = {
	{"load", when_not_loaded, load, expected_load},
	{"unload", when_loaded, unload, expected_unload},
	{"read usrdata", always, read_request<0x7f8>, expected_read_request<0x7f8>},
	{"read usrdata beyond its end", always, read_request<0x2ff8>, expected_read_request<0x2ff8>},
	{"write usrdata", always, write_request<0x7f8, 'A'>, expected_write_request<0x7f8, 'A'>},
	{"write usrdata, half of it again", always, write_request<0x800, 'B'>, expected_write_request<0x800, 'B'>},
	{"write usrdata beyond what is usable", always, write_request<0x1ff8, 'C'>, expected_write_request<0x1ff8, 'C'>},
	{"read usrdata by its export", when_loaded, read_by_name<usrdata, 0x7f8>, expected_read_by_name<usrdata, 0x7f8>},
	{"write boot", when_loaded, write_by_name<boot, 0xff8, 'D'>, expected_write_by_name<boot, 0xff8, 'D'>},
	{"read boot", when_loaded, read_by_name<boot, 0xff8>, expected_read_by_name<boot, 0xff8>},
	{"write env", when_loaded, write_by_name<env, 0xff8, 'E'>, expected_write_by_name<env, 0xff8, 'E'>},
	{"read env", when_loaded, read_by_name<env, 0xff8>, expected_read_by_name<env, 0xff8>},
	{"write section", when_loaded, write_section<0x108, 'F'>, expected_write_section<0x108, 'F'>},
	{"read section", when_loaded, read_section<0x100>, expected_read_section<0x100>},
	{"count partitions", always, part_number, expected_part_number},
	{"list devices", always, statistics, expected_statistics},
	{"find p0", always, find_by_name<'0'>, expected_find_by_name<'0'>},
	{"find instance 0x20", always, find_by_instance<plain_flash>, expected_find_by_instance<plain_flash>},
	{"register driver", when_loaded, register_driver, expected_register_driver},
	{"unregister driver", when_loaded, unregister_driver, expected_unregister_driver},
	{"ask size of 0x20", when_loaded, size_of_flash<plain_flash>, expected_size_of_flash<plain_flash>},
	{"create 0x20 with p0", when_loaded, create_flash<plain_flash, '0'>, expected_create_flash<plain_flash, '0'>},
	{"create 0x21 with p1 and p0", when_loaded, create_flash<locked_flash, '1', '0'>, expected_create_flash<locked_flash, '1', '0'>},
	{"destroy 0x20", when_loaded, destroy_flash<plain_flash>, expected_destroy_flash<plain_flash>},
	{"destroy 0x21", when_loaded, destroy_flash<locked_flash>, expected_destroy_flash<locked_flash>},
};

// ---------------------------------------------------------------------------------------------------------------- one sequence

counterexample g_now;

model loaded_model()
{
	static const model at_first = [] {
		model made;
		made.load();
		return made;
	}();
	return at_first;
}

// The module is loaded.
void power_on()
{
	static const bool configured = [] {
		simulation::configure(SEQUENCES_BOARD);
		return true;
	}();
	static_cast<void>(configured);
	program();
	driver();
	simulation::power_cycle();
	for (int i = 0; i < devices; ++i) {
		const bytes content(device_size, first_byte_of(i));
		const u32 type = i == usrdata || i == boot ? harness::mtd_nand : harness::mtd_nor;
		simulation::add_mtd({.name = device_names[i], .size = device_size, .type = type, .erase_size = erase_size});
		simulation::set_mtd_content(i, 0, content.data(), content.size());
	}
	load();
	simulation::reset_calls();
	simulation::forget_log();
}

std::vector<flash_record> registered()
{
	std::vector<flash_record> all;
	for (const list_head *link = g_spi_flash_info_list.next; link != &g_spi_flash_info_list; link = link->next) {
		const auto *info = reinterpret_cast<const spi_flash_info *>(link);
		flash_record one = {info->config.inst_id, {}};
		for (u32 i = 0; info->mtd_names && i < info->mtd_name_num; ++i)
			one.names.emplace_back(info->mtd_names[i]);
		all.push_back(std::move(one));
	}
	return all;
}

// What is wrong at the end, by all that can be seen.
std::string end_differs(const model &expected)
{
	for (int i = 0; i < devices; ++i)
		if (simulation::mtd_content(i, 0, device_size) != expected.content[static_cast<std::size_t>(i)])
			return std::string(device_names[i]) + " has another content";
	if (expected.loaded && registered() != expected.records)
		return "other SPI flashes are registered";
	if (expected.loaded && (g_flash_funcs != nullptr) != expected.driver)
		return "the flash driver";
	if (simulation::heap_allocations() != expected.heap)
		return "the heap holds " + std::to_string(simulation::heap_allocations()) + " pieces instead of " +
		       std::to_string(expected.heap);
	if (simulation::virtual_allocations() || simulation::mtd_references() || simulation::open_files() || simulation::locks_held())
		return "virtual memory, a device, a file or a lock is still held";
	if (simulation::device_registered() != expected.loaded)
		return "the control device";
	return {};
}

// The number of the first operation that cannot be; all are made before it. Nothing but load and unload decides that.
std::size_t possible_length(const std::vector<std::size_t> &chosen)
{
	model now = loaded_model();
	for (std::size_t i = 0; i < chosen.size(); ++i) {
		const operation &one = operations[chosen[i]];
		if (!one.possible(now))
			return i;
		if (one.real == load || one.real == unload)
			one.expected(now);
	}
	return chosen.size();
}

// Goes on to the next sequence that differs in its place `at` or before; false after the last one.
bool next(std::vector<std::size_t> &chosen, std::size_t at, std::size_t end)
{
	std::fill(chosen.begin() + static_cast<std::ptrdiff_t>(at) + 1, chosen.end(), 0);
	for (std::size_t i = at + 1; i-- > 0;) {
		if (++chosen[i] < (i ? std::size(operations) : end))
			return true;
		chosen[i] = 0;
	}
	return false;
}

} // namespace

std::size_t operation_count()
{
	return std::size(operations);
}

std::string_view operation_name(std::size_t operation)
{
	return operations[operation].name;
}

std::string counterexample::text() const
{
	std::string all;
	for (std::size_t one : operations)
		all += (all.empty() ? "" : ", then ") + std::string(operation_name(one));
	return all + ": " + what;
}

const counterexample &now_tried()
{
	return g_now;
}

std::string try_one(const std::vector<std::size_t> &chosen)
{
	model expected = loaded_model();

	g_now = {chosen, {}};
	power_on();
	for (std::size_t one : chosen) {
		const answer wanted = operations[one].expected(expected);
		const answer given = operations[one].real();
		if (given != wanted)
			return std::string(operations[one].name) + " gave " + text_of(given) + " instead of " + text_of(wanted);
	}
	std::string wrong = end_differs(expected);
	if (simulation::device_registered())
		flash_mng_unload();
	return wrong;
}

counterexample try_all(std::size_t length, std::size_t first, std::size_t end, counts &of)
{
	std::vector<std::size_t> chosen(length);

	chosen[0] = first;
	for (bool more = first < end; more;) {
		const std::size_t possible = possible_length(chosen);
		if (possible < length) {
			++of.impossible;
			more = next(chosen, possible, end);
			continue;
		}
		++of.sequences;
		of.calls += length;
		if (const std::string wrong = try_one(chosen); !wrong.empty())
			return {chosen, wrong};
		more = next(chosen, length - 1, end);
	}
	return {};
}

} // namespace sequences
