# RoutetrieListSuites: read by ctest for each test program (see RoutetrieSuites): writes what suites `program` has to `list`,
# unless the list is newer than the program, and reads it.
if(NOT EXISTS "${program}")
   add_test("${name}_NOT_BUILT" "${name}_NOT_BUILT")
   return()
endif()
if(NOT EXISTS "${list}" OR "${program}" IS_NEWER_THAN "${list}" OR "${CMAKE_CURRENT_LIST_FILE}" IS_NEWER_THAN "${list}")
   execute_process(COMMAND "${program}" --gtest_list_tests
      OUTPUT_VARIABLE output ERROR_VARIABLE error RESULT_VARIABLE result)
   if(NOT result EQUAL 0)
      message(FATAL_ERROR "${program} does not list its tests: ${result}\n${output}${error}")
   endif()
   # A suite's line is `Suite.`, perhaps with `  # TypeParam = ...` behind; its cases' lines are indented.
   string(REGEX REPLACE "[][;]" "_" output "${output}")
   string(REPLACE "\n" ";" lines "${output}")
   set(script)
   foreach(line IN LISTS lines)
      if(line MATCHES "^([^ ]+)\\.( +#.*)?$")
         set(suite "${CMAKE_MATCH_1}")
         string(APPEND script
            "add_test([==[${name}.${suite}]==] [==[${program}]==] [==[--gtest_filter=${suite}.*]==] --gtest_brief=1)\n"
            "set_tests_properties([==[${name}.${suite}]==] PROPERTIES LABELS ${label} TIMEOUT 1200)\n")
      endif()
   endforeach()
   if(NOT script)
      message(FATAL_ERROR "${program} has no test")
   endif()
   file(WRITE "${list}" "${script}")
endif()
include("${list}")
