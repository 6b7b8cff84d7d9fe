// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "fault_operations.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

#include "lab_device.hpp"

namespace torture {

namespace {

constexpr uint32_t default_instance = 0xffffffff;
constexpr uint32_t locked_instance = 0x13;	// locked while it is created
constexpr uint32_t size_locked_instance = 0x12; // locked while its size is asked too
constexpr flash_part parts[] = {{0, 0x10000, "flash_a"}, {0x10000, 0x20000, "flash_b"}};
constexpr int64_t names_of_parts = 1 + std::size(parts); // blocks: the list and the names

using call_builder = std::function<void(export_call &)>;

bytes pattern(uint32_t size)
{
	bytes data(size);
	for (uint32_t i = 0; i < size; ++i)
		data[i] = static_cast<uint8_t>(i * 7 + 3);
	return data;
}

uint32_t call_once(const flash_mng_access &access, flash_call_function function, const call_builder &build, fault &one)
{
	export_call call(function);
	build(call);
	const uint32_t code = call.fail(one.nth).make(access);
	one.happened = one.nth && call.failed();
	return code;
}

operation of_export(const flash_mng_access &access, flash_call_function function, const std::string &name, call_builder build)
{
	return {name, [&access, function, build](fault &one) { return call_once(access, function, build, one); }};
}

operation of_command(const flash_mng_access &access, uint32_t number, const std::string &name, std::shared_ptr<bytes> record)
{
	return {name,
		[&access, number, record](fault &one) { return with_fault(one, [&] { return access.command(number, record->data()); }); }};
}

uint32_t call_plain(const flash_mng_access &access, flash_call_function function, const call_builder &build)
{
	fault none;
	return call_once(access, function, build, none);
}

void must_be_ok(uint32_t code, const char *what)
{
	if (code != FLASH_MNG_OK)
		throw std::runtime_error(std::string(what) + " is needed for the next attempt and gave " + std::to_string(code));
}

void create_flash(const flash_mng_access &access, uint32_t inst_id)
{
	must_be_ok(call_plain(access, FLASH_CALL_drv_flash_create, [=](export_call &call) { call.value(inst_id).parts(parts); }), "create");
}

void destroy_flash(const flash_mng_access &access, uint32_t inst_id)
{
	must_be_ok(call_plain(access, FLASH_CALL_drv_flash_destroy, [=](export_call &call) { call.value(inst_id); }), "destroy");
}

bool name_is_known(const flash_mng_access &access, const char *name)
{
	flash_find_config_arg request = {};
	request.name = address_of(name);
	request.name_length = static_cast<uint32_t>(std::strlen(name));
	return access.command(FLASH_MNG_FIND_CONFIG, &request) == FLASH_MNG_OK;
}

template <typename record_type> std::shared_ptr<bytes> record_of(const record_type &record)
{
	const auto *first = reinterpret_cast<const uint8_t *>(&record);
	return std::make_shared<bytes>(first, first + sizeof(record));
}

void add_questions(std::vector<operation> &list, const flash_mng_access &access)
{
	const auto memory = [](std::size_t size) { return std::make_shared<bytes>(size); };
	list.push_back(of_command(access, FLASH_MNG_GET_NAND_PART_INFO, "FLASH_MNG_GET_NAND_PART_INFO", memory(sizeof(nand_part_info))));
	list.push_back(of_command(access, FLASH_MNG_GET_PART_NUM, "FLASH_MNG_GET_PART_NUM", memory(4)));
	list.push_back(of_command(access, FLASH_MNG_GET_NAND_IS_EXIST, "FLASH_MNG_GET_NAND_IS_EXIST", memory(4)));
	list.push_back(
		of_command(access, FLASH_MNG_GET_MTD_STATISTICS, "FLASH_MNG_GET_MTD_STATISTICS", memory(sizeof(flash_mtd_statistics))));

	const auto ask = [&](flash_call_function function, const char *name, std::size_t size) {
		list.push_back(of_export(access, function, name,
					 [memory = memory(size)](export_call &call) { call.memory(memory->data(), memory->size()); }));
	};
	ask(FLASH_CALL_drv_flash_get_nand_part_num, "drv_flash_get_nand_part_num", 4);
	ask(FLASH_CALL_drv_flash_get_nand_part_size_info, "drv_flash_get_nand_part_size_info", sizeof(nand_part_info));
	ask(FLASH_CALL_drv_flash_get_nand_is_exist, "drv_flash_get_nand_is_exist", 4);

	const auto ask_name = [&](flash_call_function function, const char *name, std::size_t size) {
		list.push_back(of_export(access, function, name, [memory = memory(size)](export_call &call) {
			call.text("config").memory(memory->data(), memory->size());
		}));
	};
	ask_name(FLASH_CALL_drv_flash_get_mtd_size, "drv_flash_get_mtd_size", 8);
	ask_name(FLASH_CALL_drv_flash_get_type, "drv_flash_get_type", 4);

	const auto no_arguments = [](export_call &) {};
	list.push_back(of_export(access, FLASH_CALL_flash_mng_drv_patch_func1, "flash_mng_drv_patch_func1", no_arguments));
	list.push_back(of_export(access, FLASH_CALL_flash_mng_drv_patch_func2, "flash_mng_drv_patch_func2", no_arguments));
}

void add_transfer(std::vector<operation> &list, const flash_mng_access &access, const char *partition, uint32_t offset, uint32_t length,
		  uint32_t around)
{
	const auto found = std::make_shared<bytes>(length);
	const bytes data = pattern(length);
	list.push_back(
		of_export(access, FLASH_CALL_drv_flash_mtd_read, std::string("drv_flash_mtd_read, ") + partition,
			  [=](export_call &call) { call.text(partition).value(offset).memory(found->data(), length).value(length); }));
	list.push_back(of_export(access, FLASH_CALL_drv_flash_mtd_write, std::string("drv_flash_mtd_write, ") + partition,
				 [partition, offset, kept = std::make_shared<bytes>(data)](export_call &call) {
					 call.text(partition).value(offset).memory_in(kept->data(), kept->size()).value(kept->size());
				 }));
	list.back().target = {partition, offset, data, around};
}

void add_section(std::vector<operation> &list, const flash_mng_access &access, uint32_t id, uint32_t address, const char *partition)
{
	constexpr uint32_t offset = 0x3001;
	const auto data = std::make_shared<bytes>(pattern(5000));
	const auto found = std::make_shared<bytes>(5000);
	const std::string which = ", section " + std::to_string(id);
	list.push_back(of_export(access, FLASH_CALL_drv_flash_read, "drv_flash_read" + which, [=](export_call &call) {
		call.value(default_instance).value(id).value(address + offset).memory(found->data(), found->size()).value(found->size());
	}));
	list.push_back(of_export(access, FLASH_CALL_drv_flash_write, "drv_flash_write" + which, [=](export_call &call) {
		call.value(default_instance).value(id).value(address + offset).memory_in(data->data(), data->size()).value(data->size());
	}));
	list.back().target = {partition, offset, *data, 0x20000};
}

void add_request(std::vector<operation> &list, const flash_mng_access &access, uint32_t number, const char *name)
{
	constexpr uint32_t offset = 0x1234;
	const auto data = std::make_shared<bytes>(pattern(5000));
	flash_mtd_io_arg request = {};
	std::strcpy(request.name, "usrdata");
	request.offset = offset;
	request.length = static_cast<uint32_t>(data->size());
	request.buffer = address_of(data->data());
	operation one = of_command(access, number, name, record_of(request));
	one.before = [data] {}; // keeps the data
	if (number == FLASH_MNG_MTD_WRITE)
		one.target = {"usrdata", offset, *data, 0x40000};
	list.push_back(one);
}

void add_lookups(std::vector<operation> &list, const flash_mng_access &access)
{
	flash_find_config_arg request = {};
	request.inst_id = locked_instance;
	request.name = address_of(parts[1].mtd_name);
	request.name_length = static_cast<uint32_t>(std::strlen(parts[1].mtd_name));
	for (const auto &[number, name] : {std::pair(FLASH_MNG_FIND_CONFIG, "FLASH_MNG_FIND_CONFIG"),
					   std::pair(FLASH_MNG_FIND_CONFIG_BY_INST, "FLASH_MNG_FIND_CONFIG_BY_INST")}) {
		operation one = of_command(access, number, name, record_of(request));
		one.before = [&access] { create_flash(access, locked_instance); };
		one.after = [&access] { destroy_flash(access, locked_instance); };
		list.push_back(one);
	}
}

void add_flashes(std::vector<operation> &list, const flash_mng_access &access)
{
	const auto size = std::make_shared<uint64_t>();
	operation ask = of_export(access, FLASH_CALL_drv_flash_get_size, "drv_flash_get_size", [size](export_call &call) {
		call.value(size_locked_instance).value(0).memory(size.get(), sizeof(*size));
	});
	// The record that it makes goes only with a flash that was created.
	ask.after = [&access] {
		create_flash(access, size_locked_instance);
		destroy_flash(access, size_locked_instance);
	};
	list.push_back(ask);

	operation create = of_export(access, FLASH_CALL_drv_flash_create, "drv_flash_create",
				     [](export_call &call) { call.value(locked_instance).parts(parts); });
	create.after = [&access] { destroy_flash(access, locked_instance); };
	create.left_on_purpose = [&access] { return name_is_known(access, parts[0].mtd_name) ? names_of_parts : 0; };
	list.push_back(create);

	operation destroy = of_export(access, FLASH_CALL_drv_flash_destroy, "drv_flash_destroy",
				      [](export_call &call) { call.value(locked_instance); });
	destroy.before = [&access] { create_flash(access, locked_instance); };
	list.push_back(destroy);
}

// At the end of the list: the flash driver is gone afterwards.
void add_driver(std::vector<operation> &list, const flash_mng_access &access)
{
	list.push_back(of_export(access, FLASH_CALL_drv_flash_driver_register, "drv_flash_driver_register",
				 [](export_call &call) { call.value(0).value(0).driver(true); }));
	operation unregister =
		of_export(access, FLASH_CALL_drv_flash_driver_unregister, "drv_flash_driver_unregister", [](export_call &) {});
	const auto attempt = unregister.attempt;
	unregister.attempt = [attempt](fault &one) {
		attempt(one); // has no result
		return FLASH_MNG_OK;
	};
	list.push_back(unregister);
}

// Modules may stay in the kernel although their load failed.
bool flash_mng_serves()
{
	return guest::file_exists("/dev/flash_mng");
}

// A fault of flash_mng's own load or unload, not of the module loader.
uint32_t with_module_fault(fault &one, const std::function<uint32_t()> &attempt)
{
	const std::string parameters = "/sys/module/flash_load_faults/parameters/";
	guest::write_file(parameters + "nth", std::to_string(one.nth));
	const uint32_t code = attempt();
	one.happened = one.nth && std::stoul(guest::read_file(parameters + "left")) == 0;
	return code;
}

// The one failure that has this text leaves the sections that it has read.
int64_t sections_without_entry()
{
	return guest::read_file("/sys/kernel/debug/log/last_init").find("get xml config fail") != std::string::npos;
}

uint32_t load(fault &one)
{
	const uint32_t code = with_module_fault(
		one, [] { return guest::insert_module(guest::module_file("flash_mng")) ? FLASH_MNG_FAILED : FLASH_MNG_OK; });
	if (code == FLASH_MNG_OK && !flash_mng_serves()) {
		guest::remove_module("flash_mng");
		return FLASH_MNG_FAILED;
	}
	return code;
}

uint32_t unload(fault &one)
{
	return with_module_fault(one, [] { return guest::remove_module("flash_mng") ? FLASH_MNG_FAILED : FLASH_MNG_OK; });
}

uint32_t open_and_close(fault &one)
{
	return with_fault(one, [] {
		const int file = open(FLASH_MNG_DEVICE, O_RDWR | O_CLOEXEC);
		return file >= 0 && close(file) == 0 ? FLASH_MNG_OK : FLASH_MNG_FAILED;
	});
}

} // namespace

std::vector<operation> operations(const flash_mng_access &access)
{
	std::vector<operation> list = {{"open", open_and_close}};
	call_plain(access, FLASH_CALL_drv_flash_driver_register, [](export_call &call) { call.value(0).value(0).driver(true); });
	add_questions(list, access);
	add_request(list, access, FLASH_MNG_MTD_READ, "FLASH_MNG_MTD_READ");
	add_request(list, access, FLASH_MNG_MTD_WRITE, "FLASH_MNG_MTD_WRITE");
	add_transfer(list, access, "config", 0x2345, 3000, 0x20000); // updated as a whole
	add_transfer(list, access, "boot", 0x3456, 3000, 0x20000);   // not
	add_transfer(list, access, "ram0", 0x1fff, 9000, 0x20000);   // through its block device
	add_section(list, access, 1, 0, "ram0");
	add_section(list, access, 2, 0xd00000, "rootfs");
	add_lookups(list, access);
	add_flashes(list, access);
	add_driver(list, access);
	return list;
}

std::vector<operation> module_operations()
{
	fault none;
	operation loading = {"load", load};
	loading.after = [none]() mutable { must_be_ok(unload(none), "unload"); };
	loading.left_on_purpose = sections_without_entry;
	operation unloading = {"unload", unload};
	unloading.before = [none]() mutable { must_be_ok(load(none), "load"); };
	return {loading, unloading};
}

bytes stored_bytes(const std::string &partition, uint32_t length)
{
	const std::string table = guest::read_file("/proc/mtd");
	const std::size_t line = table.rfind("mtd", table.find("\"" + partition + "\""));
	const open_device device(("/dev/" + table.substr(line, table.find(':', line) - line)).c_str());
	bytes found(length);
	if (pread(device.descriptor(), found.data(), found.size(), 0) != static_cast<ssize_t>(found.size()))
		throw std::runtime_error(partition + " cannot be read");
	return found;
}

bool release_hard_locks(const flash_mng_access &access)
{
	if (guest::read_file("/sys/kernel/debug/drv_basic/hard_locks").empty())
		return false;
	const auto release = [&](uint32_t inst_id, uint32_t type, uint32_t value) {
		call_plain(access, FLASH_CALL_drv_hard_unlock,
			   [=](export_call &call) { call.value(inst_id).value(type).value(inst_id).value(value).value(0); });
	};
	release(size_locked_instance, 0, 0xa5);
	release(locked_instance, 2, 0x22);
	return true;
}

} // namespace torture
