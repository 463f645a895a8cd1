# Writes OUTPUT, a C++ source with the page's FILES as bytes, gzipped.
set(tables "")
set(rows "")
set(n 0)
foreach(file IN LISTS FILES)
    get_filename_component(name "${file}" NAME)
    execute_process(COMMAND ${GZIP} -9nc "${file}" OUTPUT_FILE "${OUTPUT}.gz" COMMAND_ERROR_IS_FATAL ANY)
    file(READ "${OUTPUT}.gz" bytes HEX)
    string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
    string(APPEND tables "constexpr unsigned char kFile${n}[] = {${bytes}};\n")
    string(APPEND rows "        PageFile{\"/${name}\", kFile${n}},\n")
    math(EXPR n "${n} + 1")
endforeach()
file(WRITE "${OUTPUT}" "// Made by embed.cmake.
#include <array>

#include \"server/gate.h\"

namespace vantoro {

namespace {

${tables}
}  // namespace

std::span<const PageFile> page_files()
{
    static constexpr std::array<PageFile, ${n}> kFiles = {
${rows}    };
    return kFiles;
}

}  // namespace vantoro
")
