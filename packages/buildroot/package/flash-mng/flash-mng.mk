################################################################################
# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# flash-mng, from the clone that this external tree is a part of
#
################################################################################

FLASH_MNG_SITE = $(BR2_EXTERNAL_FLASH_MNG_PATH)/../..
FLASH_MNG_SITE_METHOD = local
FLASH_MNG_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude /build
FLASH_MNG_VERSION = $(shell cat $(FLASH_MNG_SITE)/VERSION)
FLASH_MNG_LICENSE = BSD-3-Clause or GPL-2.0
FLASH_MNG_LICENSE_FILES = LICENSES/BSD-3-Clause.txt LICENSES/GPL-2.0-only.txt
FLASH_MNG_DEPENDENCIES = $(call qstrip,$(BR2_PACKAGE_FLASH_MNG_PLATFORM))

FLASH_MNG_MODULE_SUBDIRS = flash_mng_kernel
FLASH_MNG_MODULE_MAKE_OPTS = KBUILD_EXTRA_SYMBOLS="$(call qstrip,$(BR2_PACKAGE_FLASH_MNG_SYMBOLS))"

# The control device stays root's, on boards with udev.
define FLASH_MNG_INSTALL_TARGET_CMDS
	$(INSTALL) -D -m 0644 $(@D)/packages/system/udev/rules.d/60-flash_mng.rules \
		$(TARGET_DIR)/lib/udev/rules.d/60-flash_mng.rules
endef

$(eval $(kernel-module))
$(eval $(generic-package))
