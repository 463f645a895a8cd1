# A library beside libvantoro, graph/ or quiet/: what its objects, vantoro_${name}_objects, have in common, and the
# libraries made of them, shared and as an archive, with the one public header vantoro_${name}.h in `include_dir`.
function(vantoro_library_beside name include_dir)
    set(objects vantoro_${name}_objects)
    set_target_properties(${objects} PROPERTIES
        POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_include_directories(${objects} PRIVATE $<TARGET_PROPERTY:vantoro,INTERFACE_INCLUDE_DIRECTORIES>)

    set(library vantoro_${name})
    add_library(${library} SHARED $<TARGET_OBJECTS:${objects}>)
    add_library(vantoro::${name} ALIAS ${library})
    target_link_libraries(${library} PUBLIC vantoro PRIVATE m)
    target_link_options(${library} PRIVATE -Wl,--gc-sections -Wl,--as-needed)
    set_target_properties(${library} PROPERTIES
        LINKER_LANGUAGE C VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} EXPORT_NAME ${name}
        BUILD_RPATH_USE_ORIGIN ON)  # the folder of a build is not in what it makes: its build-id would stay after install

    add_library(${library}_static STATIC $<TARGET_OBJECTS:${objects}>)
    add_library(vantoro::${name}_static ALIAS ${library}_static)
    target_link_libraries(${library}_static PUBLIC vantoro_static)
    set_target_properties(${library}_static PROPERTIES
        LINKER_LANGUAGE CXX OUTPUT_NAME ${library} EXPORT_NAME ${name}_static)

    # In the build tree too the header is where it is installed.
    set(place ${CMAKE_CURRENT_BINARY_DIR}/include/${include_dir})
    file(MAKE_DIRECTORY ${place})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${library}.h ${place}/${library}.h SYMBOLIC)
    foreach(target ${library} ${library}_static)
        target_include_directories(${target} INTERFACE
            $<BUILD_INTERFACE:${CMAKE_CURRENT_BINARY_DIR}/include> $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}>)
    endforeach()
    install(FILES ${library}.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${include_dir} COMPONENT development)
    set_property(GLOBAL APPEND PROPERTY VANTORO_BESIDE ${library})
endfunction()
