# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
include $(sort $(wildcard $(BR2_EXTERNAL_FLASH_MNG_PATH)/package/*/*.mk))
