# Installation (library, platform layer, public headers, CMake package, pkg-config file) and the Debian
# package built by CPack from the same install rules.
include(CMakePackageConfigHelpers)

set(PELMOR_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/PelmorSocket)

install(TARGETS PelmorSocket PelmorPlatform EXPORT PelmorSocketTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/pelmor ${PROJECT_SOURCE_DIR}/platform/include/pelmor
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development FILES_MATCHING PATTERN "*.h")

install(EXPORT PelmorSocketTargets NAMESPACE PelmorSocket:: DESTINATION ${PELMOR_CMAKE_PACKAGE_DIR}
    COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/package/PelmorSocketConfig.cmake.in
    ${PROJECT_BINARY_DIR}/PelmorSocketConfig.cmake INSTALL_DESTINATION ${PELMOR_CMAKE_PACKAGE_DIR})
# The ABI follows the SONAME: any 1.x satisfies a request for 1.y with y <= x.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/PelmorSocketConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/PelmorSocketConfig.cmake ${PROJECT_BINARY_DIR}/PelmorSocketConfigVersion.cmake
    DESTINATION ${PELMOR_CMAKE_PACKAGE_DIR} COMPONENT development)

# The .pc file finds its prefix from its own place, so the same file serves /usr/local and the /usr of
# the Debian package.
file(RELATIVE_PATH PELMOR_PC_PREFIX_FROM_PCDIR /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" PELMOR_PC_PREFIX_FROM_PCDIR "${PELMOR_PC_PREFIX_FROM_PCDIR}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/package/pelmorsocket.pc.in ${PROJECT_BINARY_DIR}/pelmorsocket.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/pelmorsocket.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)

# One Debian package holding everything installed (library, headers, package files and, when built, the
# tools). Dependencies come from dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libpelmorsocket)
set(CPACK_PACKAGE_VENDOR "libPelmorSocket developers")
set(CPACK_PACKAGE_CONTACT "libPelmorSocket developers <dev@pelmor.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/platform)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qtbase5-dev, libboost-json1.81-dev")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
include(CPack)
