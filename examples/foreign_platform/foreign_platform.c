// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * A whole platform for flash_mng in one file: each service with the least that it has to do, a board's XML as a table, hard-coded answers.
 * To be replaced, service by service, by what your board has; the headers in flash_mng_kernel/platform/ say what each must keep to.
 *
 * Any number from the services is a status: 0 is success, the rest is the platform's own and is what callers of flash_mng get to see. The
 * high half 0xF000 makes these easy to tell from flash_mng's own.
 */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/atomic.h>
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/ktime.h>
#include <linux/list.h>
#include <linux/module.h>
#include <linux/mtd/mtd.h>
#include <linux/mutex.h>
#include <linux/string.h>
#include <linux/vmalloc.h>

#include "platform/board_capability.h"
#include "platform/bounded.h"
#include "platform/flash_buffer.h"
#include "platform/instance.h"
#include "platform/log.h"
#include "platform/xml.h"

#define NO_ANSWER	0xF0000001 /* no such node, entry, value or capability */
#define NO_ROOM		0xF0000002 /* for a text, or no memory */
#define BAD_REQUEST	0xF0000003
#define BUSY		0xF0000004
#define NO_DEVICE	0xF0000005
#define FLASH_FAILED	0xF0000006

/* ---- log: every log is the kernel log, where the number of each stands in front. Nothing has to be registered. */

u32 drv_log_register(u32 module_id, const char *name, u32 size)
{
	return 0;
}
EXPORT_SYMBOL(drv_log_register);

u32 drv_log_deregister(u32 module_id)
{
	return 0;
}
EXPORT_SYMBOL(drv_log_deregister);

void drv_log_record(u32 module_id, u32 level, u32 flag, const char *fmt, ...)
{
	struct va_format text = { .fmt = fmt };
	va_list values;

	va_start(values, fmt);
	text.va = &values;
	pr_info("log %u, level %u: %pV\n", module_id, level, &text);
	va_end(values);
}
EXPORT_SYMBOL(drv_log_record);

u64 log_get_timestamp_ms(void)
{
	return ktime_to_ms(ktime_get());
}
EXPORT_SYMBOL(log_get_timestamp_ms);

void log_module_init_end(const char *name, u64 start_ms, u32 result, const char *failure)
{
	pr_info("%s: load ends with 0x%x after %llu ms%s%s\n", name, result, log_get_timestamp_ms() - start_ms, failure ? ": " : "",
		failure ? failure : "");
}
EXPORT_SYMBOL(log_module_init_end);

/* ---- the board's XML: its entries, each with its attributes or elements. The board itself is instance 0xFFFFFFFF. */

#define THE_BOARD	0xFFFFFFFF
#define THE_CARD	0x11 /* the board's card 0, with an SPI flash */
#define CARD_IN_BOARD	0
#define MOST_VALUES	7

struct row {
	u32 inst_id;
	const char *node;
	struct xml_entry entry;
	struct {
		const char *name;
		const char *text;
	} values[MOST_VALUES];
	struct xml_entry_node link; /* to the next row of the same node */
};

static struct row g_rows[] = {
	{ THE_BOARD, "attr", { "section0" },
	  { { "section_id", "1" }, { "mtd_name", "boot" }, { "offset", "0x0" }, { "size", "0x100000" } } },
	{ THE_BOARD, "mtd_info", { "part0" }, { { "mtd_name", "config" }, { "avail_size", "0x300000" } } },
	{ THE_BOARD, "spi_flash_info", { "entry0" },
	  { { "flash_id", "0" }, { "sfc_chip_id", "0" }, { "sfc_ctrl", "1" }, { "sfc_cs", "0" },
	    { "hardlock_type", "0" }, { "hardlock_val", "0x55" }, { "hardunlock_val", "0xaa" } } },
	{ THE_CARD, "spi_flash_map", { "entry0" }, { { "mtd_name", "firmware" }, { "offset", "0x0" }, { "size", "0x80000" } } },
};

