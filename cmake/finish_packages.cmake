# Run by cpack on the staged files: what Debian wants in each package, and no search path of a private installation.
cmake_minimum_required(VERSION 3.22)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    set(epoch $ENV{SOURCE_DATE_EPOCH})
else()
    string(TIMESTAMP epoch %s UTC)
endif()
execute_process(COMMAND date -u -R -d @${epoch} OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    set(name ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    set(staged ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr)
    set(doc ${staged}/share/doc/${name})
    file(WRITE ${doc}/copyright "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/

Files: *
Copyright: 2026 the libvantoro authors
License: Apache-2.0
 On Debian systems the text of the Apache License 2.0 is in
 /usr/share/common-licenses/Apache-2.0.
")
    file(WRITE ${doc}/changelog "${name} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * Release ${CPACK_PACKAGE_VERSION}.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
    execute_process(COMMAND gzip -9n ${doc}/changelog COMMAND_ERROR_IS_FATAL ANY)
    file(GLOB programs ${staged}/bin/*)
    foreach(program IN LISTS programs)
        file(RPATH_REMOVE FILE ${program})
    endforeach()
endforeach()
