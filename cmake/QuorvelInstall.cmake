# SPDX-License-Identifier: Apache-2.0
# What an installed Quorvel consists of: headers, the shared library, the program, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS quorvel EXPORT quorvelTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/quorvel" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(WIN32)  # for linkers that make their own import library
  install(FILES "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/quorvel.def" DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()
if(TARGET quorvel-host)
  set_target_properties(quorvel-host PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS quorvel-host RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quorvel)
install(EXPORT quorvelTargets NAMESPACE quorvel:: DESTINATION ${package_dir})
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/quorvel-config.cmake.in"
  "${PROJECT_BINARY_DIR}/quorvel-config.cmake" INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/quorvel-config-version.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/quorvel-config.cmake" "${PROJECT_BINARY_DIR}/quorvel-config-version.cmake"
  DESTINATION ${package_dir})

configure_file("${PROJECT_SOURCE_DIR}/cmake/quorvel.pc.in" "${PROJECT_BINARY_DIR}/quorvel.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/quorvel.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quorvel)
