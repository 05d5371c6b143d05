# RoutetrieInstall: what `cmake --install` leaves behind: the library, its headers under include/routetrie, the
# command, and what find_package(routetrie) and pkg-config read. tests/install builds a project on it.
if(NOT ROUTETRIE_INSTALL)
   return()
endif()
include(CMakePackageConfigHelpers)

set(configDir "${CMAKE_INSTALL_LIBDIR}/cmake/routetrie")

set(targets routetrie)
set(ROUTETRIE_PC_LIBS "-lroutetrie")
set(ROUTETRIE_PC_LIBS_PRIVATE "-pthread")
if(NOT ROUTETRIE_SHARED)
   list(APPEND targets routetrieArchive)
   set(ROUTETRIE_PC_LIBS "-Wl,--whole-archive -lroutetrie -Wl,--no-whole-archive -pthread")
   set(ROUTETRIE_PC_LIBS_PRIVATE)
endif()
if(TARGET routetrie_readers)
   list(APPEND targets routetrie_readers)
   set(ROUTETRIE_PC_URCU)
   set(ROUTETRIE_PC_URCU_PRIVATE liburcu-bp)
   if(NOT ROUTETRIE_SHARED)  # whoever links it links what it stands on
      set(ROUTETRIE_PC_URCU ", liburcu-bp")
   endif()
endif()
install(TARGETS ${targets} EXPORT routetrieTargets
   LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
   ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/routetrie" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
   FILES_MATCHING PATTERN "*.h")
install(EXPORT routetrieTargets NAMESPACE routetrie:: DESTINATION "${configDir}")

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/routetrieConfig.cmake.in"
   "${PROJECT_BINARY_DIR}/routetrieConfig.cmake" INSTALL_DESTINATION "${configDir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/routetrieConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/routetrieConfig.cmake" "${PROJECT_BINARY_DIR}/routetrieConfigVersion.cmake"
   DESTINATION "${configDir}")

# The prefix that `cmake --install --prefix` is given is not known here, so routetrie.pc finds its own from where it lies.
file(RELATIVE_PATH ROUTETRIE_PC_TO_PREFIX "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/routetrie.pc.in" "${PROJECT_BINARY_DIR}/routetrie.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/routetrie.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
if(TARGET routetrie_readers)
   configure_file("${PROJECT_SOURCE_DIR}/cmake/routetrie-shared.pc.in" "${PROJECT_BINARY_DIR}/routetrie-shared.pc" @ONLY)
   install(FILES "${PROJECT_BINARY_DIR}/routetrie-shared.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
   # It finds the other library beside itself.
   set_target_properties(routetrie_readers PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()

# tools/rtrie installs the command, which finds the library beside itself, wherever the two were put.
if(TARGET rtrie)
   file(RELATIVE_PATH binToLib "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
   set_target_properties(rtrie PROPERTIES INSTALL_RPATH "$ORIGIN/${binToLib}")
endif()
