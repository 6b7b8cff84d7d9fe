// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "workers.hpp"

#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace torture {

namespace {

constexpr unsigned most_printed = 20;

// What /proc/mtd begins with, before SPI flashes come and go: boot, config, usrdata, rootfs, ram0.
struct fixed_device {
	const char *name;
	uint64_t size;
	uint32_t type;
};
constexpr fixed_device fixed_devices[] = {
	{"boot", 1 << 20, 4}, {"config", 4 << 20, 4}, {"usrdata", 8 << 20, 4}, {"rootfs", 243 << 20, 4}, {"ram0", 4 << 20, 1},
};

void read_slot(step_context &context, slot &one, bool owned)
{
	const uint64_t before = one.finished;
	bytes found(slot_capacity);
	const uint32_t code = one.way->read(context.access, one.offset, found);
	const uint64_t after = one.started;
	if (!context.expect(("read: " + one.way->name()).c_str(), code, {FLASH_MNG_OK}))
		return;
	if (!owned && !one.way->whole())
		return;
	const reading seen = read_content(one.id, found);
	context.check(seen.generation.has_value(), one.way->name() + ": " + seen.error);
	if (seen.generation)
		context.check(*seen.generation >= before && *seen.generation <= after,
			      one.way->name() + ": slot " + std::to_string(one.id) + " holds generation " +
				      std::to_string(*seen.generation) + ", not " + std::to_string(before) + " to " +
				      std::to_string(after));
}

void ask_statistics(step_context &context)
{
	auto statistics = std::make_unique<flash_mtd_statistics>();
	std::memset(statistics.get(), 0xa5, sizeof(*statistics));
	if (!context.expect("statistics", context.access.command(FLASH_MNG_GET_MTD_STATISTICS, statistics.get()), {FLASH_MNG_OK}))
		return;
	context.check(statistics->count >= std::size(fixed_devices) && statistics->count <= FLASH_MNG_STAT_ENTRIES,
		      "statistics count " + std::to_string(statistics->count));
	for (const fixed_device &device : fixed_devices) {
		const auto &entry = statistics->entries[&device - fixed_devices];
		context.check(entry.size == device.size && entry.type == device.type && !std::strcmp(entry.name, device.name),
			      std::string("statistics of ") + device.name + " are wrong");
	}
	const auto *rest = reinterpret_cast<const uint8_t *>(&statistics->entries[statistics->count]);
	const auto *end = reinterpret_cast<const uint8_t *>(statistics.get() + 1);
	context.check(std::all_of(rest, end, [](uint8_t byte) { return byte == 0; }), "statistics: entries beyond the count are not zero");
}

void ask_user_data(step_context &context)
{
	uint32_t words[2] = {0, 0x5a5a5a5a};
	nand_part_info info;
	std::memset(&info, 0xff, sizeof(info));
	switch (context.choice.below(6)) {
	case 0:
		context.expect("part num", context.access.command(FLASH_MNG_GET_PART_NUM, words), {FLASH_MNG_OK});
		context.check(words[0] == 1 && words[1] == 0x5a5a5a5a, "part num: not 1 in 4 bytes");
		break;
	case 1:
		context.expect("is exist", context.access.command(FLASH_MNG_GET_NAND_IS_EXIST, words), {FLASH_MNG_OK});
		context.check(words[0] == 1 && words[1] == 0x5a5a5a5a, "is exist: not 1 in 4 bytes");
		break;
	case 2:
		context.expect("part info", context.access.command(FLASH_MNG_GET_NAND_PART_INFO, &info), {FLASH_MNG_OK});
		context.check(info.part_num == 1 && info.size == 8 << 20, "part info is wrong");
		break;
	case 3:
		context.expect("drv_flash_get_nand_part_num",
			       export_call(FLASH_CALL_drv_flash_get_nand_part_num).memory(words, 4).make(context.access), {FLASH_MNG_OK});
		context.check(words[0] == 1, "drv_flash_get_nand_part_num: not 1");
		break;
	case 4:
		context.expect("drv_flash_get_nand_is_exist",
			       export_call(FLASH_CALL_drv_flash_get_nand_is_exist).memory(words, 4).make(context.access), {FLASH_MNG_OK});
		context.check(words[0] == 1, "drv_flash_get_nand_is_exist: not 1");
		break;
	default:
		context.expect("drv_flash_get_nand_part_size_info",
			       export_call(FLASH_CALL_drv_flash_get_nand_part_size_info).memory(&info, sizeof(info)).make(context.access),
			       {FLASH_MNG_OK});
		context.check(info.part_num == 1 && info.size == 8 << 20, "drv_flash_get_nand_part_size_info is wrong");
	}
}

void ask_by_name(step_context &context)
{
	const fixed_device &device = context.choice.of(fixed_devices);
	if (context.choice.one_in(2)) {
		uint64_t size = 0;
		context.expect(
			"drv_flash_get_mtd_size",
			export_call(FLASH_CALL_drv_flash_get_mtd_size).text(device.name).memory(&size, sizeof(size)).make(context.access),
			{FLASH_MNG_OK});
		context.check(size == device.size, std::string("size of ") + device.name + " is wrong");
	} else {
		uint32_t type = 7;
		context.expect(
			"drv_flash_get_type",
			export_call(FLASH_CALL_drv_flash_get_type).text(device.name).memory(&type, sizeof(type)).make(context.access),
			{FLASH_MNG_OK});
		context.check(type == (device.type != 4), std::string("type of ") + device.name + " is wrong");
	}
}

void ask_nothing(step_context &context)
{
	const auto patch = context.choice.one_in(2) ? FLASH_CALL_flash_mng_drv_patch_func1 : FLASH_CALL_flash_mng_drv_patch_func2;
	context.expect("patch", export_call(patch).make(context.access), {FLASH_MNG_OK});
}

// Pages whose protection another thread changes all the time; anything may be written there.
class moving_pages {
public:
	static constexpr std::size_t size = 4 * 4096;

