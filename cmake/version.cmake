# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# flash_mng_version: the one version of all that is in this repository, from the file VERSION.
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/../VERSION flash_mng_version)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/../VERSION)
