// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * MTD devices in memory that are as strict as the flash they stand for: a NAND page is programmed once after an erase and as a whole,
 * NOR programming clears bits only, an erase covers whole erase blocks.
 */
#include <linux/idr.h>
#include <linux/kprobes.h>
#include <linux/list.h>
#include <linux/module.h>
#include <linux/mtd/mtd.h>
#include <linux/mtd/partitions.h>
#include <linux/slab.h>
#include <linux/uaccess.h>
#include <linux/vmalloc.h>

#include "lab.h"

/* Exported by Linux's MTD core for its own modules, and declared in a header of theirs. */
extern struct mutex mtd_table_mutex;
struct mtd_info *__mtd_next_device(int number);

#define LONGEST_NAME 4096
#define HIGHEST_NUMBER 4096
#define MOST_BYTES (64u << 20)

struct lab_mtd {
	struct mtd_info device;	 /* the whole device, or the parent without a number */
	struct mtd_info *visible; /* what has the number: the device or its partition */
	struct list_head link;
	atomic_t users; /* references beside that of the registration */
	struct mutex lock; /* store, programmed, counters and failures */
	struct lab_store store;
	struct xarray programmed; /* NAND: pages programmed since their erase */
	u64 erases;
	u64 writes;
	u64 erases_to_failure; /* 0 for none */
	u64 writes_to_failure;
	char *name;
};

static LIST_HEAD(devices);
static LIST_HEAD(removed); /* from Linux, but perhaps still used */
static DEFINE_MUTEX(devices_lock);
static struct idr *numbers; /* Linux's own of all MTD devices */
static struct task_struct *asking;

static int note_numbers(struct kprobe *probe, struct pt_regs *regs)
{
	if (READ_ONCE(asking) == current)
		numbers = (struct idr *)regs_get_kernel_argument(regs, 0);
	return 0;
}

/* Kernels without CONFIG_KALLSYMS_ALL do not name variables, but MTD's search for the next device hands its numbers on. */
int lab_mtd_init(void)
{
	struct kprobe probe = { .symbol_name = "idr_get_next", .pre_handler = note_numbers };
	int error = register_kprobe(&probe);

	if (error) {
		pr_err("no probe on idr_get_next: error %d\n", error);
		return error;
	}
	mutex_lock(&mtd_table_mutex);
	WRITE_ONCE(asking, current);
	__mtd_next_device(0);
	WRITE_ONCE(asking, NULL);
	mutex_unlock(&mtd_table_mutex);
	unregister_kprobe(&probe);
	if (numbers)
		return 0;
	pr_err("MTD did not search its devices by idr_get_next\n");
	return -ENOENT;
}

static struct lab_mtd *owner_of(struct mtd_info *mtd)
{
	return container_of(mtd, struct lab_mtd, device);
}

static int mtd_lab_get(struct mtd_info *mtd)
{
	atomic_inc(&owner_of(mtd_get_master(mtd))->users);
	return 0;
}

static void mtd_lab_put(struct mtd_info *mtd)
{
	atomic_dec(&owner_of(mtd_get_master(mtd))->users);
}

static int mtd_lab_read(struct mtd_info *mtd, loff_t from, size_t length, size_t *done, u_char *to)
{
	struct lab_mtd *lab = owner_of(mtd);

	mutex_lock(&lab->lock);
	lab_store_read(&lab->store, from, to, length);
	mutex_unlock(&lab->lock);
	*done = length;
	return 0;
}

static int refuse(struct lab_mtd *lab, const char *why, loff_t offset, size_t length)
{
	pr_err("mtd%d refuses %s: offset 0x%llx, length 0x%zx\n", lab->visible->index, why, offset, length);
	return -EIO;
}

static int program_nand(struct lab_mtd *lab, loff_t to, size_t length, const u_char *from)
{
	u32 page_size = lab->device.writesize;
	unsigned long page = div_u64(to, page_size);
	unsigned long end = div_u64(to + length, page_size);
	u32 rest;

	div_u64_rem(to, page_size, &rest);
	if (rest || length % page_size)
		return refuse(lab, "to program parts of a page", to, length);
	for (; page < end; page++) {
		if (xa_load(&lab->programmed, page))
			return refuse(lab, "to program a page twice without an erase", to, length);
		if (xa_is_err(xa_store(&lab->programmed, page, xa_mk_value(1), GFP_KERNEL)))
			return -ENOMEM;
	}
	return lab_store_write(&lab->store, to, from, length);
}

static int program(struct lab_mtd *lab, loff_t to, size_t length, const u_char *from)
{
	if (mtd_type_is_nand(&lab->device))
		return program_nand(lab, to, length, from);
	if (lab->device.type == MTD_NORFLASH && !lab_store_only_clears(&lab->store, to, from, length))
		return refuse(lab, "to set bits without an erase", to, length);
	return lab_store_write(&lab->store, to, from, length);
}

