# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only

# with_warnings(TARGET...): the warnings that all of our own code is free of. GCC 12 takes a text + std::string for an overlapping copy.
function(with_warnings)
	foreach(target IN LISTS ARGN)
		target_compile_options(${target} PRIVATE -Wall -Wextra $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>)
		if(FLASH_MNG_WERROR)
			target_compile_options(${target} PRIVATE -Werror)
		endif()
	endforeach()
endfunction()
