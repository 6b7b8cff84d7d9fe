/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Service of the platform module "board_capability_mng".
 */
#ifndef FLASH_MNG_PLATFORM_BOARD_CAPABILITY_H
#define FLASH_MNG_PLATFORM_BOARD_CAPABILITY_H

#include "flash_mng_types.h"

FLASH_MNG_C_BEGIN

#define BOARD_CAPABILITY_BOM 0x100000 /* the only capability that flash_mng asks for: the board's variant */

/**
 * drv_board_get_bom_value() - which variant of the board this is.
 * @inst_id: instance id
 * @capability: which capability is asked for: BOARD_CAPABILITY_BOM, which every platform's service has to answer
 * @bom_value: receives the BOM value; 0 is the board without a variant; written on success only
 *
 * Context: process context, may sleep.
 * Return: 0, or the service's own code.
 */
u32 drv_board_get_bom_value(u32 inst_id, u32 capability, u32 *bom_value);

FLASH_MNG_C_END

#endif