static bool comes_to_its_end(u64 *countdown)
{
	return *countdown && !--*countdown;
}

static int mtd_lab_write(struct mtd_info *mtd, loff_t to, size_t length, size_t *done, const u_char *from)
{
	struct lab_mtd *lab = owner_of(mtd);
	int error;

	mutex_lock(&lab->lock);
	error = comes_to_its_end(&lab->writes_to_failure) ? -EIO : program(lab, to, length, from);
	if (!error)
		lab->writes++;
	mutex_unlock(&lab->lock);
	*done = error ? 0 : length;
	return error;
}

static void forget_programmed(struct lab_mtd *lab, u64 offset, u64 length)
{
	unsigned long page = div_u64(offset, lab->device.writesize);
	unsigned long last = div_u64(offset + length - 1, lab->device.writesize);
	unsigned long index;
	void *mark;

	xa_for_each_range(&lab->programmed, index, mark, page, last)
		xa_erase(&lab->programmed, index);
}

static int mtd_lab_erase(struct mtd_info *mtd, struct erase_info *instr)
{
	struct lab_mtd *lab = owner_of(mtd);
	u32 offset_rest, length_rest;
	int error = 0;

	div_u64_rem(instr->addr, mtd->erasesize, &offset_rest);
	div_u64_rem(instr->len, mtd->erasesize, &length_rest);
	mutex_lock(&lab->lock);
	if (offset_rest || length_rest) {
		error = refuse(lab, "to erase parts of an erase block", instr->addr, instr->len);
	} else if (comes_to_its_end(&lab->erases_to_failure)) {
		error = -EIO;
	} else {
		lab_store_blank(&lab->store, instr->addr, instr->len);
		forget_programmed(lab, instr->addr, instr->len);
		lab->erases += div_u64(instr->len, mtd->erasesize);
	}
	mutex_unlock(&lab->lock);
	return error;
}

static void mtd_lab_sync(struct mtd_info *mtd)
{
}

static u32 flags_of_type(u32 type, u32 erase_size)
{
	u32 no_erase = erase_size ? 0 : MTD_NO_ERASE;

	switch (type) {
	case MTD_RAM:
		return MTD_CAP_RAM;
	case MTD_ROM:
		return MTD_CAP_ROM | no_erase;
	case MTD_NORFLASH:
		return MTD_CAP_NORFLASH | no_erase;
	default:
		return MTD_CAP_NANDFLASH | no_erase;
	}
}

static u32 page_size_of(u32 type, u32 erase_size)
{
	if (type != MTD_NANDFLASH && type != MTD_MLCNANDFLASH)
		return 1;
	if (erase_size && erase_size % 2048 == 0)
		return 2048;
	return erase_size && erase_size % 512 == 0 ? 512 : 1;
}

static struct lab_mtd *new_device(const struct lab_mtd_add *wanted)
{
	struct lab_mtd *lab = kzalloc(sizeof(*lab), GFP_KERNEL);
	struct mtd_info *mtd;

	if (!lab)
		return NULL;
	INIT_LIST_HEAD(&lab->link);
	mutex_init(&lab->lock);
	lab_store_init(&lab->store);
	xa_init(&lab->programmed);
	mtd = &lab->device;
	lab->visible = mtd;
	mtd->owner = THIS_MODULE;
	mtd->type = wanted->type;
	mtd->flags = flags_of_type(wanted->type, wanted->erase_size);
	mtd->size = wanted->size;
	mtd->erasesize = wanted->erase_size;
	mtd->writesize = page_size_of(wanted->type, wanted->erase_size);
	mtd->writebufsize = mtd->writesize;
	mtd->_read = mtd_lab_read;
	mtd->_write = mtd_lab_write;
	mtd->_erase = mtd_lab_erase;
	mtd->_sync = mtd_lab_sync;
	mtd->_get_device = mtd_lab_get;
	mtd->_put_device = mtd_lab_put;
	return lab;
}

static void free_device(struct lab_mtd *lab)
{
	lab_store_free(&lab->store);
	xa_destroy(&lab->programmed);
	kfree(lab->name);
	kfree(lab);
}

/* The kernel gives the lowest free number, so every lower one is taken with an empty entry for as long as the device is added. */
static int take_lower_numbers(int wanted, unsigned long *taken)
{
	int i;

	for (i = 0; i < wanted; i++) {
		int id;

		mutex_lock(&mtd_table_mutex);
		id = idr_alloc(numbers, NULL, i, i + 1, GFP_KERNEL);
		mutex_unlock(&mtd_table_mutex);
		if (id == i)
			__set_bit(i, taken);
		else if (id != -ENOSPC)
			return id;
	}
	return 0;
}

