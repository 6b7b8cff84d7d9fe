// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include <linux/fs.h>
#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/sizes.h>
#include <linux/uaccess.h>
#include <linux/vmalloc.h>

#include "bench.h"

#define MOST_BYTES		SZ_16M
#define INSTRUCTIONS_RETIRED	0x08
#define PMCR_ENABLE		BIT(0)
#define PMUSERENR_READ		(BIT(0) | BIT(3)) /* programs may read counters */

/* With a single core there is one counter. */
static void start_counter(void)
{
	write_sysreg(0, pmselr_el0);
	isb();
	write_sysreg(INSTRUCTIONS_RETIRED, pmxevtyper_el0);
	write_sysreg(BIT(0), pmcntenset_el0);
	write_sysreg(PMUSERENR_READ, pmuserenr_el0);
	write_sysreg(read_sysreg(pmcr_el0) | PMCR_ENABLE, pmcr_el0);
	isb();
}

noinline void bench_mark(void);

noinline void bench_mark(void)
{
	barrier();
}

static int run_on(struct bench_request *request, void *buffer)
{
	if (copy_from_user(buffer, u64_to_user_ptr(request->buffer), request->length))
		return -EFAULT;
	return bench_run(request, buffer);
}

static long run(struct bench_request __user *from)
{
	struct bench_request request;
	void *buffer;
	int result;

	if (copy_from_user(&request, from, sizeof(request)))
		return -EFAULT;
	if (request.length > MOST_BYTES || request.changed > request.length || !request.times)
		return -EINVAL;
	buffer = vmalloc(request.length + 1);
	if (!buffer)
		return -ENOMEM;
	result = run_on(&request, buffer);
	vfree(buffer);
	if (!result && copy_to_user(from, &request, sizeof(request)))
		return -EFAULT;
	return result;
}

static long bench_ioctl(struct file *file, unsigned int command, unsigned long argument)
{
	switch (command) {
	case BENCH_EMPTY:
		return 0;
	case BENCH_RUN:
		return run((struct bench_request __user *)argument);
	case BENCH_MARK:
		bench_mark();
		return 0;
	case BENCH_DEVICES:
		return bench_devices(argument);
	case BENCH_RECORDS:
		return bench_records(argument);
	case BENCH_WATCH:
		return bench_watch(argument);
	case BENCH_WORK:
		return copy_to_user((void __user *)argument, bench_work(), sizeof(struct bench_work)) ? -EFAULT : 0;
	case BENCH_ROWS:
		return bench_rows(argument);
	case BENCH_FIND:
		return bench_find(argument);
	case BENCH_FIND_NAME:
		return bench_find_name(argument);
	}
	return -ENOTTY;
}

static const struct file_operations g_operations = {
	.owner = THIS_MODULE,
	.unlocked_ioctl = bench_ioctl,
};

static struct miscdevice g_device = {
	.minor = MISC_DYNAMIC_MINOR,
	.name = KBUILD_MODNAME,
	.fops = &g_operations,
};

static int __init flash_bench_init(void)
{
	start_counter();
	bench_register_driver();
	return misc_register(&g_device);
}

static void __exit flash_bench_exit(void)
{
	misc_deregister(&g_device);
	bench_records(0);
	bench_unregister_driver();
	bench_devices(0);
	bench_watch(false);
	bench_rows(0);
	bench_free_image();
}

module_init(flash_bench_init);
module_exit(flash_bench_exit);
MODULE_LICENSE("Dual BSD/GPL");
MODULE_AUTHOR("flash_mng developers");
MODULE_DESCRIPTION("Measurements: counted calls of flash_mng and of what it is made of");
