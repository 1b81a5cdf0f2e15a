#include "images/rasters/image.h"
#include "numerics/exception.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace vorlen {

/// Bytes as an image file: whatever they are, reading ends with an image or an Exception.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const std::string filename = "/tmp/vorlen-fuzz-image-" + std::to_string(::getpid()) + ".tif";
    std::FILE* file = std::fopen(filename.c_str(), "wb");
    if (file == nullptr)
        return 0;
    std::fwrite(bytes, 1, size, file);
    std::fclose(file);
    try {
        Image image;
        image.readFile(filename);
        image.make8bitsGrayscale();
    } catch (const Exception&) {
    }
    std::remove(filename.c_str());
    return 0;
}

} // namespace vorlen
