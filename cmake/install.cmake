# What an installation holds: the libraries, shared and as archives, their public headers under <vantoro/...>, a CMake
# package and pkg-config files.
include(CMakePackageConfigHelpers)

if(BUILD_SHARED_LIBS)
    set(vantoro_installed vantoro)
endif()
get_property(vantoro_beside GLOBAL PROPERTY VANTORO_BESIDE)
foreach(library IN LISTS vantoro_beside)
    list(APPEND vantoro_installed ${library} ${library}_static)
endforeach()
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
install(TARGETS vantoro_static ${vantoro_installed} EXPORT vantoroTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

foreach(header IN LISTS vantoro_public_headers)
    cmake_path(GET header PARENT_PATH directory)
    install(FILES ${PROJECT_SOURCE_DIR}/lib/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vantoro/${directory})
endforeach()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vantoro)
install(EXPORT vantoroTargets NAMESPACE vantoro:: DESTINATION ${package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/vantoroConfig.cmake.in
    ${PROJECT_BINARY_DIR}/vantoroConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vantoroConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vantoroConfig.cmake ${PROJECT_BINARY_DIR}/vantoroConfigVersion.cmake
    DESTINATION ${package_dir})

# Relative to the file's own place, so that the tree may be installed with --prefix, and moved.
foreach(dir LIBDIR INCLUDEDIR)
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_${dir} BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
        OUTPUT_VARIABLE VANTORO_PC_${dir})
endforeach()
if(VANTORO_QUIET)
    set(VANTORO_GRAPH_REQUIRES "Requires.private: vantoro_quiet")
endif()
foreach(package vantoro ${vantoro_beside})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
