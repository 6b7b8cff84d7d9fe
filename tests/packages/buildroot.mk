# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# Stands in for Buildroot: reads the external tree as it does, and builds with the make calls of its infrastructure for kernel modules.

BR2_PACKAGE_FLASH_MNG = y
BR2_PACKAGE_FLASH_MNG_PLATFORM = "our-platform"
BR2_PACKAGE_FLASH_MNG_SYMBOLS = "$(SYMBOLS)"
qstrip = $(strip $(subst ",,$(1)))
#"))
INSTALL = install
TARGET_DIR = $(BUILD_DIR)/target
LINUX_MAKE_FLAGS = HOSTCC=gcc ARCH=arm64 INSTALL_MOD_PATH=$(TARGET_DIR) CROSS_COMPILE=aarch64-linux-gnu- WERROR=0 \
		   REGENERATE_PARSERS=1 DEPMOD=true

kernel-module = module_packages += flash-mng
generic-package = packages += flash-mng
cmake-package = cmake_packages += flash-mng-tools

include $(BR2_EXTERNAL_FLASH_MNG_PATH)/external.mk

source_dir = $(BUILD_DIR)
module_make = $(MAKE) -j$(JOBS) -C $(LINUX_DIR) $(LINUX_MAKE_FLAGS) $(FLASH_MNG_MODULE_MAKE_OPTS)

show:
	@test "$(module_packages) $(packages) $(cmake_packages)" = "flash-mng flash-mng flash-mng-tools" || \
		{ echo "the packages are not registered once"; exit 1; }
	@test "$(FLASH_MNG_SITE_METHOD) $(FLASH_MNG_TOOLS_SITE_METHOD)" = "local local"
	@test "$(FLASH_MNG_TOOLS_VERSION) $(FLASH_MNG_TOOLS_LICENSE)" = "$(FLASH_MNG_VERSION) $(FLASH_MNG_LICENSE)"
	@test "$(FLASH_MNG_TOOLS_INSTALL_STAGING)" = YES
	@test -n "$(FLASH_MNG_VERSION)" -a -n "$(FLASH_MNG_LICENSE)"
	@test "$(FLASH_MNG_DEPENDENCIES)" = our-platform
	@for file in $(FLASH_MNG_LICENSE_FILES) $(FLASH_MNG_TOOLS_LICENSE_FILES) \
		$(addsuffix /Kbuild,$(FLASH_MNG_MODULE_SUBDIRS)); do \
		test -s $(FLASH_MNG_SITE)/$$file || { echo "no $$file"; exit 1; }; \
	done
	@echo "version $(FLASH_MNG_VERSION), $(FLASH_MNG_LICENSE)"

tools:
	@echo $(FLASH_MNG_TOOLS_CONF_OPTS)

build:
	mkdir -p $(source_dir) $(TARGET_DIR)
	rsync -a --exclude .git $(FLASH_MNG_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS) $(FLASH_MNG_SITE)/ $(source_dir)
	$(foreach dir,$(FLASH_MNG_MODULE_SUBDIRS),$(module_make) PWD=$(source_dir)/$(dir) M=$(source_dir)/$(dir) modules)
	$(foreach dir,$(FLASH_MNG_MODULE_SUBDIRS),$(module_make) PWD=$(source_dir)/$(dir) M=$(source_dir)/$(dir) modules_install)
	$(MAKE) -f $(firstword $(MAKEFILE_LIST)) $(source_dir)/.stamp_target_installed
	test -n "`find $(TARGET_DIR) -name flash_mng.ko`"

$(source_dir)/.stamp_target_installed:
	$(FLASH_MNG_INSTALL_TARGET_CMDS)
	test -s $(TARGET_DIR)/lib/udev/rules.d/60-flash_mng.rules

.PHONY: show tools build
