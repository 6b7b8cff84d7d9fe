# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# The name begins with kernel-module-, so that modules which have this in their DEPENDS get its Module.symvers. The same holds for the
# platform's own recipe, whose functions flash_mng calls: a board's configuration names it in FLASH_MNG_PLATFORM.

SUMMARY = "Flash manager of an embedded board"
SECTION = "kernel/modules"
LICENSE = "BSD-3-Clause | GPL-2.0-only"
LIC_FILES_CHKSUM = "file://../LICENSES/BSD-3-Clause.txt;md5=8528f27fa2f36a3ceec205bd72fc23ae \
                    file://../LICENSES/GPL-2.0-only.txt;md5=b234ee4d69f5fce4486a80fdaf4a4263"

inherit module

FLASH_MNG_PLATFORM ?= "kernel-module-flash-mng-platform"
DEPENDS += "${FLASH_MNG_PLATFORM}"

# The clone that this layer is a part of.
FLASH_MNG_CLONE = "${THISDIR}/../../../.."
PV = "${@open('${FLASH_MNG_CLONE}/VERSION').read().strip()}"
FILESEXTRAPATHS:prepend := "${FLASH_MNG_CLONE}:"
SRC_URI = "file://flash_mng_kernel file://LICENSES file://packages/system"
S = "${WORKDIR}/flash_mng_kernel"

COMPATIBLE_HOST = "aarch64.*-linux"

# C++ headers of the compiler are in the sysroot.
EXTRA_OEMAKE += "FLASH_MNG_CXX='${HOST_PREFIX}g++ ${TOOLCHAIN_OPTIONS}'"

KERNEL_MODULE_AUTOLOAD += "flash_mng"

# The control device stays root's, on boards with udev.
PACKAGES =+ "${PN}-udev"
FILES:${PN}-udev = "${nonarch_base_libdir}/udev/rules.d"

do_install:append() {
	install -d ${D}${nonarch_base_libdir}/udev/rules.d
	install -m 0644 ${WORKDIR}/packages/system/udev/rules.d/60-flash_mng.rules ${D}${nonarch_base_libdir}/udev/rules.d
}
