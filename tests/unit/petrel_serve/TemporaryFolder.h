// A folder of a test's own, gone with it.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "apps/petrel/serve/StateFolder.h"

namespace tests {

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = testing::TempDir() + "petrel_serve_XXXXXX";
        path = mkdtemp(pattern.data());
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path Path() const { return path; }
    petrel::StateFolder State() const {
        std::string error;
        return *petrel::StateFolder::Open(path / "state", error);
    }
    std::string ReadState(const std::string& name) const {
        std::ifstream in(path / "state" / name, std::ios::binary);
        std::ostringstream content;
        content << in.rdbuf();
        return content.str();
    }
    void WriteState(const std::string& name, const std::string& content) const {
        std::ofstream(path / "state" / name, std::ios::binary) << content;
    }
    int ModeOf(const std::string& name) const {
        return static_cast<int>(std::filesystem::status(path / "state" / name).permissions()) & 07777;
    }

private:
    std::filesystem::path path;
};

}  // namespace tests
