// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "config/flash_config.hpp"

#include "config/xml_section.hpp"
#include "kernel/list.hpp"
#include "kernel/memory.hpp"
#include "kernel/mtd_device.hpp"
#include "platform/board_capability.h"
#include "platform/bounded.h"
#include "platform/messages.hpp"
#include "uapi/flash_mng.h"

using namespace flash_mng;

namespace {

constexpr char table_node[] = "attr";
constexpr char usrdata_name[] = "usrdata";
constexpr u32 node_name_size = 32;

list_of<flash_config_entry> entries()
{
	return list_of<flash_config_entry>(g_flash_config_list);
}

flash_config_entry *find_entry(u32 inst_id)
{
	return entries().first([inst_id](const flash_config_entry &entry) { return entry.inst_id == inst_id; });
}

// Reads the entry list of a node into the two outputs; they are touched on success only.
bool read_list(u32 inst_id, const char *node, u32 *count, xml_entry_node **list)
{
	const xml_list read = read_xml_list(inst_id, node);
	if (read.status)
		return false;
	*count = read.count;
	*list = read.first;
	return true;
}

u32 read_variant_list(u32 inst_id, u32 *count, xml_entry_node **list)
{
	u32 bom_value = 0;
	if (const u32 status = drv_board_get_bom_value(inst_id, BOARD_CAPABILITY_BOM, &bom_value)) {
		drv_log_record(common_log, ordinary, 0, "flash mng get bom value error, inst_id:0x%x", inst_id);
		return status;
	}

	if (bom_value == 0) {
		if (read_list(inst_id, table_node, count, list))
			return FLASH_MNG_OK;
		drv_log_record(common_log, ordinary, 0, "flash mng get xml attr error inst_id:0x%x, bom_value:%u", inst_id, bom_value);
		return FLASH_MNG_XML_NODE;
	}

	char node[node_name_size] = {};
	if (sprintf_s(node, sizeof(node), "%s_%u", table_node, bom_value) < 0)
		return FLASH_MNG_VARIANT_NAME;
	if (read_list(inst_id, node, count, list))
		return FLASH_MNG_OK;
	drv_log_record(common_log, ordinary, 0, "flash mng get xml attr inst_id:0x%x, bom_value:%u", inst_id, bom_value);
	return FLASH_MNG_XML_NODE;
}

bool read_number(xml_entry *entry, const char *attribute, u32 *value)
{
	if (xml_get_attr_value_u32(entry, attribute, value) == 0)
		return true;
	drv_log_record(common_log, ordinary, 0, "xml_get_attr_value_u32<%s> get %s failed", printable(entry->name), attribute);
	return false;
}

bool read_name(xml_entry *entry, const char *attribute, char (&name)[mtd_name_size])
{
	if (xml_get_attr_string(entry, attribute, name, sizeof(name)) == 0) {
		name[sizeof(name) - 1] = '\0';
		return true;
	}
	drv_log_record(common_log, ordinary, 0, "xml_get_attr_string<%s> get %s failed", printable(entry->name), attribute);
	return false;
}

} // namespace

