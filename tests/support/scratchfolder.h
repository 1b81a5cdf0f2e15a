#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <stdlib.h>
#include <string>

/// A new folder for the files of one test, removed with all it holds at the end of the test.
class ScratchFolder {
public:
    ScratchFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "vorlen-XXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw std::runtime_error("Cannot make a folder for a test");
        __path = name;
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(__path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    /// Path of a file in the folder.
    std::string file(const std::string& name) const { return (__path / name).string(); }

    /// Writes the bytes to a file in the folder and returns its path.
    std::string write(const std::string& name, const std::string& bytes) const {
        std::ofstream(file(name), std::ios::binary) << bytes;
        return file(name);
    }

    /// All bytes of a file in the folder; empty when there is none.
    std::string read(const std::string& name) const {
        std::ifstream stream(file(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }

    /// Number of entries in the folder.
    int count() const {
        const std::filesystem::directory_iterator entries(__path);
        return static_cast<int>(std::distance(begin(entries), end(entries)));
    }

private:
    std::filesystem::path __path;
};
