#include "images/files/imagefile.h"
#include "images/files/imagereader.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace vorlen {

/// Bytes as an image file of any format: whatever they are, its layout and its first pages end with images or an
/// Exception, and a page that was described is read or told to be damaged.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const std::string filename = "/tmp/vorlen-fuzz-pages-" + std::to_string(::getpid()) + ".tif";
    std::FILE* file = std::fopen(filename.c_str(), "wb");
    if (file == nullptr)
        return 0;
    std::fwrite(bytes, 1, size, file);
    std::fclose(file);
    try {
        const std::unique_ptr<ImageFile> open = ImageFile::open(filename);
        const StackLayout layout = open->getLayout();
        const int numPages = std::min(open->getNumPages(), 4);
        bool isSmall = false;
        for (int page = 0; page < numPages; ++page) {
            const ImagePage described = open->getPage(page);
            // What takes the time of a run is no fault.
            if (std::uint64_t(described.width) * std::uint64_t(described.height) > 1 << 20)
                continue;
            isSmall = isSmall || page == 0;
            Image image;
            ImageReader().read(image, *open, page, 0);
            if (described.numSamples > 1)
                ImageReader().read(image, *open, page, described.numSamples);
        }
        if (layout.numPlanes > 0 && isSmall)
            ImageReader().measure(filename, 0, 0);
    } catch (const Exception&) {
    }
    std::remove(filename.c_str());
    return 0;
}

} // namespace vorlen
