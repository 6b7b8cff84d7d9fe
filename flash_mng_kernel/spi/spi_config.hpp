// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// Settings of an SPI flash instance, read from the XML of the instance itself or of its parent.
#pragma once

#include "flash_mng.h"

extern "C" {

// Finds an instance's settings. 0; FLASH_MNG_FAILED when neither the instance nor its parent has any; or the code of
// drv_flash_get_spi_info(). A failed search may have written part of *config.
u32 drv_flash_get_sfc_config(u32 inst_id, spi_controller_config *config);

// Reads the entry of a card from an instance's XML: FLASH_MNG_ENTRY_COUNT, FLASH_MNG_FAILED when no entry matches, or a parser code.
u32 drv_flash_get_spi_info(u32 inst_id, u32 card_id, spi_controller_config *config);

// Reads an entry's lock settings, or sets their defaults. The status of the last read, of no consequence.
u32 drv_flash_get_unrequired_spi_cfg(u32 inst_id, const char *entry, spi_controller_config *config);

// Reads one entry of the partition map: FLASH_MNG_FAILED when the name does not fit, or a parser code. An entry without offset or size is
// complete with its name alone.
u32 drv_flash_spi_chip_entry_parse(u32 inst_id, const char *entry, flash_part *part);

// The parser's element readers with this module's section filled in.
u32 drv_flash_xml_get_attr_string(u32 inst_id, const char *node, const char *entry, const char *element, char *buf, u32 len);
u32 drv_flash_xml_get_value_u32(u32 inst_id, const char *node, const char *entry, const char *element, u32 *value);
}
