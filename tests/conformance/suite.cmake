# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# conformance_suite: the cases, once for each world; a back end of harness.hpp is added by who includes this.
file(GLOB conformance_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/conformance/*.cpp)
set(conformance_include_dirs ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/tests/conformance ${PROJECT_SOURCE_DIR}/simulation
	${PROJECT_SOURCE_DIR}/flash_mng_kernel
	${PROJECT_SOURCE_DIR}/flash_mng_kernel/include)
# What every case includes, compiled once for all of a program.
set(conformance_precompiled ${PROJECT_SOURCE_DIR}/tests/conformance/case.hpp)
set(conformance_boards_dir ${PROJECT_SOURCE_DIR}/tests/conformance/boards)
