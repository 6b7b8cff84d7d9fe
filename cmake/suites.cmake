# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# add_suite(PROGRAM [SHARDS N] [AFTER PROGRAM]): a GoogleTest program as N tests of CTest, each with its share of the cases, under the
# limits of tests/limited. Share I reports to results/PROGRAM.I.xml. AFTER: not before that other suite is over. suites/PROGRAM tells who
# adds up the reports how many there are to be, and which program lists the cases.
file(REMOVE_RECURSE ${CMAKE_BINARY_DIR}/suites)

function(add_suite program)
	cmake_parse_arguments(PARSE_ARGV 1 suite "" "SHARDS;AFTER" "")
	if(NOT suite_SHARDS)
		set(suite_SHARDS 1)
	endif()
	foreach(shard RANGE 1 ${suite_SHARDS})
		set(name ${program}.${shard})
		math(EXPR index "${shard} - 1")
		add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/tests/limited ${CMAKE_BINARY_DIR}/results/${name}.limit
			$<TARGET_FILE:${program}> --gtest_output=xml:${CMAKE_BINARY_DIR}/results/${name}.xml)
		set_tests_properties(${name} PROPERTIES TIMEOUT 0
			ENVIRONMENT "GTEST_TOTAL_SHARDS=${suite_SHARDS};GTEST_SHARD_INDEX=${index}")
		if(suite_AFTER)
			get_property(before GLOBAL PROPERTY suite_${suite_AFTER})
			set_tests_properties(${name} PROPERTIES DEPENDS "${before}")
		endif()
		set_property(GLOBAL APPEND PROPERTY suite_${program} ${name})
	endforeach()
	file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/suites/${program} CONTENT "${suite_SHARDS} $<TARGET_FILE:${program}>\n")
endfunction()
