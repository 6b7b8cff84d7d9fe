// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Leaves records for whoever reads the log's file: those of the common log, of log 200, and 300 of log 201.
 */
#include <linux/kernel.h>

#include "groups.h"
#include "failing_call.h"
#include "platform/log.h"
#include "platform_status.h"

static void check_registering(void)
{
	CHECK_EQ(drv_log_register(0, "common", 256), LOG_BAD_ARGUMENT);
	CHECK_EQ(drv_log_register(200, NULL, 256), LOG_BAD_ARGUMENT);
	CHECK_EQ(drv_log_deregister(200), LOG_NOT_REGISTERED);
	CHECK_EQ(drv_log_deregister(0), LOG_BAD_ARGUMENT);
	CHECK_EQ(drv_log_register(200, "check", 256), 0);
	CHECK_EQ(drv_log_register(200, "check", 256), LOG_ALREADY_REGISTERED);
}

static void leave_records(void)
{
	drv_log_record(0, 1, 0, "common %u", 1);
	drv_log_record(200, 2, 0, "own \\ %s\n\x7f\xff ", "text");
	drv_log_record(999, 3, 4, "of nobody");
	drv_log_record(200, 3, 0, NULL);
}

static void fill_a_ring(void)
{
	u32 i;

	CHECK_EQ(drv_log_register(201, "full", 1), 0);
	for (i = 0; i < 300; i++)
		drv_log_record(201, 3, 0, "record %u", i);
	CHECK_EQ(drv_log_deregister(201), 0);
}

void check_logs(void)
{
	u64 start = log_get_timestamp_ms();

	check_registering();
	leave_records();
	fill_a_ring();
	CHECK_EQ(drv_log_deregister(200), 0);
	CHECK_EQ(drv_log_deregister(200), LOG_NOT_REGISTERED);
	drv_log_record(200, 2, 0, "after deregistration");
	CHECK(log_get_timestamp_ms() >= start);
	log_module_init_end("check", start, 0x811b04aaU, "step");
}

/*
 * A log keeps its place when it is closed: those that others open are opened first, as large as they are, and for good no further one can
 * be opened on this board.
 */
void check_many_logs(void)
{
	static const struct {
		u32 id, records;
	} others[] = { { 27, 2048 }, { 200, 256 }, { 201, 256 } };
	struct failing_call allocation;
	u32 i, status = 0, id = 1000;

	CHECK(failing_call_begin(&allocation, "vzalloc", 0));
	CHECK_EQ(drv_log_register(id, "many", 1), LOG_NO_MEMORY);
	CHECK(failing_call_end(&allocation));
	CHECK_EQ(drv_log_deregister(id), LOG_NOT_REGISTERED);
	for (i = 0; i < ARRAY_SIZE(others); i++)
		if (!drv_log_register(others[i].id, "other", others[i].records))
			CHECK_EQ(drv_log_deregister(others[i].id), 0);
	while (!status && id < 1100)
		status = drv_log_register(id++, "many", 1);
	CHECK_EQ(status, LOG_TOO_MANY);
	CHECK_EQ(drv_log_register(id, "many", 1), LOG_TOO_MANY);
	CHECK_EQ(drv_log_deregister(id), LOG_NOT_REGISTERED);
	while (--id > 1000)
		CHECK_EQ(drv_log_deregister(id - 1), 0);
	CHECK_EQ(drv_log_register(1000, "again", 1), 0);
	CHECK_EQ(drv_log_deregister(1000), 0);
	CHECK_EQ(drv_log_register(2000, "other", 1), LOG_TOO_MANY);
}
