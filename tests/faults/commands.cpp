// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The commands of the control device, with the memory of a program.
#include <cstring>

#include "spi_words.hpp"
#include "uapi/flash_mng.h"
#include "words.hpp"

namespace faults {

namespace {

// Memory of the program that is made with the first try and lives as long as the board.
class program_memory {
public:
	explicit program_memory(std::size_t size) : size_(size) {}

	std::uint8_t *get()
	{
		if (!memory_)
			memory_ = harness::user_memory(size_);
		return memory_;
	}
	uint64_t address() { return harness::user_address(get()); }
	bytes content() { return {get(), get() + size_}; }
	void fill(uint8_t value) { std::memset(get(), value, size_); }
	void set(const bytes &content) { std::memcpy(get(), content.data(), content.size()); }

private:
	std::size_t size_;
	std::uint8_t *memory_ = nullptr;
};

using shared_memory = std::shared_ptr<program_memory>;

shared_memory in_program(std::size_t size)
{
	return std::make_shared<program_memory>(size);
}

template <typename record> bytes in_bytes(const record &value)
{
	bytes made(sizeof(value));
	std::memcpy(made.data(), &value, sizeof(value));
	return made;
}

uint32_t issue(uint32_t command, const shared_memory &record)
{
	return harness::ioctl(command, record->address()).code();
}

// A command that only answers.
operation asking(
	const char *name, uint32_t command, const char *scenario, std::vector<harness::mtd_spec> devices, const bytes &answer,
	const std::function<bool(const bytes &)> &in_part = [](const bytes &) { return false; })
{
	const auto record = in_program(answer.size());
	return {.name = name,
		.scenario = scenario,
		.board = "plain",
		.devices = std::move(devices),
		.start = [=] { record->fill(untouched); },
		.run = [=] { return issue(command, record); },
		.done = [=] { return record->content() == answer; },
		.done_in_part = [=] { return in_part(record->content()); }};
}

std::vector<harness::mtd_spec> with_usrdata()
{
	return {device("nor", harness::mtd_nor), device("usrdata", harness::mtd_nand)};
}

bytes usrdata_record()
{
	nand_part_info info = {};
	info.part_num = 1;
	info.size = 0x4000;
	return in_bytes(info);
}

std::vector<harness::mtd_spec> many_devices(std::size_t count)
{
	std::vector<harness::mtd_spec> devices;
	for (std::size_t i = 0; i < count; ++i)
		devices.push_back(device("part" + std::to_string(i), harness::mtd_nor, erase_size));
	return devices;
}

flash_mtd_statistics statistics_of(const std::vector<harness::mtd_spec> &devices, std::size_t count)
{
	flash_mtd_statistics statistics = {};
	statistics.count = static_cast<uint32_t>(count);
	for (uint32_t i = 0; i < count; ++i) {
		flash_mtd_stat_entry &entry = statistics.entries[i];
		entry.size = devices[i].size;
		entry.index = i;
		entry.type = devices[i].type;
		entry.erasesize = devices[i].erase_size;
		devices[i].name.copy(entry.name, sizeof(entry.name) - 1);
	}
	return statistics;
}

// The devices up to the one that was not found.
std::function<bool(const bytes &)> first_ones(const std::vector<harness::mtd_spec> &devices)
{
	return [devices](const bytes &record) {
		const uint32_t count = conformance::u32_at(record, 0);
		return count < devices.size() && record == in_bytes(statistics_of(devices, count));
	};
}

operation statistics(const char *scenario, const std::vector<harness::mtd_spec> &devices)
{
	return asking("FLASH_MNG_GET_MTD_STATISTICS", FLASH_MNG_GET_MTD_STATISTICS, scenario, devices,
		      in_bytes(statistics_of(devices, std::min<std::size_t>(devices.size(), FLASH_MNG_STAT_ENTRIES))), first_ones(devices));
}

bytes io_request(const std::string &name, uint32_t offset, uint32_t length, uint64_t buffer)
{
	flash_mtd_io_arg request = {};
	name.copy(request.name, sizeof(request.name) - 1);
	request.offset = offset;
	request.length = length;
	request.buffer = buffer;
	return in_bytes(request);
}

operation reading(const char *scenario, const harness::mtd_spec &on, uint32_t offset, uint32_t length)
{
	const auto record = in_program(sizeof(flash_mtd_io_arg)), buffer = in_program(length);
	return {.name = "FLASH_MNG_MTD_READ",
		.scenario = scenario,
		.board = "transfers",
		.devices = {on},
		.start =
			[=] {
				buffer->fill(untouched);
				record->set(io_request(on.name, offset, length, buffer->address()));
			},
		.run = [=] { return issue(FLASH_MNG_MTD_READ, record); },
		.done = [=] { return buffer->content() == content_of(0, offset, length); }};
}

operation writing(const char *scenario, const harness::mtd_spec &on, uint32_t offset, uint32_t length)
{
	const auto record = in_program(sizeof(flash_mtd_io_arg)), buffer = in_program(length);
	return {.name = "FLASH_MNG_MTD_WRITE",
		.scenario = scenario,
		.board = "transfers",
		.devices = {on, device("beside", harness::mtd_nand)},
		.start =
			[=] {
				buffer->set(fresh_data(length));
				record->set(io_request(on.name, offset, length, buffer->address()));
			},
		.run = [=] { return issue(FLASH_MNG_MTD_WRITE, record); },
		.done = [=] { return buffer->content() == fresh_data(length); },
		.written = target{0, offset, fresh_data(length)}};
}

// A question for the flash of an instance, or of a partition; there are two flashes with two partitions each.
operation finding(const char *command_name, uint32_t command, const char *scenario, uint32_t instance, const std::string &partition,
		  const conformance::settings &expected)
{
	const auto record = in_program(sizeof(flash_find_config_arg)), name = in_program(std::max<std::size_t>(partition.size(), 1));
	flash_find_config_arg question = {};
	question.inst_id = instance;
	question.name_length = static_cast<uint32_t>(partition.size());
	std::memset(question.reserved, 0x5A, sizeof(question.reserved));

	flash_find_config_arg answer = question;
	std::memcpy(&answer.config, &expected, sizeof(answer.config));
	return {.name = command_name,
		.scenario = scenario,
		.board = "spi",
		.start =
			[=]() mutable {
				harness::register_driver();
				conformance::create(0x20, {"first0", "first1"});
				conformance::create(0x32, {"second0", "second1"});
				name->set({partition.begin(), partition.end()});
				question.name = answer.name = name->address();
				record->set(in_bytes(question));
			},
		.run = [=] { return issue(command, record); },
		.done =
			[=]() mutable {
				answer.name = name->address();
				return record->content() == in_bytes(answer);
			},
		.settle =
			[] {
				for (uint64_t flash : conformance::records())
					harness::call("release_flash_info_alloc", {flash});
			}};
}

operation finding_by_name(const char *scenario, const std::string &partition, const conformance::settings &expected)
{
	return finding("FLASH_MNG_FIND_CONFIG", FLASH_MNG_FIND_CONFIG, scenario, 0, partition, expected);
}

operation finding_by_instance(const char *scenario, const conformance::settings &expected)
{
	return finding("FLASH_MNG_FIND_CONFIG_BY_INST", FLASH_MNG_FIND_CONFIG_BY_INST, scenario, expected.inst_id, "", expected);
}

} // namespace

operations commands()
{
	using namespace harness;
	return {
		asking("FLASH_MNG_GET_NAND_PART_INFO", FLASH_MNG_GET_NAND_PART_INFO, "present", with_usrdata(), usrdata_record()),
		asking("FLASH_MNG_GET_PART_NUM", FLASH_MNG_GET_PART_NUM, "present", with_usrdata(), in_bytes(1)),
		asking("FLASH_MNG_GET_NAND_IS_EXIST", FLASH_MNG_GET_NAND_IS_EXIST, "present", with_usrdata(), in_bytes(1),
		       [](const bytes &record) { return record == in_bytes(0); }),
		finding_by_name("oldest", "first0", conformance::unlocked_flash),
		finding_by_name("second_name", "second1", conformance::second_card),
		finding_by_instance("oldest", conformance::unlocked_flash),
		finding_by_instance("second", conformance::second_card),
		reading("listed", device("listed_mlc", mtd_nand, 0x8000), 0x1010, 0x30),
		reading("from_its_start", device("listed_mlc", mtd_nand, 0x8000), 0, 0x20),
		reading("behind_the_usable_bytes", device("listed_mlc", mtd_nand, 0x9000), 0x8000, 0x1000),
		reading("nor", device("listed_nor", mtd_nor), 0x10, 0x10),
		writing("listed", device("listed_mlc", mtd_nand, 0x8000), 0x1010, 0x30),
		writing("across_erase_blocks", device("listed_mlc", mtd_nand, 0x9000), 0xFF0, 0x1020),
		writing("one_usable_byte", device("one_usable", mtd_nand), 0, 1),
		statistics("no_device", {}),
		statistics("one_device", many_devices(1)),
		statistics("five_devices", many_devices(5)),
		statistics("more_than_fit", many_devices(130)),
	};
}

} // namespace faults