static void give_numbers_back(int wanted, const unsigned long *taken)
{
	int i;

	mutex_lock(&mtd_table_mutex);
	for_each_set_bit(i, taken, wanted)
		idr_remove(numbers, i);
	mutex_unlock(&mtd_table_mutex);
}

/* No partition parser at all: the kernel must neither look for one nor cut a device up by the partitions of the command line. */
static const char *const parsers[] = { NULL };

static int register_plain(struct lab_mtd *lab, const struct lab_mtd_add *wanted)
{
	struct mtd_partition part = { .name = lab->name, .offset = 0, .size = wanted->size };
	int error;

	if (!wanted->is_partition)
		return mtd_device_parse_register(&lab->device, parsers, NULL, NULL, 0);
	/* The emulation flag is refused for this kind of parent; as a mere record of the partition it can stand. */
	lab->device.flags = wanted->partition_flags & ~MTD_SLC_ON_MLC_EMULATION;
	if (!wanted->erase_size)
		lab->device.flags |= MTD_NO_ERASE;
	error = mtd_device_parse_register(&lab->device, parsers, NULL, &part, 1);
	if (error)
		return error;
	if (list_empty(&lab->device.partitions))
		return -ENODEV;
	lab->visible = list_first_entry(&lab->device.partitions, struct mtd_info, part.node);
	lab->visible->part.flags = wanted->partition_flags;
	return 0;
}

static int register_at(struct lab_mtd *lab, const struct lab_mtd_add *wanted)
{
	unsigned long *taken;
	int error;

	if (wanted->index < 0)
		return register_plain(lab, wanted);
	if (wanted->index > HIGHEST_NUMBER)
		return -EINVAL;
	taken = kcalloc(BITS_TO_LONGS(wanted->index + 1), sizeof(long), GFP_KERNEL);
	if (!taken)
		return -ENOMEM;
	error = take_lower_numbers(wanted->index, taken);
	if (!error)
		error = register_plain(lab, wanted);
	give_numbers_back(wanted->index, taken);
	kfree(taken);
	if (error || lab->visible->index == wanted->index)
		return error;
	mtd_device_unregister(&lab->device);
	return -EEXIST;
}

long lab_mtd_add(struct lab_mtd_add __user *argument)
{
	struct lab_mtd_add wanted;
	struct lab_mtd *lab;
	int error;

	if (copy_from_user(&wanted, argument, sizeof(wanted)))
		return -EFAULT;
	lab = new_device(&wanted);
	if (!lab)
		return -ENOMEM;
	if (wanted.name) {
		lab->name = strndup_user(u64_to_user_ptr(wanted.name), LONGEST_NAME);
		if (IS_ERR(lab->name)) {
			error = PTR_ERR(lab->name);
			lab->name = NULL;
			goto fail;
		}
	}
	lab->device.name = lab->name;
	error = register_at(lab, &wanted);
	if (error)
		goto fail;
	mutex_lock(&devices_lock);
	list_add_tail(&lab->link, &devices);
	mutex_unlock(&devices_lock);
	return put_user(lab->visible->index, &argument->index);
fail:
	free_device(lab);
	return error;
}

static struct lab_mtd *find_device(int index)
{
	struct lab_mtd *lab;

	list_for_each_entry(lab, &devices, link) {
		if (lab->visible->index == index)
			return lab;
	}
	return NULL;
}

/* Linux 5.10 refuses to remove a device in use; since 6.1 it lets the device go, and who uses it goes on to do so. */
static void free_removed(void)
{
	struct lab_mtd *lab, *next;

	list_for_each_entry_safe(lab, next, &removed, link) {
		if (atomic_read(&lab->users))
			continue;
		list_del(&lab->link);
		free_device(lab);
	}
}

static int remove_device(struct lab_mtd *lab)
{
	int error = mtd_device_unregister(&lab->device);

	if (error) {
		pr_err("mtd%d cannot be removed: error %d, use count %d\n", lab->visible->index, error, atomic_read(&lab->users));
		return error;
	}
	list_move(&lab->link, &removed);
	free_removed();
	return 0;
}

long lab_mtd_remove(s32 __user *argument)
{
	struct lab_mtd *lab;
	s32 index;
	int error = -ENODEV;

	if (get_user(index, argument))
		return -EFAULT;
	mutex_lock(&devices_lock);
	lab = find_device(index);
	if (lab)
		error = remove_device(lab);
	mutex_unlock(&devices_lock);
	return error;
}

long lab_mtd_remove_all(void)
{
	struct lab_mtd *lab, *next;
	int error = 0;

	mutex_lock(&devices_lock);
	list_for_each_entry_safe_reverse(lab, next, &devices, link)
		error = remove_device(lab) ?: error;
	free_removed();
	mutex_unlock(&devices_lock);
	return error;
}

