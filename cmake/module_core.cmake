# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# flash_mng_core: the C++ part of the module, compiled for the desk. Everything that it needs from Linux and from the platform is left
# undefined here; who links it brings it (tests/host).
set(module_dir ${PROJECT_SOURCE_DIR}/flash_mng_kernel)
file(GLOB module_core_sources CONFIGURE_DEPENDS ${module_dir}/frame/*.cpp ${module_dir}/config/*.cpp ${module_dir}/datapath/*.cpp
	${module_dir}/ioctl/*.cpp ${module_dir}/spi/*.cpp ${module_dir}/kernel/*.cpp)

add_library(flash_mng_core OBJECT ${module_core_sources})
target_include_directories(flash_mng_core PUBLIC ${module_dir} ${module_dir}/include ${PROJECT_SOURCE_DIR}/tests/host)
target_compile_options(flash_mng_core PRIVATE -fno-exceptions -fno-rtti -fno-threadsafe-statics -Wno-unused-parameter
	-Wno-missing-field-initializers)
if(FLASH_MNG_COVERAGE)
	target_compile_options(flash_mng_core PRIVATE --coverage -O0 -fprofile-update=atomic)
	target_link_options(flash_mng_core PUBLIC --coverage)
endif()
with_warnings(flash_mng_core)
