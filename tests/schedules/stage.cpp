// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "stage.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "config/mtd_info.hpp"
#include "flash_mng.h"
#include "functions.hpp"
#include "kernel/device.h"
#include "spi/driver.hpp"
#include "spi/registry.hpp"
#include "uapi/flash_mng.h"

namespace schedules {

namespace {

constexpr u32 plain_flash = 0x20, locked_flash = 0x21;
constexpr u32 erase_size = 0x1000, device_size = 0x3000;
constexpr u32 transfer_offset = 0x7f0, transfer_length = 0x20;
constexpr std::uint64_t no_such_device = std::uint64_t(-ENOENT);
constexpr std::uint64_t module_in_use = std::uint64_t(-EWOULDBLOCK);

constexpr struct {
	const char *name;
	u32 type;
	bool listed;
} devices[] = {{"usrdata", harness::mtd_nand, true},
	       {"other", harness::mtd_nand, true},
	       {"boot", harness::mtd_nand, false},
	       {"env", harness::mtd_nor, false}};

// ---------------------------------------------------------------------------------------------------------------- the flash driver

std::map<u32, std::string> g_created;

template <int driver> u32 size_of_flash(u32 inst, u32 chip, u32 ctrl, u32 cs, void *size)
{
	if (auto forced = simulation::seen(simulation::call::suite_driver_get_size, {inst, chip, ctrl, cs, size}))
		return static_cast<u32>(*forced);
	const u64 value = 0x1000 * driver + chip;
	std::memcpy(size, &value, sizeof(value));
	return 0;
}

template <int driver> u32 create_flash(u32 inst, u32 chip, u32 ctrl, u32 cs, flash_parts_info *parts)
{
	if (auto forced = simulation::seen(simulation::call::suite_driver_create, {inst, chip, ctrl, cs, parts}))
		return static_cast<u32>(*forced);
	g_created[inst] = parts->parts[0].mtd_name;
	return 0;
}

template <int driver> u32 destroy_flash(u32 inst, u32 chip, u32 ctrl, u32 cs)
{
	if (auto forced = simulation::seen(simulation::call::suite_driver_destroy, {inst, chip, ctrl, cs}))
		return static_cast<u32>(*forced);
	return 0;
}

constexpr flash_driver_ops drivers[] = {{size_of_flash<1>, create_flash<1>, destroy_flash<1>},
					{size_of_flash<2>, create_flash<2>, destroy_flash<2>}};

// ---------------------------------------------------------------------------------------------------------------- who uses the module

struct module_users {
	int files = 0;
	bool goes = false;
	bool counted = false; // only where load or unload is about
};
module_users g_users;

// The memory of a caller: where a program keeps its record and its data, and a buffer of another module.
struct memory {
	std::uint8_t *record = simulation::user_memory(sizeof(flash_mtd_statistics), harness::access::read_write);
	std::uint8_t *data = simulation::user_memory(transfer_length, harness::access::read_write);
	bytes buffer = bytes(sizeof(nand_part_info));
	flash_part part[2] = {};
	flash_parts_info parts = {};
};

memory &memory_of(unsigned caller)
{
	static memory all[most_callers + 1];
	return all[caller];
}

bytes copy_of(const void *from, std::size_t size)
{
	const auto *start = static_cast<const std::uint8_t *>(from);
	return {start, start + size};
}

// A system call ends with the return to user space.
class system_call {
public:
	void over()
	{
		if (simulation::current_task().closed.empty())
			return;
		turns::current().pause("returns to user space");
		turns::current().touch_released_file();
	}

private:
	simulation::system_call around_;
};

answer in_command(u32 number, unsigned caller, std::size_t record_size)
{
	if (g_users.counted) {
		turns::current().pause("opens /dev/flash_mng");
		turns::current().meet(control_device);
		turns::current().meet(module_state);
		if (!simulation::device_registered() || g_users.goes)
			return {no_such_device};
		++g_users.files;
	}
	answer given;
	{
		system_call around;
		given.code =
			static_cast<std::uint64_t>(flash_ioctl(nullptr, number, reinterpret_cast<unsigned long>(memory_of(caller).record)));
		around.over();
	}
	given.content = copy_of(memory_of(caller).record, record_size);
	if (g_users.counted) {
		turns::current().pause("closes /dev/flash_mng");
		turns::current().meet(module_state);
		--g_users.files;
	}
	return given;
}

answer asked(u32 number, unsigned caller, std::size_t size)
{
	std::memset(memory_of(caller).record, 0xee, size);
	return in_command(number, caller, size);
}

answer found(u32 number, unsigned caller, const char *name)
{
	flash_find_config_arg request = {};
	memory &own = memory_of(caller);

	request.inst_id = plain_flash;
	request.name_length = static_cast<u32>(std::strlen(name));
	std::memcpy(own.data, name, request.name_length);
	request.name = reinterpret_cast<std::uint64_t>(own.data);
	std::memcpy(own.record, &request, sizeof(request));
	answer given = in_command(number, caller, sizeof(request));
	given.content.resize(offsetof(flash_find_config_arg, name));
	return given;
}

void fill(std::uint8_t *data, unsigned caller)
{
	for (u32 i = 0; i < transfer_length; ++i)
		data[i] = static_cast<std::uint8_t>(0x40 * (caller + 1) + i);
}

answer transferred(u32 number, unsigned caller, const char *name)
{
	flash_mtd_io_arg request = {};
	memory &own = memory_of(caller);

	std::strncpy(request.name, name, sizeof(request.name) - 1);
	request.offset = transfer_offset;
	request.length = transfer_length;
	request.buffer = reinterpret_cast<std::uint64_t>(own.data);
	std::memcpy(own.record, &request, sizeof(request));
	fill(own.data, caller);
	answer given = in_command(number, caller, 0);
	given.content = copy_of(own.data, transfer_length);
	return given;
}

template <typename function> answer called(unsigned caller, std::size_t size, function work)
{
	memory &own = memory_of(caller);
	answer given;

	std::fill(own.buffer.begin(), own.buffer.end(), std::uint8_t(0xee));
	fill(own.buffer.data(), caller);
	{
		system_call around;
		given.code = work(own);
		around.over();
	}
	given.content = copy_of(own.buffer.data(), size);
	return given;
}

operation command(const char *subject, u32 number, std::size_t size)
{
	return {subject, "", kind::command, false, false, 0, [=](unsigned caller) { return asked(number, caller, size); }};
}

operation lookup(const char *subject, u32 number, const char *what)
{
	return {subject, what, kind::command, false, true, 0, [=](unsigned caller) { return found(number, caller, "p"); }};
}

operation request(const char *subject, u32 number, const char *partition)
{
	return {subject,
		partition,
		kind::command,
		false,
		false,
		0,
		[=](unsigned caller) { return transferred(number, caller, partition); }};
}

template <typename function> operation exported(const char *subject, const char *what, std::size_t size, function work)
{
	return {subject, what, kind::exported, false, false, 0, [=](unsigned caller) { return called(caller, size, work); }};
}

template <typename function> operation of_flash(const char *subject, const char *what, std::size_t size, function work, u32 inst_id = 0)
{
	operation made = exported(subject, what, size, work);
	made.of_spi_flash = true;
	made.instance = inst_id;
	return made;
}

template <typename function> operation of_section(const char *subject, const char *what, function work)
{
	operation made = exported(subject, what, transfer_length, work);
	made.moves_sections = true;
	return made;
}

// A name that tells who made it, and one that is looked up.
flash_parts_info *parts_of(memory &own, unsigned caller)
{
	own.part[0] = own.part[1] = {0, 0x1000, {}};
	std::snprintf(own.part[0].mtd_name, sizeof(own.part[0].mtd_name), "p%u", caller);
	own.part[1].mtd_name[0] = 'p';
	own.parts = {2, {}, own.part};
	return &own.parts;
}

answer load(unsigned)
{
	return {flash_mng_load(), {}};
}

answer unload(unsigned)
{
	turns::current().pause("rmmod looks for users");
	turns::current().meet(module_state);
	if (g_users.files)
		return {module_in_use, {}};
	g_users.goes = true;
	flash_mng_unload();
	return {};
}

operation creation(const char *what, u32 inst_id)
{
	return {"drv_flash_create", what, kind::exported, false, true, inst_id, [=](unsigned caller) {
			return called(caller, 0, [=](memory &own) { return drv_flash_create(inst_id, parts_of(own, caller)); });
		}};
}

void add_questions(std::vector<operation> &all)
{
	all.push_back(exported("drv_flash_get_mtd_size", "usrdata", 8,
			       [](memory &own) { return drv_flash_get_mtd_size("usrdata", reinterpret_cast<u64 *>(own.buffer.data())); }));
	all.push_back(exported("drv_flash_get_nand_part_num", "", 4,
			       [](memory &own) { return drv_flash_get_nand_part_num(reinterpret_cast<u32 *>(own.buffer.data())); }));
	all.push_back(exported("drv_flash_get_nand_part_size_info", "", sizeof(nand_part_info), [](memory &own) {
		return drv_flash_get_nand_part_size_info(reinterpret_cast<nand_part_info *>(own.buffer.data()));
	}));
	all.push_back(exported("drv_flash_get_nand_is_exist", "", 4,
			       [](memory &own) { return drv_flash_get_nand_is_exist(reinterpret_cast<u32 *>(own.buffer.data())); }));
	all.push_back(exported("drv_flash_get_type", "usrdata", 4,
			       [](memory &own) { return drv_flash_get_type("usrdata", reinterpret_cast<u32 *>(own.buffer.data())); }));
	all.push_back(exported("flash_mng_drv_patch_func1", "", 0, [](memory &) { return flash_mng_drv_patch_func1(); }));
	all.push_back(exported("flash_mng_drv_patch_func2", "", 0, [](memory &) { return flash_mng_drv_patch_func2(); }));
}

void add_transfers(std::vector<operation> &all)
{
	for (const char *name : {"usrdata", "boot", "env"}) {
		all.push_back(exported("drv_flash_mtd_read", name, transfer_length, [=](memory &own) {
			return drv_flash_mtd_read(name, transfer_offset, own.buffer.data(), transfer_length);
		}));
		all.push_back(exported("drv_flash_mtd_write", name, transfer_length, [=](memory &own) {
			return drv_flash_mtd_write(name, transfer_offset, own.buffer.data(), transfer_length);
		}));
	}
	for (const auto &[what, id, offset] : {std::tuple("1", 1u, transfer_offset), std::tuple("2", 2u, 0x1000 + transfer_offset)}) {
		all.push_back(of_section("drv_flash_read", what, [id = id, offset = offset](memory &own) {
			return drv_flash_read(0xffffffff, id, offset, own.buffer.data(), transfer_length);
		}));
		all.push_back(of_section("drv_flash_write", what, [id = id, offset = offset](memory &own) {
			return drv_flash_write(0xffffffff, id, offset, own.buffer.data(), transfer_length);
		}));
	}
}

void add_flashes(std::vector<operation> &all)
{
	all.push_back(
		of_flash("drv_flash_driver_register", "another", 0, [](memory &) { return drv_flash_driver_register(0, 0, &drivers[1]); }));
	all.push_back(of_flash("drv_flash_driver_unregister", "", 0, [](memory &) {
		drv_flash_driver_unregister();
		return 0;
	}));
	for (const auto &[what, inst_id] : {std::pair("0x20", plain_flash), std::pair("0x21", locked_flash)}) {
		all.push_back(of_flash(
			"drv_flash_get_size", what, 8,
			[inst_id = inst_id](memory &own) { return drv_flash_get_size(inst_id, 0, own.buffer.data()); }, inst_id));
		all.push_back(creation(what, inst_id));
		all.push_back(of_flash(
			"drv_flash_destroy", what, 0, [inst_id = inst_id](memory &) { return drv_flash_destroy(inst_id); }, inst_id));
	}
}

std::vector<operation> made_operations()
{
	std::vector<operation> all = {
		command("FLASH_MNG_GET_NAND_PART_INFO", FLASH_MNG_GET_NAND_PART_INFO, sizeof(nand_part_info)),
		command("FLASH_MNG_GET_PART_NUM", FLASH_MNG_GET_PART_NUM, 4),
		command("FLASH_MNG_GET_NAND_IS_EXIST", FLASH_MNG_GET_NAND_IS_EXIST, 4),
		lookup("FLASH_MNG_FIND_CONFIG", FLASH_MNG_FIND_CONFIG, "p"),
		lookup("FLASH_MNG_FIND_CONFIG_BY_INST", FLASH_MNG_FIND_CONFIG_BY_INST, "0x20"),
		request("FLASH_MNG_MTD_READ", FLASH_MNG_MTD_READ, "usrdata"),
		request("FLASH_MNG_MTD_WRITE", FLASH_MNG_MTD_WRITE, "usrdata"),
		command("FLASH_MNG_GET_MTD_STATISTICS", FLASH_MNG_GET_MTD_STATISTICS, sizeof(flash_mtd_statistics)),
	};
	add_transfers(all);
	add_questions(all);
	add_flashes(all);
	all.push_back({"load", "", kind::load, false, false, 0, load});
	all.push_back({"unload", "", kind::unload, false, false, 0, unload});
	return all;
}

std::uint64_t digest(const void *from, std::size_t size, std::uint64_t of = 0xcbf29ce484222325)
{
	const auto *at = static_cast<const std::uint8_t *>(from);
	for (std::size_t i = 0; i < size; ++i)
		of = (of ^ at[i]) * 0x100000001b3;
	return of;
}

std::string hex(std::uint64_t value)
{
	char text[20];
	std::snprintf(text, sizeof(text), "%llx", static_cast<unsigned long long>(value));
	return text;
}

std::vector<ending::record> records()
{
	std::vector<ending::record> all;
	for (const list_head *link = g_spi_flash_info_list.next; link != &g_spi_flash_info_list; link = link->next) {
		const auto *info = reinterpret_cast<const spi_flash_info *>(link);
		std::string text = hex(info->config.inst_id) + "/" + hex(digest(&info->config, sizeof(info->config)) & 0xffff);
		if (info->references != 1)
			text += "/references:" + std::to_string(info->references);
		for (u32 i = 0; info->mtd_names && i < info->mtd_name_num; ++i)
			text += std::string("/") + info->mtd_names[i];
		all.push_back({info->config.inst_id, text, info->mtd_names ? info->mtd_names[0] : ""});
	}
	return all;
}

void prepare_flash(start found)
{
	if (found < start::flash_known)
		return;
	for (u32 inst_id : {plain_flash, locked_flash})
		if (found == start::flash_known)
			drv_flash_find_flash_info(inst_id);
		else
			drv_flash_create(inst_id, parts_of(memory_of(most_callers), most_callers));
}

} // namespace

const char *name_of(start found)
{
	static constexpr const char *names[] = {"not loaded", "cannot be loaded", "no driver", "driver", "flash known", "flash created"};
	return names[static_cast<std::size_t>(found)];
}

const std::vector<operation> &all_operations()
{
	static const std::vector<operation> all = made_operations();
	return all;
}

std::string scene::name() const
{
	std::string all;
	for (const operation *one : callers)
		all += (all.empty() ? "" : " | ") + one->name();
	if (last_kills_first)
		all += " | a kill of the first";
	if (fails)
		all += ", call " + std::to_string(fails->nth) + " of " + fails->function + " fails for caller " +
		       std::to_string(fails->caller + 1);
	return all + " [" + name_of(found) + "]";
}

stage::stage(turns &callers) : turns_(callers)
{
	for (unsigned i = 0; i <= most_callers; ++i)
		memory_of(i);
}

void stage::set(const scene &on)
{
	static bool broken_selected = true, selected = false;
	const bool broken = on.found == start::off_and_broken;

	turns_.power_on();
	if (!selected || broken != broken_selected)
		simulation::configure(std::string(SCHEDULES_BOARDS) + (broken ? "/broken.xml" : "/schedules.xml"));
	selected = true;
	broken_selected = broken;
	for (std::size_t i = 0; i < std::size(devices); ++i) {
		const int index = simulation::add_mtd(
			{.name = devices[i].name, .size = device_size, .type = devices[i].type, .erase_size = erase_size});
		const bytes content(device_size, static_cast<std::uint8_t>(i + 1));
		simulation::set_mtd_content(index, 0, content.data(), content.size());
		if (devices[i].listed)
			turns_.list(index);
	}
	simulation::refresh_globals();
	g_created.clear();
	const bool off = on.found == start::off || broken;
	const auto about_loading = [](const operation *one) { return one->is == kind::load || one->is == kind::unload; };
	g_users = {.counted = std::any_of(on.callers.begin(), on.callers.end(), about_loading)};
	if (!off)
		flash_mng_load();
	if (on.found >= start::with_driver)
		drv_flash_driver_register(0, 0, &drivers[0]);
	prepare_flash(on.found);
	simulation::forget_log();
	simulation::reset_calls();

	answers_ = {};
	operations_ = on.callers.size();
	for (unsigned i = 0; i < operations_; ++i)
		turns_.add([this, i, one = on.callers[i]] { answers_[i] = one->run(i); }, on.callers[i]->moves_sections);
	if (on.fails)
		turns_.fail(*on.fails);
	if (on.last_kills_first)
		turns_.add([this] { turns_.kill(0); });
}

ending stage::end() const
{
	ending made = {.codes = {}, .records = records(), .created = g_created, .text = {}};
	std::string &all = made.text;

	for (std::size_t i = 0; i < operations_; ++i) {
		made.codes.push_back(answers_[i].code);
		all += hex(answers_[i].code) + "+" + hex(digest(answers_[i].content.data(), answers_[i].content.size()) & 0xffffff) + " ";
	}
	all += "flash";
	for (std::size_t i = 0; i < std::size(devices); ++i) {
		const bytes content = simulation::mtd_content(static_cast<int>(i), 0, device_size);
		all += " " + hex(digest(content.data(), content.size()) & 0xffffff);
	}
	all += ", registry";
	for (const ending::record &one : made.records)
		all += " " + one.text;
	all += ", created";
	for (const auto &[instance, name] : made.created)
		all += " " + hex(instance) + ":" + name;
	all += g_flash_funcs == &drivers[0] ? ", driver 1" : g_flash_funcs == &drivers[1] ? ", driver 2" : ", no driver";
	all += ", listed " + std::to_string(g_flash_mtd_info_list_num) + ", heap " + std::to_string(simulation::heap_allocations());
	std::vector<std::string> lines;
	for (const harness::log_line &line : simulation::log())
		lines.push_back(line.text);
	std::sort(lines.begin(), lines.end());
	std::uint64_t of_lines = 0;
	for (const std::string &line : lines)
		of_lines = digest(line.data(), line.size(), of_lines);
	all += ", messages " + std::to_string(lines.size()) + "/" + hex(of_lines & 0xffffff);
	return made;
}

std::string stage::left_over() const
{
	std::string all;
	const auto must_be_none = [&all](const char *what, long count) {
		if (count)
			all += std::string(all.empty() ? "" : ", ") + std::to_string(count) + " " + what;
	};

	must_be_none("pieces of virtual memory", simulation::virtual_allocations());
	must_be_none("references of MTD devices", simulation::mtd_references());
	must_be_none("open files", simulation::open_files());
	must_be_none("locks", simulation::locks_held());
	return all;
}

} // namespace schedules
