/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What flash_mng has agreed on with others: the records and functions of its public headers and of the platform, written down a second
 * time. A header that drifts from this list does not compile; without it the module, the platform and every test would follow the drift
 * together, since all of them include the same header, and only what was built before would notice.
 *
 * Compiled as C and as C++ of the kernel, and as C of 64-bit and of 32-bit programs, which have the records of uapi/flash_mng.h alone. No
 * record has padding: each member begins where the one before it ends, and the last one ends the record.
 */
#ifndef FLASH_MNG_INTERFACE_H
#define FLASH_MNG_INTERFACE_H

#include "uapi/flash_mng.h"

#ifdef __cplusplus
#include <stddef.h>

#define AGREED(...) static_assert((__VA_ARGS__), #__VA_ARGS__)
#define AGREED_RECORD(record, size) \
	AGREED(sizeof(record) == (size) && __is_trivially_copyable(record) && __is_standard_layout(record))
#define AGREED_MEMBER(record, member, at, ...) \
	AGREED(offsetof(record, member) == (at) && __is_same(decltype(record::member), __VA_ARGS__))
#define AGREED_FUNCTION(function, ...) AGREED(__is_same(decltype(function), __VA_ARGS__))
#else
#ifndef __KERNEL__
#include <stddef.h>
#endif

#define AGREED(...) _Static_assert((__VA_ARGS__), #__VA_ARGS__)
#define AGREED_RECORD(record, size) AGREED(sizeof(struct record) == (size))
#define AGREED_MEMBER(record, member, at, ...) \
	AGREED(offsetof(struct record, member) == (at) && \
	       __builtin_types_compatible_p(__typeof__(((struct record *)0)->member), __VA_ARGS__))
#define AGREED_FUNCTION(function, ...) AGREED(__builtin_types_compatible_p(__typeof__(function), __VA_ARGS__))
#endif

/* uapi/flash_mng.h: records of the commands, the same for programs of 64 and of 32 bits */

AGREED_RECORD(nand_part_info, 520);
AGREED_MEMBER(nand_part_info, part_num, 0, uint32_t);
AGREED_MEMBER(nand_part_info, reserved0, 4, uint8_t[260]);
AGREED_MEMBER(nand_part_info, size, 264, uint64_t);
AGREED_MEMBER(nand_part_info, reserved1, 272, uint8_t[248]);

AGREED_RECORD(flash_mtd_stat_entry, 56);
AGREED_MEMBER(flash_mtd_stat_entry, size, 0, uint64_t);
AGREED_MEMBER(flash_mtd_stat_entry, index, 8, uint32_t);
AGREED_MEMBER(flash_mtd_stat_entry, type, 12, uint32_t);
AGREED_MEMBER(flash_mtd_stat_entry, erasesize, 16, uint32_t);
AGREED_MEMBER(flash_mtd_stat_entry, flags, 20, uint32_t);
AGREED_MEMBER(flash_mtd_stat_entry, name, 24, char[32]);

AGREED_RECORD(flash_mtd_statistics, 7172);
AGREED_MEMBER(flash_mtd_statistics, count, 0, uint32_t);
AGREED_MEMBER(flash_mtd_statistics, entries, 4, struct flash_mtd_stat_entry[128]);

AGREED_RECORD(spi_controller_config, 32);
AGREED_MEMBER(spi_controller_config, inst_id, 0, uint32_t);
AGREED_MEMBER(spi_controller_config, cfg_inst_id, 4, uint32_t);
AGREED_MEMBER(spi_controller_config, sfc_chip_id, 8, uint32_t);
AGREED_MEMBER(spi_controller_config, sfc_ctrl, 12, uint32_t);
AGREED_MEMBER(spi_controller_config, sfc_cs, 16, uint32_t);
AGREED_MEMBER(spi_controller_config, hardlock_type, 20, uint32_t);
AGREED_MEMBER(spi_controller_config, hardlock_val, 24, uint32_t);
AGREED_MEMBER(spi_controller_config, hardunlock_val, 28, uint32_t);

