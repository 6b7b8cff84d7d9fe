// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What calls of the module touch, as far as two callers can both touch it.
#include <charconv>
#include <cstring>
#include <string_view>

#include "kernel/list.h"
#include "kernel/lock.h"
#include "turns.hpp"

namespace schedules {

namespace {

constexpr address transfers_of_sections = 8 * things;
constexpr address transfers_of_listed = 9 * things;
constexpr std::size_t whole_device = std::size_t(1) << 40;

// The device number at the end of a path.
int device_of(const char *path)
{
	const std::string_view text(path);
	const auto digits = text.substr(text.find_last_not_of("0123456789") + 1);
	int device = 0;

	std::from_chars(digits.begin(), digits.end(), device);
	return device;
}

} // namespace

void turns::touch_for_call(simulation::call which, const simulation::traced *arguments)
{
	using enum simulation::call;
	const auto pointer = [&](unsigned i) { return arguments[i].address(); };
	const auto number = [&](unsigned i) { return arguments[i].number(); };
	const auto list = [&](unsigned i) { return static_cast<list_head *>(pointer(i)); };
	const auto link = [&](const list_head *where) { touch_bytes(where, sizeof(*where), true); };
	const auto lock = [&] { touch({reinterpret_cast<address>(pointer(0)), 4, true, true}); };

	switch (which) {
	case linux_spin_lock:
	case linux_mutex_lock:
	case down_killable:
		lock();
		break;
	case linux_spin_unlock:
	case mutex_unlock:
	case up:
		lock();
		release_lock(pointer(0));
		break;
	case linux_mutex_init:
		touch_bytes(pointer(0), sizeof(mutex), true);
		break;
	case linux_semaphore_init:
		touch_bytes(pointer(0), sizeof(semaphore), true);
		break;
	case linux_list_add_tail:
		link(list(0));
		link(list(1));
		link(list(1)->prev);
		break;
	case linux_list_del:
		link(list(0));
		link(list(0)->next);
		link(list(0)->prev);
		break;
	case kfree:
	case vfree:
		if (arena_.contains(reinterpret_cast<address>(pointer(0))))
			touch_bytes(pointer(0), arena_.size_of(pointer(0)), true);
		break;
	case linux_kstrdup:
	case get_mtd_device_nm:
		touch_text(arguments[0].text());
		break;
	case linux_copy_to_user:
		touch_bytes(pointer(1), number(2), false);
		break;
	case linux_copy_from_user:
		touch_bytes(pointer(0), number(2), true);
		break;
	case strcpy_s:
		touch_text(arguments[2].text());
		touch_bytes(pointer(0), std::strlen(arguments[2].text()) + 1, true);
		break;
	case memcpy_s:
		touch_bytes(pointer(0), number(3), true);
		touch_bytes(pointer(2), number(3), false);
		break;
	case xml_get_attr_value_u32:
		touch_bytes(pointer(2), 4, true);
		break;
	case xml_get_attr_string:
		touch_bytes(pointer(2), number(3), true);
		break;
	case xml_get_element_value_u32:
		touch_bytes(pointer(5), 4, true);
		break;
	case filp_open:
		running()->file_device = device_of(arguments[0].text());
		touch({flash_content(running()->file_device), whole_device, false, true});
		break;
	case kernel_read:
	case kernel_write:
	case vfs_fsync:
		touch({flash_content(running()->file_device), whole_device, which != kernel_read, true});
		if (which == kernel_write)
			running()->wrote = true;
		if (running()->moves_sections)
			touch({transfers_of_sections, 1, true, false});
		if (which != vfs_fsync)
			touch_bytes(pointer(1), number(2), which == kernel_read);
		break;
	case plat_mtd_read_buf:
	case plat_mtd_update_buf: {
		const int device = device_of(arguments[0].text());
		const bool update = which == plat_mtd_update_buf;
		touch({flash_content(device, number(1)), number(3), update, true});
		touch_bytes(pointer(2), number(3), !update);
		if (listed_ >> device & 1)
			touch({transfers_of_listed + static_cast<unsigned>(device), 1, true, false});
		break;
	}
	case drv_hard_trylock:
	case drv_hard_unlock:
		touch({hard_lock(static_cast<std::uint32_t>(number(0)), static_cast<std::uint32_t>(number(1))), 1, true, true});
		break;
	case suite_driver_create:
		touch({created_parts, 1, true, true});
		break;
	case drv_log_register:
	case drv_log_deregister:
		touch({registered_log, 1, true, true});
		break;
	case misc_register:
	case misc_deregister:
		meet(control_device);
		break;
	default:
		break;
	}
}

void turns::touch_released_file()
{
	if (running() && running()->file_device >= 0)
		touch({flash_content(running()->file_device), whole_device, running()->wrote, true});
}

} // namespace schedules
