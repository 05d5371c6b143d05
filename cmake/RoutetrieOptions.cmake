# RoutetrieOptions: what a build can be asked for, and the flags that all of the project's own code is built with. As a part
# of another project (add_subdirectory, FetchContent) it is the library alone unless that one asks for more, and nothing
# that is the other's to choose is set: no build type, no compiler launcher.

option(ROUTETRIE_BUILD_TOOL "Build the command rtrie" ${PROJECT_IS_TOP_LEVEL})
option(ROUTETRIE_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(ROUTETRIE_BUILD_BENCH "Build the benchmarks" OFF)
option(ROUTETRIE_BUILD_FUZZ "Build the fuzz targets with libFuzzer (clang); otherwise they only replay their corpus" OFF)
option(ROUTETRIE_INSTALL "Install the library, its headers and the command" ${PROJECT_IS_TOP_LEVEL})
option(ROUTETRIE_FAULT_INJECTION "Let tests make the n-th allocation fail" OFF)
option(ROUTETRIE_WERROR "Treat warnings as errors" ${PROJECT_IS_TOP_LEVEL})
option(ROUTETRIE_UNITY "Compile several sources as one, which takes a third of the time" ${PROJECT_IS_TOP_LEVEL})
set(ROUTETRIE_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize= (address,undefined or thread)")

# BUILD_SHARED_LIBS is the usual word; a shared library unless it says otherwise.
set(ROUTETRIE_SHARED ON)
if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
   set(ROUTETRIE_SHARED OFF)
endif()

set(CMAKE_CXX_EXTENSIONS OFF)
if(PROJECT_IS_TOP_LEVEL)
   if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
      set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
   endif()
   set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
   find_program(CCACHE_PROGRAM ccache)
   if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
      set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
   endif()
endif()

# Linked by every target of the project, exported to none.
add_library(routetrie_flags INTERFACE)
target_compile_options(routetrie_flags INTERFACE
   -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
   -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wundef
   $<$<BOOL:${ROUTETRIE_WERROR}>:-Werror>
   # A class's description tells where its members are stored; both compilers give that for any class without virtual bases.
   -Wno-invalid-offsetof
   # A node's constructor may rely on memory that its caller zeroed.
   $<$<CXX_COMPILER_ID:GNU>:-flifetime-dse=1>
   # g++ 12 at -O3 finds an overlap that cannot be in its own `"text" + std::string`.
   $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
# g++ collects its own garbage at small heaps, which takes an eighth of its time. A gigabyte (told in KiB) is hardly ever reached.
if(PROJECT_IS_TOP_LEVEL)
   target_compile_options(routetrie_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:--param=ggc-min-heapsize=1000000>)
endif()
# What the standard library can see of a broken rule, such as a view cut beyond its end, ends a test instead of some other day.
if(PROJECT_IS_TOP_LEVEL AND ROUTETRIE_BUILD_TESTS)
   target_compile_definitions(routetrie_flags INTERFACE _GLIBCXX_ASSERTIONS)
endif()
if(ROUTETRIE_FAULT_INJECTION)
   target_compile_definitions(routetrie_flags INTERFACE ROUTETRIE_FAULT_INJECTION=1)
endif()
if(ROUTETRIE_SANITIZE)
   target_compile_options(routetrie_flags INTERFACE
      -fsanitize=${ROUTETRIE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
   target_link_options(routetrie_flags INTERFACE -fsanitize=${ROUTETRIE_SANITIZE})
endif()
# Linked behind routetrie_flags by what takes longer to compile than it runs: tests, and the command, whose parser of arguments alone
# would take minutes. These four check every use of a pointer, and find little that the address sanitizer doesn't. The library and what
# reads tables keep them.
add_library(routetrie_fewer_checks INTERFACE)
if(ROUTETRIE_SANITIZE MATCHES "undefined")
   target_compile_options(routetrie_fewer_checks INTERFACE -fno-sanitize=null,alignment,object-size,vptr)
endif()
if(ROUTETRIE_BUILD_FUZZ)
   target_compile_options(routetrie_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# routetrie_unity(TARGET N): its sources are compiled N at a time; 0: all at once. Most of what it takes to compile one is headers, and
# what several sources make of the same templates. So no two sources of a target give different things the same name: those
# of a test stand in a namespace of the file's name.
function(routetrie_unity target count)
   set_target_properties(${target} PROPERTIES UNITY_BUILD ${ROUTETRIE_UNITY} UNITY_BUILD_BATCH_SIZE ${count})
endfunction()
