# What an installation holds: the libraries, shared and as archives, their public headers under <vantoro/...>, a CMake
# package and pkg-config files.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

if(BUILD_SHARED_LIBS)
    set(vantoro_installed vantoro)
endif()
if(TARGET vantoro_graph)
    list(APPEND vantoro_installed vantoro_graph vantoro_graph_static)
endif()
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
install(TARGETS vantoro_static ${vantoro_installed} EXPORT vantoroTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

foreach(header IN LISTS vantoro_public_headers)
    cmake_path(GET header PARENT_PATH directory)
    install(FILES ${PROJECT_SOURCE_DIR}/lib/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vantoro/${directory})
endforeach()

if(TARGET vantoro_graph)
    install(FILES ${PROJECT_SOURCE_DIR}/graph/vantoro_graph.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vantoro)
endif()

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
set(vantoro_packages vantoro)
if(TARGET vantoro_graph)
    list(APPEND vantoro_packages vantoro_graph)
endif()
foreach(package IN LISTS vantoro_packages)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