/* The first row of a node, or the first behind another row. */
static struct row *find_row(u32 inst_id, const char *node, struct row *behind)
{
	struct row *row;

	for (row = behind ? behind + 1 : g_rows; row < g_rows + ARRAY_SIZE(g_rows); row++)
		if (row->inst_id == inst_id && !strcmp(row->node, node))
			return row;
	return NULL;
}

static struct row *find_entry(u32 inst_id, const char *node, const char *entry)
{
	struct row *row = find_row(inst_id, node, NULL);

	while (row && strcmp(row->entry.name, entry))
		row = find_row(inst_id, node, row);
	return row;
}

static const char *find_text(const struct row *row, const char *name)
{
	u32 i;

	for (i = 0; row && i < MOST_VALUES && row->values[i].name; i++)
		if (!strcmp(row->values[i].name, name))
			return row->values[i].text;
	return NULL;
}

static u32 number_of(const char *text, u32 *value)
{
	return text && !kstrtou32(text, 0, value) ? 0 : NO_ANSWER;
}

static u32 copy_of(const char *text, char *buf, u32 size)
{
	if (!text)
		return NO_ANSWER;
	return strcpy_s(buf, size, text) ? NO_ROOM : 0;
}

/* Once, when the module is loaded: the lists that flash_mng is handed stay as they are. */
static void link_rows(void)
{
	struct row *row, *next;

	for (row = g_rows; row < g_rows + ARRAY_SIZE(g_rows); row++) {
		next = find_row(row->inst_id, row->node, row);
		row->link.entry = &row->entry;
		row->link.next = next ? &next->link : NULL;
	}
}

/* This board has no variants: each node is there once or not at all. */
u32 xml_get_specified_node_num(u32 inst_id, const char *module, const char *node, u32 *num)
{
	*num = find_row(inst_id, node, NULL) ? 1 : 0;
	return 0;
}
EXPORT_SYMBOL(xml_get_specified_node_num);

u32 xml_is_node_exist(u32 inst_id, const char *module, const char *node, u32 *exist)
{
	*exist = find_row(inst_id, node, NULL) ? 1 : 0;
	return 0;
}
EXPORT_SYMBOL(xml_is_node_exist);

u32 xml_get_entry_num(u32 inst_id, const char *module, const char *node, u32 *count)
{
	struct row *row;
	u32 found = 0;

	for (row = find_row(inst_id, node, NULL); row; row = find_row(inst_id, node, row))
		found++;
	*count = found;
	return found ? 0 : NO_ANSWER;
}
EXPORT_SYMBOL(xml_get_entry_num);

u32 xml_get_entry_list(u32 inst_id, const char *module, const char *node, struct xml_entry_node **list, u32 *count)
{
	struct row *first = find_row(inst_id, node, NULL);

	if (!first)
		return NO_ANSWER;
	*list = &first->link;
	return xml_get_entry_num(inst_id, module, node, count);
}
EXPORT_SYMBOL(xml_get_entry_list);

u32 xml_get_attr_value_u32(struct xml_entry *entry, const char *attr, u32 *value)
{
	return number_of(find_text(container_of(entry, struct row, entry), attr), value);
}
EXPORT_SYMBOL(xml_get_attr_value_u32);

u32 xml_get_attr_string(struct xml_entry *entry, const char *attr, char *buf, u32 size)
{
	return copy_of(find_text(container_of(entry, struct row, entry), attr), buf, size);
}
EXPORT_SYMBOL(xml_get_attr_string);

u32 xml_get_element_value_u32(u32 inst_id, const char *module, const char *node, const char *entry, const char *element, u32 *value)
{
	return number_of(find_text(find_entry(inst_id, node, entry), element), value);
}
EXPORT_SYMBOL(xml_get_element_value_u32);

