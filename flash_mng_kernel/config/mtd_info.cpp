// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "config/mtd_info.hpp"

#include "config/xml_section.hpp"
#include "kernel/memory.h"
#include "platform/messages.hpp"
#include "uapi/flash_mng.h"

using namespace flash_mng;

namespace {

constexpr u32 name_read_size = 40; // the size given to the XML reader
constexpr char lock_name[] = "&(g_flash_mtd_info_list[i].lock)";

static_assert(offsetof(mtd_info_entry, avail_size) == 32);
static_assert(offsetof(mtd_info_entry, lock) >= name_read_size);

// The count is published last and withdrawn first, so that a lookup at any time sees whole entries or none.
void publish_count(u32 count)
{
	__atomic_store_n(&g_flash_mtd_info_list_num, count, __ATOMIC_RELEASE);
}

u32 published_count()
{
	return __atomic_load_n(&g_flash_mtd_info_list_num, __ATOMIC_ACQUIRE);
}

// Lookups that come while the module is loading read the pointer at any time.
void store_list(mtd_info_entry *list)
{
	__atomic_store_n(&g_flash_mtd_info_list, list, __ATOMIC_RELAXED);
}

void discard_list()
{
	mtd_info_entry *const list = g_flash_mtd_info_list;
	store_list(nullptr);
	kfree(list);
}

// Most names differ in their first character; those need no call.
bool has_name(const mtd_info_entry &entry, const char *mtd_name)
{
	return *entry.name() == *mtd_name && __builtin_strcmp(entry.name(), mtd_name) == 0;
}

u32 read_entry(xml_entry *xml, mtd_info_entry *entry)
{
	char name[name_read_size] = {};
	if (xml_get_attr_string(xml, "mtd_name", name, sizeof(name))) {
		drv_log_record(common_log, serious, 0, "xml get attr <%s> get %s failed", printable(xml->name), "mtd_name");
		return FLASH_MNG_XML_NAME;
	}
	name[sizeof(name) - 1] = '\0';
	__builtin_memcpy(static_cast<void *>(entry), name, sizeof(name));

	if (xml_get_attr_value_u32(xml, "avail_size", &entry->avail_size)) {
		drv_log_record(common_log, serious, 0, "xml_get_attr_value_u32<%s> get %s failed", printable(xml->name), "avail_size");
		return FLASH_MNG_XML_ATTRIBUTE;
	}
	return FLASH_MNG_OK;
}

u32 read_entries(u32 inst_id, const xml_list &xml)
{
	u32 read = 0;
	for (const xml_entry_node *node = xml.first; node && read < xml.count; node = node->next, ++read) {
		mtd_info_entry *const entry = &g_flash_mtd_info_list[read];
		if (const u32 code = read_entry(node->entry, entry))
			return code;
		linux_mutex_init(&entry->lock, lock_name);
		drv_log_record(module_log, ordinary, 0, "inst 0x%x mtd info entry%u mtd_name %s avail_size 0x%x init success", inst_id,
			       read, entry->name(), entry->avail_size);
	}

	// A list shorter than its count leaves entries without a name; their locks are sound all the same.
	for (; read < xml.count; ++read)
		linux_mutex_init(&g_flash_mtd_info_list[read].lock, lock_name);
	return FLASH_MNG_OK;
}

} // namespace

extern "C" {

constinit mtd_info_entry *g_flash_mtd_info_list = nullptr;
constinit u32 g_flash_mtd_info_list_num = 0;

u32 drv_flash_mtd_info_init(u32 inst_id)
{
	if (g_flash_mtd_info_list) {
		drv_log_record(common_log, ordinary, 0, "flash mtd info already init");
		return FLASH_MNG_OK;
	}

	const xml_list xml = read_xml_list(inst_id, "mtd_info");
	if (xml.status || xml.count == 0) {
		drv_log_record(module_log, ordinary, 0, "flash mng can not get mtd info xml");
		return FLASH_MNG_OK;
	}

	store_list(static_cast<mtd_info_entry *>(linux_kcalloc(xml.count, sizeof(mtd_info_entry))));
	if (!g_flash_mtd_info_list) {
		drv_log_record(common_log, serious, 0, "flash mtd info malloc fail");
		return FLASH_MNG_NO_BUFFER;
	}

	if (const u32 code = read_entries(inst_id, xml)) {
		discard_list();
		return code;
	}

	publish_count(xml.count);
	drv_log_record(module_log, ordinary, 0, "inst 0x%x mtd info entry num %u init success", inst_id, xml.count);
	return FLASH_MNG_OK;
}

mtd_info_entry *drv_flash_mtd_info_find(const char *mtd_name)
{
	const u32 count = published_count();
	mtd_info_entry *const list = __atomic_load_n(&g_flash_mtd_info_list, __ATOMIC_RELAXED);
	if (!mtd_name || !list)
		return nullptr;

	for (u32 i = 0; i < count; ++i)
		if (has_name(list[i], mtd_name))
			return &list[i];
	return nullptr;
}

void drv_flash_mtd_info_deinit(void)
{
	publish_count(0);
	if (g_flash_mtd_info_list)
		discard_list();
}
}
