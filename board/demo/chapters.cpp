// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "chapters.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "calls.hpp"
#include "platform_status.h"
#include "screen.hpp"
#include "uapi/flash_mng.h"
#include "witnesses.hpp"

namespace tour {

namespace {

// A section of the demo board's XML.
constexpr char section[] = "0xffffffff 2";
constexpr char section_partition[] = "rootfs";
constexpr uint32_t section_address = 0xd00000;
constexpr uint32_t section_size = 0x100000;

// A card of the demo board's XML, and a partition of its SPI flash.
constexpr uint32_t card = 0x13;
constexpr char card_text[] = "0x13";
constexpr char firmware[] = "mtd_00000013_firmware";
constexpr char card_log[] = "mtd_00000013_log";

bytes bytes_of(const std::string &text)
{
	return {text.begin(), text.end()};
}

std::string in_section(uint32_t address)
{
	return std::string(" ") + section + " " + std::to_string(address);
}

uint32_t find_by_instance(uint32_t instance, spi_controller_config &config)
{
	flash_find_config_arg request = {};
	request.inst_id = instance;
	const uint32_t code = command(FLASH_MNG_FIND_CONFIG_BY_INST, &request);
	config = request.config;
	return code;
}

uint32_t find_by_name(const std::string &name, spi_controller_config &config)
{
	flash_find_config_arg request = {};
	request.name_length = static_cast<uint32_t>(name.size());
	request.name = reinterpret_cast<uintptr_t>(name.data());
	const uint32_t code = command(FLASH_MNG_FIND_CONFIG, &request);
	config = request.config;
	return code;
}

std::string place(const spi_controller_config &config)
{
	char text[128];
	std::snprintf(text, sizeof(text), "chip %u, controller %u, select %u, lock type %u, from the XML of instance 0x%x",
		      config.sfc_chip_id, config.sfc_ctrl, config.sfc_cs, config.hardlock_type, config.cfg_inst_id);
	return text;
}

} // namespace

void move_a_section(const std::string &modules)
{
	chapter("Other kernel modules ask by section: demo_client.ko calls drv_flash_write() and drv_flash_read()");
	expect(load_module(modules, "demo_client"), "demo_client is loaded; it links against flash_mng");

	const bytes note = bytes_of("Sections have addresses; the module knows in which partition and where that is.");
	constexpr uint32_t position = 0x20000 - 40; // across the border of two erase blocks
	constexpr uint32_t address = section_address + position;
	bytes expected = device_content(section_partition, 2 * section_size);
	const uint32_t written = kernel_call("write_section" + in_section(address), note).code;
	show_log();
	expect(written == FLASH_MNG_OK,
	       "section 2 begins at " + hex(section_address) + ": " + std::to_string(note.size()) + " bytes written at " + hex(address));
	if (expected.size() != 2 * section_size) {
		expect(false, "the partition can be read");
		return;
	}

	std::copy(note.begin(), note.end(), expected.begin() + position);
	expect(device_content(section_partition, expected.size()) == expected,
	       mtd_path(section_partition) + " (" + section_partition + "): they are at " + hex(position) +
		       ", and nothing else has changed in the section or the " + human(section_size) + " behind it");
	const answer read = kernel_call("read_section" + in_section(address) + " " + std::to_string(note.size()));
	expect(read.code == FLASH_MNG_OK && read.data == note, "read back through the module, byte for byte");
	const uint32_t beyond = kernel_call("read_section" + in_section(section_address + section_size - 8) + " 16").code;
	show_log();
	expect(beyond == FLASH_MNG_INVALID, "16 bytes, 8 of them beyond the section: refused with " + hex(beyond));
}

void create_an_spi_flash(const std::string &modules)
{
	chapter("Card 3 (instance 0x13) has an SPI flash: spi_flash_driver.ko registers, demo_client.ko asks for its partitions");
	spi_controller_config config = {};
	expect(load_module(modules, "spi_flash_driver"), "spi_flash_driver is loaded");
	const uint32_t unknown = find_by_instance(card, config);
	expect(unknown == FLASH_MNG_NOT_FOUND, "instance 0x13 is looked up: " + hex(unknown) + ", nobody has used it yet");

	const answer size = kernel_call(std::string("flash_size ") + card_text);
	show_log();
	expect(size.code == FLASH_MNG_OK && size.data == bytes_of("4194304\n"), "drv_flash_get_size(): 4 MiB");
	const uint32_t created = kernel_call(std::string("create_flash ") + card_text).code;
	expect(created == FLASH_MNG_OK && mtd_number(firmware) >= 0 && mtd_number(card_log) >= 0,
	       "drv_flash_create(): /proc/mtd has the partitions of the card's spi_flash_map");
	std::printf("\n      %s\n      %s\n\n", mtd_line(firmware).c_str(), mtd_line(card_log).c_str());
	expect(file_content("/sys/kernel/debug/drv_basic/hard_locks").empty(), "the hardware lock that this card asks for is free again");
}

void use_the_spi_flash()
{
	chapter("Write to it as to any MTD device, and ask the module where it sits");
	const bytes note = bytes_of("These bytes are on the card.");
	bool is_written = false;
	{
		descriptor device(mtd_path(card_log), O_RDWR);
		is_written = pwrite(device.get(), note.data(), note.size(), 0x10000) == static_cast<ssize_t>(note.size());
	}
	bytes expected(0x200000, 0xff);
	std::copy(note.begin(), note.end(), expected.begin() + 0x10000);
	expect(is_written && device_content(card_log) == expected, mtd_path(card_log) + ": " + std::to_string(note.size()) +
									   " bytes written and read back, the rest of the " +
									   human(expected.size()) + " is erased");

	spi_controller_config by_instance = {}, by_name = {};
	const uint32_t instance_code = find_by_instance(card, by_instance);
	const uint32_t name_code = find_by_name(card_log, by_name);
	expect(instance_code == FLASH_MNG_OK && by_instance.inst_id == card && by_instance.cfg_inst_id == 0x10 &&
		       by_instance.sfc_chip_id == 0 && by_instance.sfc_ctrl == 1 && by_instance.sfc_cs == 0,
	       "by instance 0x13: " + place(by_instance));
	expect(name_code == FLASH_MNG_OK && std::memcmp(&by_name, &by_instance, sizeof(by_name)) == 0,
	       std::string("by name ") + card_log + ": the same");
}

void destroy_the_spi_flash()
{
	chapter("Destroy it");
	const std::string destroy = std::string("destroy_flash ") + card_text;
	{
		descriptor device(mtd_path(firmware), O_RDONLY);
		const uint32_t refused = kernel_call(destroy).code;
		show_log();
		expect(refused == SPI_FLASH_IN_USE && mtd_number(firmware) >= 0 && mtd_number(card_log) >= 0,
		       "while " + mtd_path(firmware) + " is open: refused with " + hex(refused) +
			       ", the driver's status, and both are still there");
	}
	spi_controller_config config = {};
	const uint32_t destroyed = kernel_call(destroy).code;
	expect(destroyed == FLASH_MNG_OK && mtd_number(firmware) < 0 && mtd_number(card_log) < 0,
	       "closed: destroyed, and gone from /proc/mtd");
	expect(find_by_instance(card, config) == FLASH_MNG_NOT_FOUND && find_by_name(card_log, config) == FLASH_MNG_NOT_FOUND,
	       "neither the instance nor the name is found any more");
}

} // namespace tour
