// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "spi/registry.hpp"

#include "kernel/list.hpp"
#include "kernel/memory.hpp"
#include "kernel/spin_guard.hpp"
#include "platform/messages.hpp"
#include "spi/spi_config.hpp"

using namespace flash_mng;

namespace {

template <typename predicate> spi_flash_info *first_locked(predicate fits) WANTS(g_spi_flash_info_list_lock)
{
	return list_of<spi_flash_info>(g_spi_flash_info_list).first(fits);
}

spi_flash_info *find_locked(u32 inst_id) WANTS(g_spi_flash_info_list_lock)
{
	return first_locked([inst_id](const spi_flash_info &info) { return info.config.inst_id == inst_id; });
}

// A record with the given number of references, in no list yet.
NOT_SHARED spi_flash_info *make_record(u32 inst_id, u32 references)
{
	heap_memory<spi_flash_info> info(linux_kzalloc(sizeof(spi_flash_info)));
	if (!info) {
		drv_log_record(module_log, ordinary, 0, "inst 0x%x flash alloc fail", inst_id);
		return nullptr;
	}

	info->config.inst_id = inst_id;
	info->references = references;
	if (drv_flash_get_sfc_config(inst_id, &info->config)) {
		info.reset();
		drv_log_record(module_log, ordinary, 0, "inst 0x%x flash no sfc config", inst_id);
		return nullptr;
	}
	return info.hand_over();
}

// Finds or makes a record and takes references on it. There is no second search before a new record is appended: see the header.
spi_flash_info *find_or_make(u32 inst_id, u32 references)
{
	{
		const spin_guard hold(g_spi_flash_info_list_lock);
		if (spi_flash_info *const info = find_locked(inst_id)) {
			info->references += references;
			return info;
		}
	}

	spi_flash_info *const info = make_record(inst_id, references + 1);
	if (!info)
		return nullptr;
	const spin_guard hold(g_spi_flash_info_list_lock);
	linux_list_add_tail(&info->link, &g_spi_flash_info_list);
	return info;
}

// Of a record in no list that nobody uses.
NOT_SHARED void free_record(spi_flash_info *info)
{
	release_flash_mtd_name_alloc(info, info->mtd_name_num);
	kfree(info);
}

// Drops one reference; whether it was the last.
bool drop_locked(spi_flash_info &info) WANTS(g_spi_flash_info_list_lock)
{
	return --info.references == 0;
}

bool is_linked(const spi_flash_info &info) WANTS(g_spi_flash_info_list_lock)
{
	return info.link.next != nullptr;
}

// Takes a record out of the list, once; whether nobody uses it any more.
bool unlink(spi_flash_info &info)
{
	const spin_guard hold(g_spi_flash_info_list_lock);
	if (!is_linked(info))
		return false;
	linux_list_del(&info.link);
	info.link.next = nullptr;
	return drop_locked(info);
}

bool drop(spi_flash_info &info)
{
	const spin_guard hold(g_spi_flash_info_list_lock);
	return drop_locked(info);
}

bool has_name(const spi_flash_info &info, const char *mtd_name) WANTS(g_spi_flash_info_list_lock)
{
	const char *const *next = info.mtd_names;
	if (!next)
		return false;
	for (const char *const *const end = next + info.mtd_name_num; next != end;) {
		const char *const name = *next++;
		if (name && __builtin_strcmp(name, mtd_name) == 0)
			return true;
	}
	return false;
}

template <typename predicate> bool copy_config(predicate fits, spi_controller_config &config)
{
	const spin_guard hold(g_spi_flash_info_list_lock);
	const spi_flash_info *const info = first_locked(fits);
	if (info)
		config = info->config;
	return info != nullptr;
}

} // namespace

extern "C" {

constinit list_head g_spi_flash_info_list = {&g_spi_flash_info_list, &g_spi_flash_info_list};

spi_flash_info *drv_flash_find_flash_info(u32 inst_id)
{
	return find_or_make(inst_id, 0);
}

NOT_SHARED void release_flash_mtd_name_alloc(spi_flash_info *info, u32 count)
{
	if (!info || !info->mtd_names)
		return;
	free_names(info->mtd_names, count);
	info->mtd_names = nullptr;
}

void release_flash_info_alloc(spi_flash_info *info)
{
	if (info && unlink(*info))
		free_record(info);
}
}

void flash_mng::free_names(name_list names, u32 count)
{
	for (u32 i = 0; i < count; ++i)
		kfree(names[i]);
	kfree(names);
}

void flash_mng::publish_names(spi_flash_info &info, name_list names, u32 count)
{
	const spin_guard hold(g_spi_flash_info_list_lock);
	info.mtd_names = names;
	info.mtd_name_num = count;
}

void flash_mng::withdraw_names(spi_flash_info &info)
{
	const spin_guard hold(g_spi_flash_info_list_lock);
	info.mtd_names = nullptr;
}

used_flash_info::used_flash_info(u32 inst_id) : info_(find_or_make(inst_id, 1)) {}

used_flash_info::~used_flash_info()
{
	if (info_ && drop(*info_))
		free_record(info_);
}

bool flash_mng::copy_config_of_instance(u32 inst_id, spi_controller_config &config)
{
	return copy_config([inst_id](const spi_flash_info &info) { return info.config.inst_id == inst_id; }, config);
}

bool flash_mng::copy_config_of_partition(const char *mtd_name, spi_controller_config &config)
{
	return copy_config([mtd_name](const spi_flash_info &info) WANTS(g_spi_flash_info_list_lock) { return has_name(info, mtd_name); },
			   config);
}
