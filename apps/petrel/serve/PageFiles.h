// The files of the camera page and of the operator's page, which are part of the program.
#pragma once

#include <string_view>

namespace petrel {

struct PageFile {
    std::string_view path;  // "/", "/operator", "/page/camera.js"
    std::string_view contentType;
    std::string_view tag;  // changes with the content, in quotes
    std::string_view content;
};

// Null when there is none of exactly this path.
const PageFile* FindPageFile(std::string_view path);

}  // namespace petrel
