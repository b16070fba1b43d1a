# Installation and the Debian packages CPack makes from it, one per component:
#   runtime      libpelmorsocket1      both shared libraries
#   development  libpelmorsocket-dev   public headers, CMake package, pkg-config file
#   tools        pelmor-tools          pelmor, pelmor-emulator, the sample handsets
include(CMakePackageConfigHelpers)

set(PELMOR_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/PelmorSocket)

# Installed, the library finds its platform layer beside itself, wherever the tree was put.
set_target_properties(PelmorSocket PROPERTIES INSTALL_RPATH "$ORIGIN")
# The public headers include Qt, which refuses to build without position-independent code.
set_target_properties(PelmorSocket PelmorPlatform PROPERTIES INTERFACE_POSITION_INDEPENDENT_CODE ON)

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

set(PELMOR_DEB_RUNTIME libpelmorsocket1)
set(PELMOR_DEB_DEVELOPMENT libpelmorsocket-dev)
set(PELMOR_DEB_TOOLS pelmor-tools)
foreach(component runtime development tools)
    string(TOUPPER ${component} upper)
    install(FILES ${CMAKE_CURRENT_LIST_DIR}/package/copyright
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${PELMOR_DEB_${upper}} COMPONENT ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libpelmorsocket)
set(CPACK_PACKAGE_VENDOR "libPelmorSocket developers")
set(CPACK_PACKAGE_CONTACT "libPelmorSocket developers <dev@pelmor.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(PELMOR_BUILD_TOOLS)
    list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)

# Runtime dependencies come from dpkg-shlibdeps alone; the platform layer is ours, found in the build.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/platform)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${PELMOR_DEB_RUNTIME})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION} (shared libraries)
 The client library and its platform layer, loaded by a desktop host at run time.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${PELMOR_DEB_DEVELOPMENT})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
# The headers include Qt 5 Core's and nothing else outside the package.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qtbase5-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${PROJECT_DESCRIPTION} (development files)
 Public headers, CMake package and pkg-config file.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${PELMOR_DEB_TOOLS})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "${PROJECT_DESCRIPTION} (command-line host and service emulator)
 pelmor drives every operation of the library from a shell; pelmor-emulator serves the service and the
 warranty-coverage site on loopback; sample handsets for both.")

# Loopback hosts: a warning when a package build is configured, and from cpack whatever the build was.
set(CPACK_PELMOR_SERVICE_HOST "${PELMOR_SERVICE_HOST}")
set(CPACK_PELMOR_COVERAGE_HOST "${PELMOR_COVERAGE_HOST}")
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/package/LoopbackWarning.cmake)
if(PELMOR_PACKAGE)
    include(${CPACK_PROJECT_CONFIG_FILE})
endif()
include(CPack)