AGREED_RECORD(flash_find_config_arg, 56);
AGREED_MEMBER(flash_find_config_arg, inst_id, 0, uint32_t);
AGREED_MEMBER(flash_find_config_arg, reserved, 4, uint8_t[8]);
AGREED_MEMBER(flash_find_config_arg, name_length, 12, uint32_t);
AGREED_MEMBER(flash_find_config_arg, config, 16, struct spi_controller_config);
AGREED_MEMBER(flash_find_config_arg, name, 48, uint64_t);

AGREED_RECORD(flash_mtd_io_arg, 48);
AGREED_MEMBER(flash_mtd_io_arg, name, 0, char[32]);
AGREED_MEMBER(flash_mtd_io_arg, offset, 32, uint32_t);
AGREED_MEMBER(flash_mtd_io_arg, length, 36, uint32_t);
AGREED_MEMBER(flash_mtd_io_arg, buffer, 40, uint64_t);

#if defined(__KERNEL__) || defined(__cplusplus)

#include "flash_mng.h"
#include "platform/board_capability.h"
#include "platform/bounded.h"
#include "platform/flash_buffer.h"
#include "platform/instance.h"
#include "platform/log.h"
#include "platform/xml.h"

AGREED(sizeof(u8) == 1 && sizeof(u32) == 4 && sizeof(u64) == 8 && sizeof(unsigned long) == 8 && sizeof(void *) == 8);

/* flash_mng.h: for other kernel modules */

AGREED_RECORD(flash_part, 40);
AGREED_MEMBER(flash_part, offset, 0, u32);
AGREED_MEMBER(flash_part, size, 4, u32);
AGREED_MEMBER(flash_part, mtd_name, 8, char[32]);

AGREED_RECORD(flash_parts_info, 48);
AGREED_MEMBER(flash_parts_info, part_num, 0, u32);
AGREED_MEMBER(flash_parts_info, reserved, 4, u8[36]);
AGREED_MEMBER(flash_parts_info, parts, 40, struct flash_part *);

AGREED_RECORD(flash_driver_ops, 24);
AGREED_MEMBER(flash_driver_ops, get_size, 0, u32 (*)(u32, u32, u32, u32, void *));
AGREED_MEMBER(flash_driver_ops, create, 8, u32 (*)(u32, u32, u32, u32, struct flash_parts_info *));
AGREED_MEMBER(flash_driver_ops, destroy, 16, u32 (*)(u32, u32, u32, u32));

AGREED_FUNCTION(drv_flash_read, u32(u32, u32, u32, void *, u32));
AGREED_FUNCTION(drv_flash_write, u32(u32, u32, u32, const void *, u32));
AGREED_FUNCTION(drv_flash_mtd_read, u32(const char *, u32, void *, u32));
AGREED_FUNCTION(drv_flash_mtd_write, u32(const char *, u32, const void *, u32));
AGREED_FUNCTION(drv_flash_get_mtd_size, u32(const char *, u64 *));
AGREED_FUNCTION(drv_flash_get_nand_part_num, u32(u32 *));
AGREED_FUNCTION(drv_flash_get_nand_part_size_info, u32(struct nand_part_info *));
AGREED_FUNCTION(drv_flash_get_nand_is_exist, u32(u32 *));
AGREED_FUNCTION(drv_flash_driver_register, u32(u64, u64, const struct flash_driver_ops *));
AGREED_FUNCTION(drv_flash_driver_unregister, void(void));
AGREED_FUNCTION(drv_flash_get_size, u32(u32, u64, void *));
AGREED_FUNCTION(drv_flash_create, u32(u32, struct flash_parts_info *));
AGREED_FUNCTION(drv_flash_destroy, u32(u32));
AGREED_FUNCTION(drv_flash_get_type, u32(const char *, u32 *));
AGREED_FUNCTION(flash_mng_drv_patch_func1, u32(void));
AGREED_FUNCTION(flash_mng_drv_patch_func2, u32(void));

