# Install rules, the CMake package config and the pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS kyoutils EXPORT kyoutils-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/kyo
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h" PATTERN "qt" EXCLUDE)
install(FILES ${PROJECT_BINARY_DIR}/include/kyo/kyoutils_export.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kyo)

set(kyo_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kyoutils)
install(EXPORT kyoutils-targets
  NAMESPACE kyo::
  DESTINATION ${kyo_cmake_dir})
export(EXPORT kyoutils-targets NAMESPACE kyo::
  FILE ${PROJECT_BINARY_DIR}/kyoutils-targets.cmake)

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/kyoutils-config.cmake.in
  ${PROJECT_BINARY_DIR}/kyoutils-config.cmake
  INSTALL_DESTINATION ${kyo_cmake_dir})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/kyoutils-config-version.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/kyoutils-config.cmake
  ${PROJECT_BINARY_DIR}/kyoutils-config-version.cmake
  DESTINATION ${kyo_cmake_dir})

# The pkg-config file finds its prefix from its own location, so an installed
# tree can be moved (the consumer test installs into a temporary folder).
set(KYO_PC_PREFIX "\${pcfiledir}")
string(REPLACE "/" ";" kyo_libdir_parts "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
foreach(part IN LISTS kyo_libdir_parts)
  string(APPEND KYO_PC_PREFIX "/..")
endforeach()
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(KYO_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
  set(KYO_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
else()
  set(KYO_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(KYO_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
else()
  set(KYO_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
if(BUILD_SHARED_LIBS)
  set(KYO_PC_CFLAGS "")
else()
  set(KYO_PC_CFLAGS "-DKYO_STATIC_DEFINE")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/kyoutils.pc.in
  ${PROJECT_BINARY_DIR}/kyoutils.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kyoutils.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(KYO_BUILD_APPS)
  install(TARGETS kyo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  # The demo survey: log, configuration, report template and vessel shapes (kyo replay).
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/data/
    DESTINATION ${CMAKE_INSTALL_DATADIR}/kyoutils/data)
endif()
