# Installation: both libraries (versioned, with SONAME), the public headers flat under
# include/ktsip (users write #include <ktsip/KtSipMessage.h> with -I<prefix>/include; the
# implementation helpers listed in base/ and sip/CMakeLists.txt stay out), the exported
# CMake package KtSip (targets KtSip::ktutil and KtSip::ktsip), and the pkg-config files
# ktutil.pc and ktsip.pc.
include(CMakePackageConfigHelpers)

set(KTSIP_CMAKE_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/KtSip)
set(KTSIP_HEADER_INSTALL_DIR ${CMAKE_INSTALL_INCLUDEDIR}/ktsip)

install(TARGETS ktutil ktsip
  EXPORT KtSipTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  PUBLIC_HEADER DESTINATION ${KTSIP_HEADER_INSTALL_DIR} COMPONENT development)

install(EXPORT KtSipTargets
  NAMESPACE KtSip::
  FILE KtSipTargets.cmake
  DESTINATION ${KTSIP_CMAKE_INSTALL_DIR}
  COMPONENT development)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KtSipConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KtSipConfig.cmake
  INSTALL_DESTINATION ${KTSIP_CMAKE_INSTALL_DIR})
# 0.x releases may break the interface at every minor version.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KtSipConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/KtSipConfig.cmake ${PROJECT_BINARY_DIR}/KtSipConfigVersion.cmake
  DESTINATION ${KTSIP_CMAKE_INSTALL_DIR}
  COMPONENT development)

# pkg-config files locate the prefix relative to themselves (${pcfiledir}), so an
# installation can be moved, or made with `cmake --install --prefix DIR`.
set(KTSIP_PKGCONFIG_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH KTSIP_PC_TO_PREFIX
  /KTSIP_PREFIX/${KTSIP_PKGCONFIG_INSTALL_DIR} /KTSIP_PREFIX)
string(REGEX REPLACE "/$" "" KTSIP_PC_TO_PREFIX "${KTSIP_PC_TO_PREFIX}")
foreach(pc ktutil ktsip)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc}.pc.in ${PROJECT_BINARY_DIR}/${pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${pc}.pc
    DESTINATION ${KTSIP_PKGCONFIG_INSTALL_DIR}
    COMPONENT development)
endforeach()
