// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "spi/spi_config.hpp"

#include "config/xml_section.hpp"
#include "platform/bounded.h"
#include "platform/instance.h"
#include "platform/messages.hpp"

using namespace flash_mng;

namespace {

constexpr char info_node[] = "spi_flash_info";
constexpr char map_node[] = "spi_flash_map";
constexpr u32 topmost_instance = 0xFFFFFFFF;
constexpr u32 no_card = 0xFFFFFFFF;
constexpr u32 entry_name_size = 32;

constexpr u32 default_lock_type = 1;
constexpr u32 default_lock_value = 0xFFFFFFFF;

u32 read_required(u32 inst_id, const char *node, const char *entry, const char *element, u32 *value)
{
	const u32 status = drv_flash_xml_get_value_u32(inst_id, node, entry, element, value);
	if (status)
		drv_log_record(module_log, serious, 0, "<%s> get %s failed", entry, element);
	return status;
}

u32 read_optional(u32 inst_id, const char *entry, const char *element, u32 *value, u32 otherwise)
{
	const u32 status = drv_flash_xml_get_value_u32(inst_id, info_node, entry, element, value);
	if (status)
		*value = otherwise;
	return status;
}

u32 read_controller(u32 inst_id, const char *entry, spi_controller_config *config)
{
	if (const u32 status = read_required(inst_id, info_node, entry, "sfc_chip_id", &config->sfc_chip_id))
		return status;
	if (const u32 status = read_required(inst_id, info_node, entry, "sfc_ctrl", &config->sfc_ctrl))
		return status;
	if (const u32 status = read_required(inst_id, info_node, entry, "sfc_cs", &config->sfc_cs))
		return status;
	drv_flash_get_unrequired_spi_cfg(inst_id, entry, config);
	return FLASH_MNG_OK;
}

bool has_element(u32 inst_id, const char *entry, const char *element)
{
	if (xml_is_element_exist(inst_id, xml_section, map_node, entry, element))
		return true;
	drv_log_record(module_log, ordinary, 0, "spi flash %s get %s not exist", entry, element);
	return false;
}

} // namespace

extern "C" {

u32 drv_flash_xml_get_attr_string(u32 inst_id, const char *node, const char *entry, const char *element, char *buf, u32 len)
{
	return xml_get_element_string(inst_id, xml_section, node, entry, element, buf, len);
}

u32 drv_flash_xml_get_value_u32(u32 inst_id, const char *node, const char *entry, const char *element, u32 *value)
{
	return xml_get_element_value_u32(inst_id, xml_section, node, entry, element, value);
}

u32 drv_flash_get_unrequired_spi_cfg(u32 inst_id, const char *entry, spi_controller_config *config)
{
	read_optional(inst_id, entry, "hardlock_type", &config->hardlock_type, default_lock_type);
	read_optional(inst_id, entry, "hardlock_val", &config->hardlock_val, default_lock_value);
	return read_optional(inst_id, entry, "hardunlock_val", &config->hardunlock_val, default_lock_value);
}

u32 drv_flash_get_spi_info(u32 inst_id, u32 card_id, spi_controller_config *config)
{
	u32 count = 0;
	if (xml_get_entry_num(inst_id, xml_section, info_node, &count)) {
		drv_log_record(module_log, serious, 0, "inst %#x node %s get entry list failed", inst_id, info_node);
		return FLASH_MNG_ENTRY_COUNT;
	}

	for (u32 i = 0; i < count; ++i) {
		char entry[entry_name_size] = {};
		if (sprintf_s(entry, sizeof(entry), "entry%u", i) < 0)
			return FLASH_MNG_FAILED;

		u32 flash_id = 0;
		if (const u32 status = read_required(inst_id, info_node, entry, "flash_id", &flash_id))
			return status;
		if (flash_id == card_id)
			return read_controller(inst_id, entry, config);
		drv_log_record(module_log, ordinary, 0, "inst %#x entry %u  is not match", inst_id, i);
	}
	return FLASH_MNG_FAILED;
}

// Two passes at most: the instance, then its parent. The flag keeps its value from pass to pass, and it alone gives the verdict.
u32 drv_flash_get_sfc_config(u32 inst_id, spi_controller_config *config)
{
	u32 current = inst_id;
	u32 card_id = no_card;
	u32 exists = 0;

	for (int pass = 0; pass < 2; ++pass) {
		if (xml_is_node_exist(current, xml_section, info_node, &exists) == 0 && exists == 1) {
			const u32 code = drv_flash_get_spi_info(current, card_id, config);
			if (code == FLASH_MNG_OK)
				config->cfg_inst_id = current;
			return code;
		}
		if (current == topmost_instance)
			break;

		u32 parent = topmost_instance;
		if (drv_common_parse_parent_id_card_id(current, &parent, &card_id)) {
			drv_log_record(module_log, ordinary, 0, "can not get parent inst id, invalid inst_id %#x", inst_id);
			return FLASH_MNG_FAILED;
		}
		current = parent;
	}

	if (exists == 1)
		return FLASH_MNG_OK;
	drv_log_record(module_log, ordinary, 0, "there is no spi config info, inst_id %#x", inst_id);
	return FLASH_MNG_FAILED;
}

u32 drv_flash_spi_chip_entry_parse(u32 inst_id, const char *entry, flash_part *part)
{
	char name[sizeof(part->mtd_name)] = {};
	if (const u32 status = drv_flash_xml_get_attr_string(inst_id, map_node, entry, "mtd_name", name, sizeof(name))) {
		drv_log_record(module_log, serious, 0, "<%s> get %s failed", entry, "mtd_name");
		return status;
	}
	name[sizeof(name) - 1] = '\0';

	if (sprintf_s(part->mtd_name, sizeof(part->mtd_name), "mtd_%08x_%s", inst_id, name) < 0) {
		drv_log_record(module_log, serious, 0, "set mtd name failed");
		return FLASH_MNG_FAILED;
	}
	if (!has_element(inst_id, entry, "offset") || !has_element(inst_id, entry, "size"))
		return FLASH_MNG_OK;

	if (const u32 status = read_required(inst_id, map_node, entry, "offset", &part->offset))
		return status;
	return read_required(inst_id, map_node, entry, "size", &part->size);
}
}
