# Debian packages: cpack --config BUILD_DIR/CPackConfig.cmake writes libvantoro1, libvantoro-dev and vantoro. They install
# below /usr/lib; a build configured with -DCMAKE_INSTALL_PREFIX=/usr takes the architecture's own folder there.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "libvantoro maintainers <maintainers@libvantoro.org>" CACHE STRING "Maintainer of the packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/finish_packages.cmake)
set(CPACK_COMPONENTS_ALL library development)
if(VANTORO_BUILD_HOST)
    list(APPEND CPACK_COMPONENTS_ALL program)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(vantoro_library libvantoro${PROJECT_VERSION_MAJOR})

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${vantoro_library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "Filters, dynamics, mixers, switches, sources, level detectors, volume
controls and a reverb, a second, quieter arithmetic of filters, and the runtime that plays a graph of blocks.")
file(WRITE ${PROJECT_BINARY_DIR}/triggers "activate-noawait ldconfig\n")
file(WRITE ${PROJECT_BINARY_DIR}/shlibs "")
foreach(name vantoro ${vantoro_beside})
    file(APPEND ${PROJECT_BINARY_DIR}/shlibs
        "lib${name} ${PROJECT_VERSION_MAJOR} ${vantoro_library} (>= ${PROJECT_VERSION})\n")
endforeach()
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/triggers ${PROJECT_BINARY_DIR}/shlibs)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvantoro-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${vantoro_library} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "Headers, archives for static products, CMake package and pkg-config files
of libvantoro and the libraries beside it.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME vantoro)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${vantoro_library} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib ${PROJECT_BINARY_DIR}/graph
    ${PROJECT_BINARY_DIR}/quiet)
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION "The program: runs schematics of libvantoro's blocks over sound files, draws
their frequency responses, exports them as C or as a preset for a product.")
include(CPack)
