// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Two threads create and destroy the same instance and open its partitions, two others do so with an instance of their own each.
 */
#include <linux/atomic.h>
#include <linux/completion.h>
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/kthread.h>
#include <linux/mtd/mtd.h>

#include "groups.h"
#include "platform_status.h"

#define ROUNDS 8

struct worker {
	u32 inst_id;
	bool alone; /* nobody else works on this instance */
	struct completion done;
};

static atomic_t g_created;
static atomic_t g_destroyed;

static void open_once(const char *name)
{
	struct mtd_info *mtd = get_mtd_device_nm(name);

	if (!IS_ERR(mtd)) {
		cond_resched();
		put_mtd_device(mtd);
	}
}

static void one_round(const struct worker *worker)
{
	struct flash_part part = { .size = 2 * ERASE_SIZE };
	u32 created, destroyed;

	scnprintf(part.mtd_name, sizeof(part.mtd_name), "threads_%x", worker->inst_id);
	created = create_parts(worker->inst_id, &part, 1);
	open_once(part.mtd_name);
	destroyed = drv_flash_destroy(worker->inst_id);

	if (worker->alone) {
		CHECK_EQ(created, 0);
		CHECK_EQ(destroyed, 0);
		return;
	}
	CHECK(!created || created == SPI_FLASH_ALREADY_CREATED);
	CHECK(!destroyed || destroyed == SPI_FLASH_NOT_CREATED || destroyed == SPI_FLASH_IN_USE);
	if (!created)
		atomic_inc(&g_created);
	if (!destroyed)
		atomic_inc(&g_destroyed);
}

/* Linux knows the thread until it has been stopped, and no code of the module runs after that. */
static void await_stop(void)
{
	set_current_state(TASK_INTERRUPTIBLE);
	while (!kthread_should_stop()) {
		schedule();
		set_current_state(TASK_INTERRUPTIBLE);
	}
	__set_current_state(TASK_RUNNING);
}

static int work(void *data)
{
	struct worker *worker = data;
	u32 i;

	for (i = 0; i < ROUNDS; i++)
		one_round(worker);
	complete(&worker->done);
	await_stop();
	return 0;
}

void check_threads(void)
{
	static struct worker workers[] = {
		{ .inst_id = UNLOCKED_CARD }, { .inst_id = UNLOCKED_CARD },
		{ .inst_id = CREATE_LOCKED_CARD, .alone = true }, { .inst_id = OWN_SETTINGS, .alone = true },
	};
	struct task_struct *threads[ARRAY_SIZE(workers)];
	u32 i;

	for (i = 0; i < ARRAY_SIZE(workers); i++) {
		init_completion(&workers[i].done);
		threads[i] = kthread_run(work, &workers[i], "spi_check/%u", i);
		CHECK(!IS_ERR(threads[i]));
	}
	for (i = 0; i < ARRAY_SIZE(workers); i++) {
		if (IS_ERR(threads[i]))
			continue;
		wait_for_completion(&workers[i].done);
		kthread_stop(threads[i]);
	}

	if (mtd_exists("threads_11")) {
		CHECK_EQ(drv_flash_destroy(UNLOCKED_CARD), 0);
		atomic_inc(&g_destroyed);
	}
	CHECK(atomic_read(&g_created));
	CHECK_EQ(atomic_read(&g_created), atomic_read(&g_destroyed));
	CHECK(!mtd_exists("threads_11"));
	CHECK(!mtd_exists("threads_13"));
	CHECK(!mtd_exists("threads_20"));
}