static int poke(struct lab_mtd *lab, u64 offset, const void *from, size_t length)
{
	u32 page_size = lab->device.writesize;
	unsigned long page = div_u64(offset, page_size);
	unsigned long end = div_u64(offset + length - 1, page_size);
	int error = lab_store_write(&lab->store, offset, from, length);

	if (error || !mtd_type_is_nand(&lab->device))
		return error;
	for (; page <= end; page++) {
		if (lab_store_is_blank(&lab->store, (u64)page * page_size, page_size))
			xa_erase(&lab->programmed, page);
		else if (xa_is_err(xa_store(&lab->programmed, page, xa_mk_value(1), GFP_KERNEL)))
			return -ENOMEM;
	}
	return 0;
}

static int erase(struct lab_mtd *lab, u64 offset, u64 length)
{
	struct erase_info instr = { .addr = offset, .len = length };

	return mtd_erase(lab->visible, &instr);
}

static int move_bytes(unsigned int command, struct lab_mtd *lab, u64 offset, void *bytes, size_t length)
{
	size_t done;
	int error = 0;

	switch (command) {
	case LAB_MTD_READ:
		return mtd_read(lab->visible, offset, length, &done, bytes);
	case LAB_MTD_WRITE:
		return mtd_write(lab->visible, offset, length, &done, bytes);
	}
	mutex_lock(&lab->lock);
	if (command == LAB_MTD_PEEK)
		lab_store_read(&lab->store, offset, bytes, length);
	else
		error = poke(lab, offset, bytes, length);
	mutex_unlock(&lab->lock);
	return error;
}

static bool in_device(const struct lab_mtd *lab, const struct lab_mtd_bytes *range)
{
	return range->offset <= lab->device.size && range->length <= lab->device.size - range->offset;
}

static long on_device(unsigned int command, const struct lab_mtd_bytes *range, void *bytes)
{
	struct lab_mtd *lab;
	long error = -ENODEV;

	mutex_lock(&devices_lock);
	lab = find_device(range->index);
	if (lab && !in_device(lab, range))
		error = -ERANGE;
	else if (lab && command == LAB_MTD_ERASE)
		error = erase(lab, range->offset, range->length);
	else if (lab)
		error = move_bytes(command, lab, range->offset, bytes, range->length);
	mutex_unlock(&devices_lock);
	return error;
}

long lab_mtd_bytes(unsigned int command, struct lab_mtd_bytes __user *argument)
{
	bool reads = command == LAB_MTD_PEEK || command == LAB_MTD_READ;
	struct lab_mtd_bytes range;
	void *bytes;
	long error = 0;

	if (copy_from_user(&range, argument, sizeof(range)))
		return -EFAULT;
	if (command == LAB_MTD_ERASE)
		return on_device(command, &range, NULL);
	if (!range.length || range.length > MOST_BYTES)
		return -EINVAL;
	bytes = vmalloc(range.length);
	if (!bytes)
		return -ENOMEM;
	if (!reads && copy_from_user(bytes, u64_to_user_ptr(range.buffer), range.length))
		error = -EFAULT;
	if (!error)
		error = on_device(command, &range, bytes);
	if (!error && reads && copy_to_user(u64_to_user_ptr(range.buffer), bytes, range.length))
		error = -EFAULT;
	vfree(bytes);
	return error;
}

long lab_mtd_state(struct lab_mtd_state __user *argument)
{
	struct lab_mtd_state state;
	struct lab_mtd *lab;

	if (copy_from_user(&state, argument, sizeof(state)))
		return -EFAULT;
	mutex_lock(&devices_lock);
	lab = find_device(state.index);
	if (lab) {
		mutex_lock(&lab->lock);
		state.use_count = atomic_read(&lab->users);
		state.erases = lab->erases;
		state.writes = lab->writes;
		mutex_unlock(&lab->lock);
	}
	mutex_unlock(&devices_lock);
	if (!lab)
		return -ENODEV;
	return copy_to_user(argument, &state, sizeof(state)) ? -EFAULT : 0;
}

long lab_mtd_fail(const struct lab_mtd_failure __user *argument)
{
	struct lab_mtd_failure failure;
	struct lab_mtd *lab;

	if (copy_from_user(&failure, argument, sizeof(failure)))
		return -EFAULT;
	mutex_lock(&devices_lock);
	lab = find_device(failure.index);
	if (lab) {
		mutex_lock(&lab->lock);
		if (failure.is_write)
			lab->writes_to_failure = failure.nth;
		else
			lab->erases_to_failure = failure.nth;
		mutex_unlock(&lab->lock);
	}
	mutex_unlock(&devices_lock);
	return lab ? 0 : -ENODEV;
}