/* platform/log.h */

AGREED_FUNCTION(drv_log_register, u32(u32, const char *, u32));
AGREED_FUNCTION(drv_log_deregister, u32(u32));
AGREED_FUNCTION(drv_log_record, void(u32, u32, u32, const char *, ...));
AGREED_FUNCTION(log_get_timestamp_ms, u64(void));
AGREED_FUNCTION(log_module_init_end, void(const char *, u64, u32, const char *));

/* platform/xml.h; the platform's entries may go on behind what is public of them */

AGREED_RECORD(xml_entry, 8);
AGREED_MEMBER(xml_entry, name, 0, const char *);
AGREED_RECORD(xml_entry_node, 16);
AGREED_MEMBER(xml_entry_node, next, 0, struct xml_entry_node *);
AGREED_MEMBER(xml_entry_node, entry, 8, struct xml_entry *);

AGREED_FUNCTION(xml_get_specified_node_num, u32(u32, const char *, const char *, u32 *));
AGREED_FUNCTION(xml_get_entry_list, u32(u32, const char *, const char *, struct xml_entry_node **, u32 *));
AGREED_FUNCTION(xml_get_attr_value_u32, u32(struct xml_entry *, const char *, u32 *));
AGREED_FUNCTION(xml_get_attr_string, u32(struct xml_entry *, const char *, char *, u32));
AGREED_FUNCTION(xml_is_node_exist, u32(u32, const char *, const char *, u32 *));
AGREED_FUNCTION(xml_get_entry_num, u32(u32, const char *, const char *, u32 *));
AGREED_FUNCTION(xml_get_element_value_u32, u32(u32, const char *, const char *, const char *, const char *, u32 *));
AGREED_FUNCTION(xml_get_element_string, u32(u32, const char *, const char *, const char *, const char *, char *, u32));
AGREED_FUNCTION(xml_is_element_exist, bool(u32, const char *, const char *, const char *, const char *));

/* platform/board_capability.h */

AGREED_FUNCTION(drv_board_get_bom_value, u32(u32, u32, u32 *));

/* platform/instance.h */

AGREED_RECORD(hard_lock_request, 24);
AGREED_MEMBER(hard_lock_request, operation, 0, u32);
AGREED_MEMBER(hard_lock_request, inst_id, 4, u32);
AGREED_MEMBER(hard_lock_request, lock_val, 8, u32);
AGREED_MEMBER(hard_lock_request, reserved0, 12, u32);
AGREED_MEMBER(hard_lock_request, reserved1, 16, u64);

AGREED_FUNCTION(drv_common_parse_parent_id_card_id, u32(u32, u32 *, u32 *));
AGREED_FUNCTION(drv_hard_trylock, u32(u32, u32, struct hard_lock_request *));
AGREED_FUNCTION(drv_hard_unlock, u32(u32, u32, u32, u32, u64));

/* platform/bounded.h */

AGREED_FUNCTION(strcpy_s, int(char *, size_t, const char *));
AGREED_FUNCTION(memcpy_s, int(void *, size_t, const void *, size_t));
AGREED_FUNCTION(memset_s, int(void *, size_t, int, size_t));
AGREED_FUNCTION(sprintf_s, int(char *, size_t, const char *, ...));
AGREED_FUNCTION(snprintf_s, int(char *, size_t, size_t, const char *, ...));

/* platform/flash_buffer.h */

AGREED_FUNCTION(plat_mtd_read_buf, u32(const char *, unsigned long, void *, unsigned long));
AGREED_FUNCTION(plat_mtd_update_buf, u32(const char *, unsigned long, const void *, unsigned long));

#endif

#undef AGREED
#undef AGREED_RECORD
#undef AGREED_MEMBER
#undef AGREED_FUNCTION

#endif
