#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace vorlen {

/// An empty folder that lives as long as this object.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "vorlen-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr)
            std::abort();
        __path = pattern;
    }

    ~TemporaryFolder() {
        std::error_code error;
        std::filesystem::remove_all(__path, error);
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return __path; }
    /// Path of a file in the folder.
    std::string file(const std::string& name) const { return __path + "/" + name; }

    /// Makes a file of these bytes and returns its path.
    std::string write(const std::string& name, const std::string& bytes) const {
        std::ofstream(file(name), std::ios::binary) << bytes;
        return file(name);
    }

    std::string read(const std::string& name) const {
        std::ifstream stream(file(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    }

    int numFiles() const { return static_cast<int>(std::distance(std::filesystem::directory_iterator(__path), {})); }

private:
    std::string __path;
};

} // namespace vorlen
