# Writes files of a folder into one C++ source: cmake -DFOLDER=... -DFILES=... -DOUTPUT=... -P EmbedPage.cmake
# index.html becomes "/", operator.html "/operator", everything else "/page/<path>".
set(types
    "html=text/html\\; charset=utf-8" "css=text/css\\; charset=utf-8" "js=text/javascript\\; charset=utf-8"
    "svg=image/svg+xml")

set(arrays "")
set(table "")
set(count 0)
foreach(file IN LISTS FILES)
    string(REGEX MATCH "[^.]*$" extension "${file}")
    set(type "")
    foreach(entry IN LISTS types)
        if(entry MATCHES "^${extension}=(.*)$")
            set(type "${CMAKE_MATCH_1}")
        endif()
    endforeach()
    if(type STREQUAL "")
        message(FATAL_ERROR "${file} is of no type that browsers are told")
    endif()
    if(file STREQUAL "index.html")
        set(path "/")
    elseif(file STREQUAL "operator.html")
        set(path "/operator")
    else()
        set(path "/page/${file}")
    endif()
    file(READ "${FOLDER}/${file}" bytes HEX)
    file(SHA256 "${FOLDER}/${file}" digest)
    string(SUBSTRING "${digest}" 0 32 tag)
    string(LENGTH "${bytes}" digits)
    math(EXPR size "${digits} / 2")
    string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
    string(APPEND arrays "constexpr unsigned char kFile${count}[] = {\n${bytes}0x00};\n")
    string(APPEND table "    {\"${path}\", \"${type}\", \"\\\"${tag}\\\"\", Content(kFile${count}, ${size})},\n")
    math(EXPR count "${count} + 1")
endforeach()

set(text "// Written by EmbedPage.cmake.
#include <cstddef>

#include \"apps/petrel/serve/PageFiles.h\"

namespace petrel {
namespace {

[[maybe_unused]] std::string_view Content(const unsigned char* bytes, std::size_t size) {
    return {reinterpret_cast<const char*>(bytes), size};
}

${arrays}
const PageFile kFiles[] = {
${table}    {},
};

}  // namespace

const PageFile* FindPageFile(std::string_view path) {
    for (const PageFile& file : kFiles)
        if (!path.empty() && file.path == path) return &file;
    return nullptr;
}

}  // namespace petrel
")
file(WRITE "${OUTPUT}" "${text}")
