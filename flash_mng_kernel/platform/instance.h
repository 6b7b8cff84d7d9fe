/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Services of the platform module "drv_basic" about device instances: where an instance sits, and the hardware lock.
 */
#ifndef FLASH_MNG_PLATFORM_INSTANCE_H
#define FLASH_MNG_PLATFORM_INSTANCE_H

#include "flash_mng_types.h"

FLASH_MNG_C_BEGIN

#define HARD_LOCK_OPERATION_FLASH 720 /* the only operation that flash_mng takes the lock for: access to flash */

/** struct hard_lock_request - what a caller hands over to take the hardware lock; 24 bytes. */
struct hard_lock_request {
	u32 operation; /* HARD_LOCK_OPERATION_FLASH, which every platform's service has to accept */
	u32 inst_id;
	u32 lock_val;
	u32 reserved0; /* 0 */
	u64 reserved1; /* 0 */
};

/**
 * drv_common_parse_parent_id_card_id() - the instance above an instance, and its place there.
 * @inst_id: instance id
 * @parent_inst_id: receives the parent's instance id; 0xFFFFFFFF for the board itself
 * @card_id: receives the card id of the instance within its parent
 *
 * Context: process context, may sleep.
 * Return: 0, or the service's own code.
 */
u32 drv_common_parse_parent_id_card_id(u32 inst_id, u32 *parent_inst_id, u32 *card_id);

/**
 * drv_hard_trylock() - try once to take the hardware lock.
 * @inst_id: instance id
 * @lock_type: which kind of lock
 * @request: who asks, and with which value
 *
 * Return: 0 when the lock was taken, or the service's own code.
 */
u32 drv_hard_trylock(u32 inst_id, u32 lock_type, struct hard_lock_request *request);

/**
 * drv_hard_unlock() - release the hardware lock.
 * @inst_id: instance id
 * @lock_type: which kind of lock
 * @inst_id_again: the instance id once more
 * @unlock_val: the instance's unlock value
 * @reserved: 0
 *
 * Return: 0, or the service's own code.
 */
u32 drv_hard_unlock(u32 inst_id, u32 lock_type, u32 inst_id_again, u32 unlock_val, u64 reserved);

FLASH_MNG_C_END

#endif
