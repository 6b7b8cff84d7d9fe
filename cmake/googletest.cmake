# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# GoogleTest, built from the sources that Debian packages (googletest), so that it has the compiler and the sanitizers of the preset.
set(GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest source tree")
if(NOT EXISTS ${GOOGLETEST_SOURCE}/CMakeLists.txt)
	message(FATAL_ERROR "No GoogleTest sources in ${GOOGLETEST_SOURCE}: install the package googletest or set GOOGLETEST_SOURCE")
endif()
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(${GOOGLETEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
target_compile_options(gtest PRIVATE -w)
target_compile_options(gtest_main PRIVATE -w)