u32 xml_get_element_string(u32 inst_id, const char *module, const char *node, const char *entry, const char *element, char *buf,
			   u32 len)
{
	return copy_of(find_text(find_entry(inst_id, node, entry), element), buf, len);
}
EXPORT_SYMBOL(xml_get_element_string);

bool xml_is_element_exist(u32 inst_id, const char *module, const char *node, const char *entry, const char *element)
{
	return find_text(find_entry(inst_id, node, entry), element);
}
EXPORT_SYMBOL(xml_is_element_exist);

/* ---- the board: no variant; one card; one hardware lock, which anybody may release who knows that it is held */

u32 drv_board_get_bom_value(u32 inst_id, u32 capability, u32 *bom_value)
{
	if (capability != BOARD_CAPABILITY_BOM)
		return NO_ANSWER;
	*bom_value = 0;
	return 0;
}
EXPORT_SYMBOL(drv_board_get_bom_value);

u32 drv_common_parse_parent_id_card_id(u32 inst_id, u32 *parent_inst_id, u32 *card_id)
{
	if (inst_id != THE_CARD)
		return NO_ANSWER;
	*parent_inst_id = THE_BOARD;
	*card_id = CARD_IN_BOARD;
	return 0;
}
EXPORT_SYMBOL(drv_common_parse_parent_id_card_id);

static atomic_t g_lock_held = ATOMIC_INIT(0);

u32 drv_hard_trylock(u32 inst_id, u32 lock_type, struct hard_lock_request *request)
{
	if (request->operation != HARD_LOCK_OPERATION_FLASH || request->inst_id != inst_id)
		return BAD_REQUEST;
	if (atomic_cmpxchg(&g_lock_held, 0, 1))
		return BUSY;
	pr_info("lock %u of instance 0x%x taken with 0x%x\n", lock_type, inst_id, request->lock_val);
	return 0;
}
EXPORT_SYMBOL(drv_hard_trylock);

u32 drv_hard_unlock(u32 inst_id, u32 lock_type, u32 inst_id_again, u32 unlock_val, u64 reserved)
{
	if (atomic_cmpxchg(&g_lock_held, 1, 0) != 1)
		return BAD_REQUEST;
	pr_info("lock %u of instance 0x%x released with 0x%x\n", lock_type, inst_id, unlock_val);
	return 0;
}
EXPORT_SYMBOL(drv_hard_unlock);

/* ---- bounded routines: what is refused leaves the destination as it was, a text that does not fit leaves an empty one */

int memcpy_s(void *dest, size_t dest_size, const void *src, size_t count)
{
	if (!dest || !src || !dest_size || count > dest_size)
		return -EINVAL;
	memcpy(dest, src, count);
	return 0;
}
EXPORT_SYMBOL(memcpy_s);

int strcpy_s(char *dest, size_t dest_size, const char *src)
{
	return src ? memcpy_s(dest, dest_size, src, strlen(src) + 1) : -EINVAL;
}
EXPORT_SYMBOL(strcpy_s);

int memset_s(void *dest, size_t dest_size, int c, size_t count)
{
	if (!dest || !dest_size || count > dest_size)
		return -EINVAL;
	memset(dest, c, count);
	return 0;
}
EXPORT_SYMBOL(memset_s);

static __printf(4, 0) int format(char *dest, size_t dest_size, size_t most, const char *fmt, va_list values)
{
	int length = vsnprintf(dest, dest_size, fmt, values);

	if (length >= 0 && length < dest_size && length <= most)
		return length;
	dest[0] = '\0';
	return -1;
}

int sprintf_s(char *dest, size_t dest_size, const char *fmt, ...)
{
	va_list values;
	int length;

	va_start(values, fmt);
	length = format(dest, dest_size, dest_size, fmt, values);
	va_end(values);
	return length;
}
EXPORT_SYMBOL(sprintf_s);

