# RoutetrieSuites: routetrie_discover_suites(PROGRAM LABEL) gives ctest one entry a suite of a GoogleTest program, named
# PROGRAM.SUITE. Thousands of cases run in seconds that way, where a process for each takes minutes; the output of a suite
# that fails names the case. What suites there are is asked of the program when ctest starts, and again when it was rebuilt.
set(ROUTETRIE_SUITES_SCRIPT "${CMAKE_CURRENT_LIST_DIR}/RoutetrieListSuites.cmake")

function(routetrie_discover_suites program label)
   set(list "${CMAKE_CURRENT_BINARY_DIR}/${program}-suites.cmake")
   set(asking "${CMAKE_CURRENT_BINARY_DIR}/${program}-ask.cmake")
   file(GENERATE OUTPUT "${asking}" CONTENT
"set(program [==[$<TARGET_FILE:${program}>]==])
set(name [==[${program}]==])
set(label [==[${label}]==])
set(list [==[${list}]==])
include([==[${ROUTETRIE_SUITES_SCRIPT}]==])
")
   set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${asking}")
endfunction()
