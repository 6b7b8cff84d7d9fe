// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <shared_mutex>

#include "platform_status.h"
#include "workers.hpp"

namespace torture {

namespace {

constexpr uint32_t erase_size = 0x10000;
constexpr uint32_t unknown_instance = 0x77;

struct spi_flash {
	spi_controller_config config; // that a lookup has to give
	uint64_t size;
	const char *parts[2];
};

constexpr spi_flash flashes[] = {
	{{0x11, 0x10, 0, 0, 0, 1, 0xffffffff, 0xffffffff}, 4 << 20, {"flash11_a", "flash11_b"}},
	{{0x12, 0x10, 0, 0, 1, 0, 0x5a, 0xa5}, 2 << 20, {"flash12_a", "flash12_b"}},
	{{0x13, 0x10, 0, 1, 0, 2, 0x11, 0x22}, 4 << 20, {"flash13_a", "flash13_b"}},
	{{0x20, 0x20, 1, 1, 1, 1, 0xffffffff, 0xffffffff}, 2 << 20, {"flash20_a", "flash20_b"}},
};

// Linux 5.10 does not bear it when an MTD device goes while somebody opens its block device: the next one of its number gets no block
// device, or the list of them is read after a part of it was freed. So who transfers and who destroys agree, as they have to on a board.
std::shared_mutex g_in_use[std::size(flashes)];

std::shared_mutex &in_use(const spi_flash &flash)
{
	return g_in_use[&flash - flashes];
}

bool same(const spi_controller_config &found, const spi_controller_config &wanted)
{
	return std::memcmp(&found, &wanted, sizeof(found)) == 0;
}

uint32_t look_up_name(step_context &context, const char *name, spi_controller_config &config)
{
	flash_find_config_arg request = {};
	request.name_length = static_cast<uint32_t>(std::strlen(name));
	request.name = address_of(name);
	const uint32_t code = context.access.command(FLASH_MNG_FIND_CONFIG, &request);
	config = request.config;
	return code;
}

uint32_t look_up_instance(step_context &context, uint32_t inst_id, spi_controller_config &config)
{
	flash_find_config_arg request = {};
	request.inst_id = inst_id;
	const uint32_t code = context.access.command(FLASH_MNG_FIND_CONFIG_BY_INST, &request);
	config = request.config;
	return code;
}

uint32_t create(step_context &context, const spi_flash &flash)
{
	flash_part parts[2] = {};
	uint32_t offset = 0;
	for (int i = 0; i < 2; ++i) {
		parts[i].offset = offset;
		parts[i].size = erase_size * (1 + context.choice.below(8));
		offset += parts[i].size;
		std::strcpy(parts[i].mtd_name, flash.parts[i]);
	}
	return export_call(FLASH_CALL_drv_flash_create).value(flash.config.inst_id).parts(parts).make(context.access);
}

uint32_t destroy(step_context &context, const spi_flash &flash)
{
	return export_call(FLASH_CALL_drv_flash_destroy).value(flash.config.inst_id).make(context.access);
}

uint32_t ask_size(step_context &context, uint32_t inst_id, uint64_t &size)
{
	return export_call(FLASH_CALL_drv_flash_get_size).value(inst_id).value(0).memory(&size, sizeof(size)).make(context.access);
}

// Nobody else creates or destroys the flash, or asks for its size, so that each answer is known.
class owner {
public:
	explicit owner(const spi_flash &flash) : flash_(flash) {}

	void step(step_context &context)
	{
		look_both_ways(context);
		if (!created_)
			create_it(context);
		else if (context.choice.one_in(3))
			destroy_it(context);
		else if (context.choice.one_in(3))
			ask(context);
		else
			write_and_read(context);
	}

	void finish(step_context &context)
	{
		for (int attempt = 0; created_ && attempt < 1000; ++attempt)
			destroy_it(context);
		context.check(!created_, std::string(flash_.parts[0]) + ": always in use");
		look_both_ways(context);
	}

private:
	void look_both_ways(step_context &context)
	{
		spi_controller_config config;
		const uint32_t expected = created_ ? FLASH_MNG_OK : FLASH_MNG_NOT_FOUND;
		if (context.expect("lookup of one's own partition", look_up_name(context, flash_.parts[1], config), {expected}) && created_)
			context.check(same(config, flash_.config), "lookup by name gave other settings");
		if (context.expect("lookup of one's own instance", look_up_instance(context, flash_.config.inst_id, config), {expected}) &&
		    created_)
			context.check(same(config, flash_.config), "lookup by instance gave other settings");
	}

	void create_it(step_context &context) { created_ = context.expect("create", create(context, flash_), {FLASH_MNG_OK}); }

	// Somebody who asks for statistics may have a partition.
	void destroy_it(step_context &context)
	{
		const std::unique_lock nobody(in_use(flash_));
		const uint32_t code = destroy(context, flash_);
		context.expect("destroy", code, {FLASH_MNG_OK, SPI_FLASH_IN_USE});
		created_ = code != FLASH_MNG_OK;
	}