extern "C" {

constinit list_head g_flash_config_list = {&g_flash_config_list, &g_flash_config_list};
constinit char g_usrdata_mtd_name[mtd_name_size] = {};
constinit const char *g_usrdata_mtd_name_ready = "";

void get_usrdata_mtd_name(void)
{
	if (!mtd_device::named(usrdata_name))
		return;

	if (const int failed = strcpy_s(g_usrdata_mtd_name, sizeof(g_usrdata_mtd_name), usrdata_name)) {
		drv_log_record(common_log, serious, 0, "copy usrdata mtd name failed, ret %d", failed);
		return;
	}
	__atomic_store_n(&g_usrdata_mtd_name_ready, &g_usrdata_mtd_name[0], __ATOMIC_RELEASE);
	drv_log_record(common_log, ordinary, 0, "Get usrdata mtd name: %s", g_usrdata_mtd_name);
}

u32 get_xml_compatible_flash_cfg(u32 inst_id, u32 *count, xml_entry_node **list)
{
	u32 nodes = 0;
	if (const u32 status = xml_get_specified_node_num(inst_id, xml_section, table_node, &nodes)) {
		drv_log_record(module_log, ordinary, 0, "flash mng not get xml node num");
		return status;
	}

	if (nodes == 0) {
		drv_log_record(module_log, ordinary, 0, "flash mng there is no attr node");
		*count = 0;
		return FLASH_MNG_OK;
	}
	if (nodes > 1)
		return read_variant_list(inst_id, count, list);

	if (read_list(inst_id, table_node, count, list))
		return FLASH_MNG_OK;
	drv_log_record(common_log, ordinary, 0, "flash get xml attr error inst_id:0x%x node_num:%u", inst_id, nodes);
	return FLASH_MNG_XML_NODE;
}

u32 flash_cfg_parse(xml_entry *entry, flash_section *section)
{
	u32 section_id = 0;
	if (!read_number(entry, "section_id", &section_id))
		return FLASH_MNG_FAILED;
	section->section_id = section_id;

	const bool complete = read_name(entry, "mtd_name", section->mtd_name) && read_number(entry, "offset", &section->offset) &&
			      read_number(entry, "size", &section->size);
	return complete ? FLASH_MNG_OK : FLASH_MNG_FAILED;
}

u32 get_xml_flash_cfg(u32 inst_id, flash_section **sections, u32 *count)
{
	get_usrdata_mtd_name();

	u32 reported = 0;
	xml_entry_node *list = nullptr;
	if (const u32 code = get_xml_compatible_flash_cfg(inst_id, &reported, &list))
		return code;
	if (reported == 0) {
		*count = 0;
		return FLASH_MNG_OK;
	}

	heap_memory<flash_section> table(linux_kcalloc(reported, sizeof(flash_section)));
	if (!table) {
		drv_log_record(common_log, ordinary, 0, "malloc size:%zd error", static_cast<long>(reported * sizeof(flash_section)));
		return FLASH_MNG_NO_BUFFER;
	}

	u32 walked = 0;
	for (const xml_entry_node *node = list; node && walked < reported; node = node->next)
		if (flash_cfg_parse(node->entry, table.get() + walked++))
			return FLASH_MNG_XML_ATTRIBUTE;

	*count = walked;
	if (walked)
		*sections = table.hand_over();
	return FLASH_MNG_OK;
}

u32 get_flash_cfg(u32 inst_id, flash_config_entry **entry)
{
	flash_config_entry *const found = find_entry(inst_id);
	if (!found)
		return FLASH_MNG_FAILED;
	*entry = found;
	return FLASH_MNG_OK;
}

u32 drv_flash_init(u32 inst_id)
{
	if (find_entry(inst_id)) {
		drv_log_record(common_log, ordinary, 0, "flash_mng inst_id:0x%x have registered", inst_id);
		return FLASH_MNG_OK;
	}

	flash_section *sections = nullptr;
	u32 count = 0;
	if (get_xml_flash_cfg(inst_id, &sections, &count) || count == 0)
		return FLASH_MNG_OK;

	// Where this fails the sections stay allocated, deliberately.
	auto *const entry = static_cast<flash_config_entry *>(linux_kzalloc(sizeof(flash_config_entry)));
	if (!entry) {
		drv_log_record(common_log, ordinary, 0, "create config_entry memory for inst_id:0x%x fail", inst_id);
		return FLASH_MNG_FAILED;
	}

	entry->inst_id = inst_id;
	entry->section_count = count;
	entry->sections = sections;
	linux_semaphore_init(&entry->access, 1);
	linux_list_add_tail(&entry->link, &g_flash_config_list);
	return FLASH_MNG_OK;
}

u32 drv_flash_exit(u32 inst_id)
{
	flash_config_entry *const entry = find_entry(inst_id);
	if (!entry)
		return FLASH_MNG_FAILED;

	linux_list_del(&entry->link);
	kfree(entry->sections);
	kfree(entry);
	return FLASH_MNG_OK;
}
}

void flash_mng::release_flash_configs()
{
	for (auto next = entries().begin(); next != entries().end();) {
		flash_config_entry &entry = *next;
		++next;
		kfree(entry.sections);
		linux_list_del(&entry.link);
		kfree(&entry);
	}
}
