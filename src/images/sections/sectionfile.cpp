#include "images/sections/sectionfile.h"

#include "images/files/imagereader.h"
#include "images/files/tiffimagefile.h"
#include "images/rasters/colormapexpansion.h"
#include "images/rasters/image.h"

namespace vorlen {

SectionFile::SectionFile(const std::string& filename, int page, int channel)
    : __filename(filename), __isLevelFile(false), __page(page), __channel(channel) {
    open();
}

SectionFile::SectionFile(const std::string& levelFile) : __filename(levelFile), __isLevelFile(true) {
    open();
}

SectionFile::~SectionFile() = default;

void SectionFile::open() {
    if (__isLevelFile)
        __file = std::make_unique<TiffImageFile>(__filename);
    else
        __file = ImageFile::open(__filename);
    ImageHeader header;
    header.setImageFormat(__file->getFormat());
    __file->getPage(__page).fillHeader(header, __channel);
    if (header.hasColormap()) {
        Image pixel;
        pixel.init(1, 1, 8);
        pixel.setColormap(*header.getColormap());
        pixel.clear();
        ColormapExpansion::removeColormap(pixel);
        header.deleteColormap();
        header.setDepth(pixel.getDepth());
    }
    __levels = __file->getLevels(__page);
    __header.swap(header);
}

bool SectionFile::read(Image& image, int level, const PixelWindow& part, const std::stop_token& stop) {
    if (__file == nullptr)
        open();
    ImageReader reader;
    const std::stop_callback stopping(stop, [&reader] { reader.cancel(); });
    Image result;
    try {
        reader.readPart(result, *__file, __page, __channel, level, part);
    } catch (...) {
        __file.reset(); // some libraries give nothing more after an error
        throw;
    }
    if (stop.stop_requested())
        return false;
    ColormapExpansion::removeColormap(result);
    image.swap(result);
    return true;
}

} // namespace vorlen