	void ask(step_context &context)
	{
		uint64_t size = 0;
		context.expect("flash size", ask_size(context, flash_.config.inst_id, size), {FLASH_MNG_OK});
		context.check(size == flash_.size, "the flash has another size");
	}

	void write_and_read(step_context &context)
	{
		const char *const name = flash_.parts[context.choice.below(2)];
		bytes data(1 + context.choice.below(3000));
		for (uint8_t &byte : data)
			byte = static_cast<uint8_t>(context.choice.next());
		const uint32_t offset = context.choice.below(erase_size - 3000);
		const uint32_t written = export_call(FLASH_CALL_drv_flash_mtd_write)
						 .text(name)
						 .value(offset)
						 .memory_in(data.data(), data.size())
						 .value(data.size())
						 .make(context.access);
		if (!context.expect("write: SPI flash", written, {FLASH_MNG_OK}))
			return;
		bytes found(data.size());
		const uint32_t read = export_call(FLASH_CALL_drv_flash_mtd_read)
					      .text(name)
					      .value(offset)
					      .memory(found.data(), found.size())
					      .value(found.size())
					      .make(context.access);
		if (context.expect("read: SPI flash", read, {FLASH_MNG_OK}))
			context.check(found == data, "an SPI flash holds other bytes than were written");
	}

	const spi_flash &flash_;
	bool created_ = false;
};

// Whatever is found has to be whole.
void look_on(step_context &context)
{
	const spi_flash &flash = context.choice.of(flashes);
	spi_controller_config config;
	if (context.choice.one_in(2)) {
		const uint32_t code = look_up_name(context, context.choice.of(flash.parts), config);
		context.expect("lookup of a partition", code, {FLASH_MNG_OK, FLASH_MNG_NOT_FOUND});
		context.check(code || same(config, flash.config), "lookup by name gave other settings");
	} else {
		const uint32_t code = look_up_instance(context, flash.config.inst_id, config);
		context.expect("lookup of an instance", code, {FLASH_MNG_OK, FLASH_MNG_NOT_FOUND});
		context.check(code || same(config, flash.config), "lookup by instance gave other settings");
	}
	context.expect("lookup of an unknown instance", look_up_instance(context, unknown_instance, config), {FLASH_MNG_NOT_FOUND});
}

void use_as_guest(step_context &context)
{
	const spi_flash &flash = context.choice.of(flashes);
	const std::shared_lock stays(in_use(flash));
	bytes data(1 + context.choice.below(5000));
	const uint32_t code = export_call(FLASH_CALL_drv_flash_mtd_read)
				      .text(context.choice.of(flash.parts))
				      .value(context.choice.below(2 * erase_size))
				      .memory(data.data(), data.size())
				      .value(data.size())
				      .make(context.access);
	context.expect("read: another's SPI flash", code, {FLASH_MNG_OK, FLASH_MNG_NO_PARTITION, FLASH_MNG_INVALID});
}

void race(step_context &context)
{
	const spi_flash &flash = flashes[1 + context.choice.below(2)];
	uint64_t size = 0;
	switch (context.choice.below(4)) {
	case 0:
		context.expect("race: create", create(context, flash), {FLASH_MNG_OK, FLASH_MNG_NO_DRIVER, HARD_LOCK_BUSY});
		break;
	case 1:
		context.expect("race: destroy", destroy(context, flash), {FLASH_MNG_OK, FLASH_MNG_NO_DRIVER});
		break;
	case 2:
		context.expect("race: flash size", ask_size(context, flash.config.inst_id, size),
			       {FLASH_MNG_OK, FLASH_MNG_NO_DRIVER, HARD_LOCK_BUSY});
		break;
	default:
		look_on(context);
	}
}

void come_and_go(step_context &context)
{
	const bool come = !context.choice.one_in(3);
	if (!come && context.choice.one_in(2)) {
		export_call(FLASH_CALL_drv_flash_driver_unregister).make(context.access);
		++context.self.counted[{"race: driver goes", 0}];
		return;
	}
	const uint32_t code = export_call(FLASH_CALL_drv_flash_driver_register).value(0).value(0).driver(come).make(context.access);
	context.expect("race: driver comes", code, {FLASH_MNG_OK});
}

} // namespace

void add_spi_workers(worker_list &list)
{
	for (const spi_flash &flash : flashes) {
		auto one = std::make_shared<owner>(flash);
		list.emplace_back(
			std::string("owner of ") + flash.parts[0], [one](step_context &context) { one->step(context); },
			[one](step_context &context) { one->finish(context); });
	}
	for (int i = 0; i < 2; ++i)
		list.emplace_back("onlooker " + std::to_string(i), [](step_context &context) { with_rest(context, look_on); });
	list.emplace_back("guest", use_as_guest);
}

void add_spi_race_workers(worker_list &list)
{
	for (int i = 0; i < 6; ++i)
		list.emplace_back("racer " + std::to_string(i), race);
	list.emplace_back("driver", come_and_go);
}

} // namespace torture
