/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What the loaded board description says about the board and its instances themselves. Served by the module "xml_parser" to the other
 * modules of this platform. Each function may be called in any context and returns 0 or a status of platform_status.h; values are
 * written on success only.
 */
#ifndef REFERENCE_PLATFORM_BOARD_VALUES_H
#define REFERENCE_PLATFORM_BOARD_VALUES_H

#include <linux/types.h>

/* board_get_value() - a number of the board, such as "bom". Return: 0 or XML_NO_VALUE. */
u32 board_get_value(const char *name, u32 *value);

/* board_get_instance_value() - a number of an instance: "parent", "card" or "bom". Return: 0, XML_NO_INSTANCE or XML_NO_VALUE. */
u32 board_get_instance_value(u32 inst_id, const char *name, u32 *value);

/*
 * board_get_hard_lock() - the values of an instance's hardware lock.
 * Return: 0; XML_NO_INSTANCE or XML_NO_VALUE when the description does not state them.
 */
u32 board_get_hard_lock(u32 inst_id, u32 lock_type, u32 *lock_val, u32 *unlock_val);

#endif
