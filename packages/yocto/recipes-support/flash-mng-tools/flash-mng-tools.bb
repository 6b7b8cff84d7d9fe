# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# flashctl for the board, and in flash-mng-tools-dev the headers for programs that use /dev/flash_mng. CLI11, fmt and nlohmann-json are in
# the layer meta-oe.

SUMMARY = "Tool and headers of the flash manager of an embedded board"
SECTION = "console/utils"
LICENSE = "BSD-3-Clause | GPL-2.0-only"
LIC_FILES_CHKSUM = "file://LICENSES/BSD-3-Clause.txt;md5=8528f27fa2f36a3ceec205bd72fc23ae \
                    file://LICENSES/GPL-2.0-only.txt;md5=b234ee4d69f5fce4486a80fdaf4a4263"

inherit cmake

DEPENDS = "cli11 fmt nettle nlohmann-json"

# The clone that this layer is a part of.
FLASH_MNG_CLONE = "${THISDIR}/../../../.."
PV = "${@open('${FLASH_MNG_CLONE}/VERSION').read().strip()}"
FILESEXTRAPATHS:prepend := "${FLASH_MNG_CLONE}:"
SRC_URI = "file://CMakeLists.txt;subdir=source file://VERSION;subdir=source file://cmake;subdir=source file://client;subdir=source \
           file://tools;subdir=source file://flash_mng_kernel;subdir=source file://reference_platform;subdir=source \
           file://docs/man;subdir=source file://docs/troubleshooting.md;subdir=source \
           file://LICENSES;subdir=source"
S = "${WORKDIR}/source"

EXTRA_OECMAKE = "-DFLASH_MNG_TESTS=OFF -DFLASH_MNG_WERROR=OFF -DNETTLE_LIBRARY=${STAGING_LIBDIR}/libnettle.so"

FILES:${PN} += "${datadir}/flashctl ${datadir}/flash_mng ${datadir}/bash-completion ${datadir}/zsh"
