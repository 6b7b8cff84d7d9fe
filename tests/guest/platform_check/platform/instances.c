// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "board_values.h"
#include "groups.h"
#include "platform/instance.h"
#include "platform_status.h"

#define CARD_ID		0x101 /* has a parent, and a lock of type 0 with stated values */
#define OTHER_ID	0x103
#define UNKNOWN_ID	0x999
#define STATED_LOCK	0x5a
#define STATED_UNLOCK	0xa5

static struct hard_lock_request request(u32 inst_id, u32 lock_val)
{
	return (struct hard_lock_request){ .operation = 720, .inst_id = inst_id, .lock_val = lock_val };
}

static void check_parents(void)
{
	u32 parent = 77, card = 77;

	CHECK_EQ(drv_common_parse_parent_id_card_id(CHECK_BOARD_ID, &parent, &card), INSTANCE_NO_PARENT);
	CHECK_EQ(drv_common_parse_parent_id_card_id(UNKNOWN_ID, &parent, &card), INSTANCE_UNKNOWN);
	CHECK_EQ(drv_common_parse_parent_id_card_id(CARD_ID, NULL, &card), INSTANCE_BAD_ARGUMENT);
	CHECK_EQ(drv_common_parse_parent_id_card_id(CARD_ID, &parent, NULL), INSTANCE_BAD_ARGUMENT);
	CHECK_EQ(parent, 77);
	CHECK_EQ(card, 77);
	CHECK_EQ(drv_common_parse_parent_id_card_id(CARD_ID, &parent, &card), 0);
	CHECK_EQ(parent, CHECK_BOARD_ID);
	CHECK_EQ(card, 5);
}

static void check_values(void)
{
	u32 value = 77, unlock = 78;

	CHECK_EQ(board_get_value("absent", &value), XML_NO_VALUE);
	CHECK_EQ(board_get_instance_value(UNKNOWN_ID, "bom", &value), XML_NO_INSTANCE);
	CHECK_EQ(board_get_instance_value(CARD_ID, "bom", &value), XML_NO_VALUE);
	CHECK_EQ(board_get_hard_lock(UNKNOWN_ID, 0, &value, &unlock), XML_NO_INSTANCE);
	CHECK_EQ(board_get_hard_lock(OTHER_ID, 0, &value, &unlock), XML_NO_VALUE);
	CHECK_EQ(board_get_hard_lock(CARD_ID, 1, &value, &unlock), XML_NO_VALUE);
	CHECK_EQ(value, 77);
	CHECK_EQ(unlock, 78);
	CHECK_EQ(board_get_value("bom", &value), 0);
	CHECK_EQ(value, 27);
	CHECK_EQ(board_get_hard_lock(CARD_ID, 0, &value, &unlock), 0);
	CHECK_EQ(value, STATED_LOCK);
	CHECK_EQ(unlock, STATED_UNLOCK);
}

static void check_bad_requests(void)
{
	struct hard_lock_request bad = request(CARD_ID, STATED_LOCK);

	CHECK_EQ(drv_hard_trylock(CARD_ID, 0, NULL), HARD_LOCK_BAD_REQUEST);
	CHECK_EQ(drv_hard_trylock(OTHER_ID, 0, &bad), HARD_LOCK_BAD_REQUEST);
	bad.operation = 721;
	CHECK_EQ(drv_hard_trylock(CARD_ID, 0, &bad), HARD_LOCK_BAD_REQUEST);
	bad = request(CARD_ID, STATED_LOCK);
	bad.reserved0 = 1;
	CHECK_EQ(drv_hard_trylock(CARD_ID, 0, &bad), HARD_LOCK_BAD_REQUEST);
	bad = request(CARD_ID, STATED_LOCK);
	bad.reserved1 = 1;
	CHECK_EQ(drv_hard_trylock(CARD_ID, 0, &bad), HARD_LOCK_BAD_REQUEST);
	bad = request(CARD_ID, STATED_LOCK + 1);
	CHECK_EQ(drv_hard_trylock(CARD_ID, 0, &bad), HARD_LOCK_BAD_VALUE);
	CHECK_EQ(drv_hard_unlock(CARD_ID, 0, CARD_ID, STATED_UNLOCK, 0), HARD_LOCK_NOT_HELD);
}

static void check_taking_and_releasing(void)
{
	struct hard_lock_request mine = request(CARD_ID, STATED_LOCK);
	struct hard_lock_request other = request(OTHER_ID, 1);

	CHECK_EQ(drv_hard_trylock(CARD_ID, 0, &mine), 0);
	CHECK_EQ(drv_hard_trylock(CARD_ID, 0, &mine), HARD_LOCK_BUSY);
	CHECK_EQ(drv_hard_trylock(CARD_ID, 2, &mine), 0);
	CHECK_EQ(drv_hard_trylock(OTHER_ID, 0, &other), 0);
	CHECK_EQ(drv_hard_unlock(CARD_ID, 0, OTHER_ID, STATED_UNLOCK, 0), HARD_LOCK_BAD_OWNER);
	CHECK_EQ(drv_hard_unlock(CARD_ID, 0, CARD_ID, STATED_UNLOCK + 1, 0), HARD_LOCK_BAD_VALUE);
	CHECK_EQ(drv_hard_unlock(CARD_ID, 0, CARD_ID, STATED_UNLOCK, 1), HARD_LOCK_BAD_REQUEST);
	CHECK_EQ(drv_hard_unlock(CARD_ID, 0, CARD_ID, STATED_UNLOCK, 0), 0);
	CHECK_EQ(drv_hard_trylock(CARD_ID, 0, &mine), 0);
	CHECK_EQ(drv_hard_unlock(CARD_ID, 0, CARD_ID, STATED_UNLOCK, 0), 0);
	CHECK_EQ(drv_hard_unlock(CARD_ID, 2, CARD_ID, 7, 0), 0);
	CHECK_EQ(drv_hard_unlock(OTHER_ID, 0, OTHER_ID, 7, 0), 0);
}

static void check_most_locks(void)
{
	u32 type, taken = 0;

	for (type = 100; type < 200; type++) {
		struct hard_lock_request next = request(OTHER_ID, 1);
		u32 status = drv_hard_trylock(OTHER_ID, type, &next);

		if (status) {
			CHECK_EQ(status, HARD_LOCK_TOO_MANY);
			break;
		}
		taken++;
	}
	CHECK_EQ(taken, 32);
	for (type = 100; type < 100 + taken; type++)
		CHECK_EQ(drv_hard_unlock(OTHER_ID, type, OTHER_ID, 0, 0), 0);
}

void check_instances(void)
{
	check_parents();
	check_values();
	check_bad_requests();
	check_taking_and_releasing();
	check_most_locks();
}
