################################################################################
# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# flash-mng-tools, from the clone that this external tree is a part of
#
################################################################################

FLASH_MNG_TOOLS_SITE = $(BR2_EXTERNAL_FLASH_MNG_PATH)/../..
FLASH_MNG_TOOLS_SITE_METHOD = local
FLASH_MNG_TOOLS_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude /build
FLASH_MNG_TOOLS_VERSION = $(shell cat $(FLASH_MNG_TOOLS_SITE)/VERSION)
FLASH_MNG_TOOLS_LICENSE = BSD-3-Clause or GPL-2.0
FLASH_MNG_TOOLS_LICENSE_FILES = LICENSES/BSD-3-Clause.txt LICENSES/GPL-2.0-only.txt
FLASH_MNG_TOOLS_DEPENDENCIES = cli11 fmt json-for-modern-cpp nettle
FLASH_MNG_TOOLS_SUPPORTS_IN_SOURCE_BUILD = NO
FLASH_MNG_TOOLS_INSTALL_STAGING = YES
FLASH_MNG_TOOLS_CONF_OPTS = -DFLASH_MNG_TESTS=OFF -DFLASH_MNG_WERROR=OFF \
	-DNETTLE_LIBRARY=$(STAGING_DIR)/usr/lib/libnettle.$(if $(BR2_STATIC_LIBS),a,so)

$(eval $(cmake-package))
