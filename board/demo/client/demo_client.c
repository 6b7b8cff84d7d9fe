// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * How a kernel module uses flash_mng: include flash_mng.h, call the functions, look at the codes. The rest is here so that a program can
 * say which function to call: /sys/kernel/debug/demo_client/call takes one call per open, as text, and gives the answer to the same file:
 *
 *   read_section <inst_id> <section_id> <address> <length>	the code, and on the lines after it the data
 *   write_section <inst_id> <section_id> <address>		with the data on the lines after it: the code
 *   flash_size <inst_id>					the code, and on the next line the bytes
 *   create_flash <inst_id>					the code; the partitions are those of the instance's spi_flash_map
 *   destroy_flash <inst_id>					the code
 *
 * Numbers are decimal or 0x hexadecimal; a code is written as 0x and 8 digits. From a shell on the board:
 *
 *   exec 3<>/sys/kernel/debug/demo_client/call; echo flash_size 0x12 >&3; cat <&3; exec 3>&-
 *
 * flash_mng stays loaded as long as a module is that links against it. Call it from process context only: every function may sleep.
 */
#include <linux/debugfs.h>
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/string.h>

#include "flash_mng.h"
#include "platform/xml.h"

#define SECTION		"flash_mng"
#define MAP_NODE	"spi_flash_map"
#define MOST_NUMBERS	4
#define MOST_PARTS	8
#define CODE_LINE_SIZE	11 /* "0x", 8 digits, line feed */
#define MOST_DATA	(SIMPLE_TRANSACTION_LIMIT - CODE_LINE_SIZE)

struct request {
	u32 numbers[MOST_NUMBERS];
	char *data; /* what was given; then what is answered, at most MOST_DATA bytes */
	u32 given;
	u32 answered;
};

static u32 read_section(struct request *request)
{
	u32 length = request->numbers[3];
	u32 code;

	if (length > MOST_DATA)
		return FLASH_MNG_NO_BUFFER;
	code = drv_flash_read(request->numbers[0], request->numbers[1], request->numbers[2], request->data, length);
	request->answered = code ? 0 : length;
	return code;
}

static u32 write_section(struct request *request)
{
	return drv_flash_write(request->numbers[0], request->numbers[1], request->numbers[2], request->data, request->given);
}

static u32 flash_size(struct request *request)
{
	u64 size; /* the type that this platform's flash driver stores */
	u32 code = drv_flash_get_size(request->numbers[0], 0, &size);

	request->answered = code ? 0 : scnprintf(request->data, MOST_DATA, "%llu\n", size);
	return code;
}

static u32 read_part(u32 inst_id, const struct xml_entry *entry, struct flash_part *part)
{
	char name[19];
	u32 status;

	status = xml_get_element_string(inst_id, SECTION, MAP_NODE, entry->name, "mtd_name", name, sizeof(name));
	if (!status)
		status = xml_get_element_value_u32(inst_id, SECTION, MAP_NODE, entry->name, "offset", &part->offset);
	if (!status)
		status = xml_get_element_value_u32(inst_id, SECTION, MAP_NODE, entry->name, "size", &part->size);
	if (!status)
		scnprintf(part->mtd_name, sizeof(part->mtd_name), "mtd_%08x_%s", inst_id, name);
	return status;
}

static u32 create_flash(struct request *request)
{
	u32 inst_id = request->numbers[0];
	struct flash_part parts[MOST_PARTS] = {};
	struct flash_parts_info info = { .parts = parts };
	struct xml_entry_node *link;
	u32 count;
	u32 status = xml_get_entry_list(inst_id, SECTION, MAP_NODE, &link, &count);

	for (; !status && link && info.part_num < MOST_PARTS; link = link->next)
		status = read_part(inst_id, link->entry, &parts[info.part_num++]);
	return status ? status : drv_flash_create(inst_id, &info);
}

static u32 destroy_flash(struct request *request)
{
	return drv_flash_destroy(request->numbers[0]);
}

static const struct {
	const char *name;
	u32 numbers;
	u32 (*run)(struct request *request);
} g_calls[] = {
	{ "read_section", 4, read_section },
	{ "write_section", 3, write_section },
	{ "flash_size", 1, flash_size },
	{ "create_flash", 1, create_flash },
	{ "destroy_flash", 1, destroy_flash },
};

static int read_numbers(char *words, u32 *numbers)
{
	char *word;
	int count = 0;

	while ((word = strsep(&words, " ")))
		if (count == MOST_NUMBERS || kstrtou32(word, 0, &numbers[count++]))
			return -EINVAL;
	return count;
}

static int find_call(char *line, u32 *numbers)
{
	char *name = strsep(&line, " ");
	int count = read_numbers(line, numbers);
	int i;

	for (i = 0; i < ARRAY_SIZE(g_calls); i++)
		if (!strcmp(name, g_calls[i].name) && count == g_calls[i].numbers)
			return i;
	return -EINVAL;
}

/* The call and its answer share the page that the kernel keeps for the open file: the code's line in front, the data behind it. */
static ssize_t call_write(struct file *file, const char __user *from, size_t size, loff_t *position)
{
	char *page = simple_transaction_get(file, from, size);
	struct request request = {};
	char code_line[CODE_LINE_SIZE + 1];
	char *data = page;
	int call;

	if (IS_ERR(page))
		return PTR_ERR(page);
	call = find_call(strsep(&data, "\n"), request.numbers);
	if (call < 0)
		return call;
	request.data = page + CODE_LINE_SIZE;
	if (data) {
		request.given = page + size - data;
		memmove(request.data, data, request.given);
	}

	scnprintf(code_line, sizeof(code_line), "0x%08x\n", g_calls[call].run(&request));
	memcpy(page, code_line, CODE_LINE_SIZE);
	simple_transaction_set(file, CODE_LINE_SIZE + request.answered);
	return size;
}

static const struct file_operations call_operations = {
	.owner = THIS_MODULE,
	.write = call_write,
	.read = simple_transaction_read,
	.release = simple_transaction_release,
};

static struct dentry *g_directory;

static int __init demo_client_init(void)
{
	g_directory = debugfs_create_dir(KBUILD_MODNAME, NULL);
	debugfs_create_file("call", 0600, g_directory, NULL, &call_operations);
	return 0;
}

static void __exit demo_client_exit(void)
{
	debugfs_remove_recursive(g_directory);
}

module_init(demo_client_init);
module_exit(demo_client_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Demonstration: a kernel module that uses flash_mng");