int snprintf_s(char *dest, size_t dest_size, size_t count, const char *fmt, ...)
{
	va_list values;
	int length;

	va_start(values, fmt);
	length = format(dest, dest_size, count, fmt, values);
	va_end(values);
	return length;
}
EXPORT_SYMBOL(snprintf_s);

/* ---- flash buffer: NAND by good erase blocks; byte 0 is the first byte of the first good one */

static DEFINE_MUTEX(g_flash_lock);

static bool find_good_block(struct mtd_info *mtd, u64 number, u64 *block)
{
	for (*block = 0; *block < mtd->size; *block += mtd->erasesize)
		if (!mtd_block_isbad(mtd, *block) && !number--)
			return true;
	return false;
}

static bool reads(struct mtd_info *mtd, u64 address, void *to, u32 length)
{
	size_t done = 0;
	int result = mtd_read(mtd, address, length, &done, to);

	return (!result || mtd_is_bitflip(result)) && done == length;
}

/* The bytes around those that change are written again, so the block is read first. */
static bool updates(struct mtd_info *mtd, u64 block, u32 offset, const void *from, u32 length, u8 *image)
{
	struct erase_info erase = { .addr = block, .len = mtd->erasesize };
	size_t done = 0;

	if (!reads(mtd, block, image, mtd->erasesize))
		return false;
	memcpy(image + offset, from, length);
	return !mtd_erase(mtd, &erase) && !mtd_write(mtd, block, mtd->erasesize, &done, image) && done == mtd->erasesize;
}

/* Block by block: to @to, or, where that is NULL, from @from with the room of @image. */
static u32 walk(struct mtd_info *mtd, u64 offset, u64 length, u8 *to, const u8 *from, u8 *image)
{
	u32 in_block, part;
	u64 number, block;
	bool good = true;

	while (good && length) {
		number = div_u64_rem(offset, mtd->erasesize, &in_block);
		part = min_t(u64, length, mtd->erasesize - in_block);
		good = find_good_block(mtd, number, &block);
		if (good && to) {
			good = reads(mtd, block + in_block, to, part);
			to += part;
		} else if (good) {
			good = updates(mtd, block, in_block, from, part, image);
			from += part;
		}
		offset += part;
		length -= part;
	}
	return good ? 0 : FLASH_FAILED;
}

static struct mtd_info *open_device(const char *path)
{
	u32 index;

	if (sscanf(path, "/dev/mtd%u", &index) != 1)
		return NULL;
	return get_mtd_device(NULL, index);
}

u32 plat_mtd_read_buf(const char *path, unsigned long offset, void *buf, unsigned long len)
{
	struct mtd_info *mtd = open_device(path);
	u32 status;

	if (IS_ERR_OR_NULL(mtd))
		return NO_DEVICE;
	mutex_lock(&g_flash_lock);
	status = walk(mtd, offset, len, buf, NULL, NULL);
	mutex_unlock(&g_flash_lock);
	put_mtd_device(mtd);
	return status;
}
EXPORT_SYMBOL(plat_mtd_read_buf);

u32 plat_mtd_update_buf(const char *path, unsigned long offset, const void *buf, unsigned long len)
{
	struct mtd_info *mtd = open_device(path);
	u32 status = NO_ROOM;
	u8 *image;

	if (IS_ERR_OR_NULL(mtd))
		return NO_DEVICE;
	image = vmalloc(mtd->erasesize);
	if (image) {
		mutex_lock(&g_flash_lock);
		status = walk(mtd, offset, len, NULL, buf, image);
		mutex_unlock(&g_flash_lock);
		vfree(image);
	}
	put_mtd_device(mtd);
	return status;
}
EXPORT_SYMBOL(plat_mtd_update_buf);

static int __init foreign_platform_init(void)
{
	link_rows();
	return 0;
}

static void __exit foreign_platform_exit(void)
{
}

module_init(foreign_platform_init);
module_exit(foreign_platform_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Example: a platform for flash_mng in one file");
