#pragma once

#include <filesystem>
#include <string>

#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "support/temporaryfolder.h"

namespace vorlen {

/// A folder for stack descriptions and their images, which may lie in folders below it.
class StackFolder : public TemporaryFolder {
public:
    /// Makes the file with this text, and its directory.
    std::string write(const std::string& name, const std::string& text) const {
        makeDirectoryOf(name);
        return TemporaryFolder::write(name, text);
    }

    /// Makes a black 8-bit image of this size, and its directory.
    std::string writeImage(const std::string& name, int width, int height) const {
        makeDirectoryOf(name);
        Image image(width, height, 8);
        image.clear();
        ImageWriter().write(image, file(name), true);
        return file(name);
    }

private:
    void makeDirectoryOf(const std::string& name) const {
        std::filesystem::create_directories(std::filesystem::path(file(name)).parent_path());
    }
};

} // namespace vorlen
