// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/*
 * Expects these switches to be armed: "memcpy_s 2 0x55", "xml_get_entry_num 1 0x66 sticky", "xml_get_entry_list:count 1 9",
 * "xml_get_entry_list:null 2 0", "xml_is_element_exist 1 1", "drv_board_get_bom_value 1 0".
 */
#include "groups.h"
#include "platform/board_capability.h"
#include "platform/bounded.h"
#include "platform/xml.h"

static void check_nth_call(void)
{
	char text[4] = "";

	CHECK_EQ(memcpy_s(text, sizeof(text), "a", 2), 0);
	CHECK_EQ(memcpy_s(text, sizeof(text), "b", 2), 0x55);
	CHECK(!strcmp(text, "a"));
	CHECK_EQ(memcpy_s(text, sizeof(text), "c", 2), 0);
	CHECK(!strcmp(text, "c"));
}

static void check_every_later_call(void)
{
	u32 count = 77, i;

	for (i = 0; i < 3; i++)
		CHECK_EQ(xml_get_entry_num(CHECK_BOARD_ID, "flash_mng", "attr", &count), 0x66);
	CHECK_EQ(count, 77);
}

static void check_false_lists(void)
{
	struct xml_entry_node *list = NULL;
	u32 count = 77;

	CHECK_EQ(xml_get_entry_list(CHECK_BOARD_ID, "flash_mng", "attr", &list, &count), 0);
	CHECK_EQ(count, 9);
	CHECK(list);
	CHECK_EQ(xml_get_entry_list(CHECK_BOARD_ID, "flash_mng", "attr", &list, &count), 0);
	CHECK_EQ(count, 3);
	CHECK(!list);
	CHECK_EQ(xml_get_entry_list(CHECK_BOARD_ID, "flash_mng", "attr", &list, &count), 0);
	CHECK_EQ(count, 3);
	CHECK(list);
}

static void check_success_that_did_nothing(void)
{
	u32 value = 77;

	CHECK(xml_is_element_exist(CHECK_BOARD_ID, "flash_mng", "elements", "entry0", "absent"));
	CHECK(!xml_is_element_exist(CHECK_BOARD_ID, "flash_mng", "elements", "entry0", "absent"));
	CHECK_EQ(drv_board_get_bom_value(CHECK_BOARD_ID, 0x100000, &value), 0);
	CHECK_EQ(value, 77);
}

void check_switched(void)
{
	check_nth_call();
	check_every_later_call();
	check_false_lists();
	check_success_that_did_nothing();
}