	moving_pages() : start_(static_cast<uint8_t *>(mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {}

	uint64_t address(choices &choice) const { return address_of(start_) + choice.below(size - 64); }

	void change(choices &choice) const
	{
		static constexpr int protections[] = {PROT_READ | PROT_WRITE, PROT_READ | PROT_WRITE, PROT_READ, PROT_NONE};
		uint8_t *const page = start_ + choice.below(4) * 4096;
		if (choice.one_in(4))
			mmap(page, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
		else
			mprotect(page, 4096, choice.of(protections));
	}

private:
	uint8_t *start_;
};

uint64_t hostile_address(const moving_pages &pages, choices &choice)
{
	static constexpr uint64_t wrong[] = {0, 1, 0x10000, 0x7ffffff000, 0x8000000000, 0xffffff8000000000, 0xffffffc000000000, ~0ull};
	return choice.one_in(3) ? choice.of(wrong) : pages.address(choice);
}

// Nothing that could reach a partition's content: a write of length 0, or of a name that is not listed.
void hostile_command(step_context &context, const moving_pages &pages)
{
	static constexpr uint32_t questions[] = {
		FLASH_MNG_GET_NAND_PART_INFO, FLASH_MNG_GET_PART_NUM,	     FLASH_MNG_GET_NAND_IS_EXIST,
		FLASH_MNG_FIND_CONFIG,	      FLASH_MNG_FIND_CONFIG_BY_INST, FLASH_MNG_GET_MTD_STATISTICS,
	};
	choices &choice = context.choice;
	const auto any_but_memory = [&](const char *operation, uint32_t code) {
		++context.self.counted[{operation, code}];
		context.check(code != FLASH_MNG_NO_MEMORY, std::string(operation) + ": no memory");
	};
	switch (choice.below(4)) {
	case 0:
		any_but_memory("hostile question", context.access.command_at(choice.of(questions), hostile_address(pages, choice)));
		break;
	case 1: {
		flash_find_config_arg request = {};
		request.name_length = choice.below(40);
		request.name = hostile_address(pages, choice);
		any_but_memory("hostile name", context.access.command(FLASH_MNG_FIND_CONFIG, &request));
		break;
	}
	case 2: {
		const auto *buffer = reinterpret_cast<const void *>(hostile_address(pages, choice));
		const uint32_t length = 1 + choice.below(9000);
		const uint32_t code = context.access.transfer(FLASH_MNG_MTD_READ, "config", choice.below(0x10000), buffer, length);
		context.expect("hostile read", code, {FLASH_MNG_OK, FLASH_MNG_USER_UNWRITABLE});
		break;
	}
	default: {
		const uint32_t number =
			choice.one_in(2) ? static_cast<uint32_t>(choice.next()) : FLASH_MNG_MTD_WRITE ^ 1u << choice.below(32);
		if (number != FLASH_MNG_MTD_WRITE && number != FLASH_MNG_MTD_READ)
			any_but_memory("hostile number", context.access.command_at(number, hostile_address(pages, choice)));
	}
	}
}

// Raw calls only: the child of a program with threads.
[[noreturn]] void read_for_ever(const flash_mng_access &access, flash_call &call, flash_mtd_io_arg &request, bool by_command)
{
	for (;;) {
		if (by_command)
			ioctl(access.device(), FLASH_MNG_MTD_READ, &request);
		else
			ioctl(access.calls(), FLASH_CALLS_CALL, &call);
	}
}

void kill_a_caller(step_context &context)
{
	bytes data(20000);
	const bool by_command = context.choice.one_in(2);
	export_call section(FLASH_CALL_drv_flash_read);
	section.value(0xffffffff).value(1).value(context.choice.below(100000)).memory(data.data(), data.size()).value(data.size());
	flash_call call = section.record();
	flash_mtd_io_arg request = {"usrdata", context.choice.below(1000), static_cast<uint32_t>(data.size()), address_of(data.data())};
	const useconds_t life = 1000 + context.choice.below(30000);

	const pid_t child = fork();
	if (child == 0)
		read_for_ever(context.access, call, request, by_command);
	context.check(child > 0, "no process for a caller to be killed");
	if (child <= 0)
		return;
	usleep(life);
	kill(child, SIGKILL);
	int status = 0;
	waitpid(child, &status, 0);
	context.check(WIFSIGNALED(status), "a caller ended before it was killed");
	++context.self.counted[{by_command ? "killed in a command" : "killed in a section", 0}];
}

} // namespace

void failures::add(const std::string &text)
{
	const std::scoped_lock held(lock_);
	if (++count_ <= most_printed) {
		std::printf("%s\n", text.c_str());
		std::fflush(stdout);
	}
}

bool step_context::expect(const char *operation, uint32_t code, std::initializer_list<uint32_t> allowed)
{
	++self.counted[{operation, code}];
	if (std::find(allowed.begin(), allowed.end(), code) != allowed.end())
		return true;
	char text[16];
	std::snprintf(text, sizeof(text), "0x%08x", code);
	bad.add(self.name + ", step " + std::to_string(self.steps) + ": " + operation + " gave " + text);
	return false;
}

void step_context::check(bool right, const std::string &otherwise)
{
	if (!right)
		bad.add(self.name + ", step " + std::to_string(self.steps) + ": " + otherwise);
}

void with_rest(step_context &context, void (*step)(step_context &))
{
	step(context);
	usleep(1000);
}

void write_next(step_context &context, slot &one)
{
	const uint64_t generation = ++one.started;
	const uint32_t code = one.way->write(context.access, one.offset, content(one.id, generation));
	if (context.expect(("write: " + one.way->name()).c_str(), code, {FLASH_MNG_OK}))
		one.finished = generation;
}

void add_transfer_workers(worker_list &list, std::deque<slot> &slots)
{
	const transfer_path *last = nullptr;
	for (slot &one : slots) {
		const std::string name = one.way->name() + ", slot " + std::to_string(one.id);
		list.emplace_back("writer of " + name, [&one](step_context &context) {
			write_next(context, one);
			if (context.choice.one_in(3))
				read_slot(context, one, true);
		});
		if (one.way == last)
			continue;
		last = one.way;
		list.emplace_back("reader of " + one.way->name(), [&slots, last](step_context &context) {
			slot &any = context.choice.of(slots);
			read_slot(context, any, false);
			for (slot &other : slots)
				if (other.way == last && context.choice.one_in(2))
					read_slot(context, other, false);
		});
	}
}

void add_question_workers(worker_list &list)
{
	list.emplace_back("statistics", ask_statistics);
	list.emplace_back("user data", [](step_context &context) { with_rest(context, ask_user_data); });
	list.emplace_back("names", [](step_context &context) { with_rest(context, ask_by_name); });
	list.emplace_back("patch functions", [](step_context &context) { with_rest(context, ask_nothing); });
}

void add_hostile_workers(worker_list &list)
{
	auto pages = std::make_shared<moving_pages>();
	for (int i = 0; i < 2; ++i)
		list.emplace_back("hostile commands " + std::to_string(i),
				  [pages](step_context &context) { hostile_command(context, *pages); });
	list.emplace_back("remapper", [pages](step_context &context) {
		pages->change(context.choice);
		usleep(200);
	});
	list.emplace_back("killer", kill_a_caller);
}

} // namespace torture
