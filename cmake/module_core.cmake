# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# flash_mng_core: the C++ part of the module, compiled for the desk. Everything that it needs from Linux and from the platform is left
# undefined here; who links it brings it (tests/host). flash_mng_core_counted counts which of its lines and branches run, without the
# branches that the sanitizer for undefined behaviour adds.
set(module_dir ${PROJECT_SOURCE_DIR}/flash_mng_kernel)
file(GLOB module_core_sources CONFIGURE_DEPENDS ${module_dir}/frame/*.cpp ${module_dir}/config/*.cpp ${module_dir}/datapath/*.cpp
	${module_dir}/ioctl/*.cpp ${module_dir}/spi/*.cpp ${module_dir}/kernel/*.cpp)

function(add_module_core core)
	add_library(${core} OBJECT ${module_core_sources})
	target_include_directories(${core} PUBLIC ${module_dir} ${module_dir}/include ${PROJECT_SOURCE_DIR}/tests/host)
	target_compile_options(${core} PRIVATE -fno-exceptions -fno-rtti -fno-threadsafe-statics -Wno-unused-parameter
		-Wno-missing-field-initializers)
	# What no call stores is not what an earlier call left there.
	target_compile_options(${core} PRIVATE -ftrivial-auto-var-init=pattern)
	# The simulation stands between a command and the function of the module that it asks, so that this function can be made to fail.
	target_link_options(${core} PUBLIC LINKER:--wrap=drv_flash_get_nand_is_exist)
	with_warnings(${core})
endfunction()

add_module_core(flash_mng_core)
add_module_core(flash_mng_core_counted)
set_target_properties(flash_mng_core_counted PROPERTIES EXCLUDE_FROM_ALL ON)
target_compile_options(flash_mng_core_counted PRIVATE --coverage -O0 -fprofile-update=atomic -fno-sanitize=undefined)
target_link_options(flash_mng_core_counted PUBLIC --coverage)
