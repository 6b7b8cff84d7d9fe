// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Leaves records for whoever reads the log's file: those of the common log, of log 200, and 300 of log 201.
 */
#include "check.h"
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
	drv_log_record(200, 2, 0, "after deregistration");
	CHECK(log_get_timestamp_ms() >= start);
	log_module_init_end("check", start, 0x811b04aaU, "step");
}
