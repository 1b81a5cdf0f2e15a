#pragma once

#include <memory>
#include <optional>
#include <string>

#include "images/sections/tiledsection.h"

namespace vorlen {

class ImageSource;

/// Where a picture lies: page from 0, channel from 1 with 0 for all, as ImageReader counts them.
struct FilePage {
    std::string filename;
    int page = 0;
    int channel = 0;
};

/// Of a source that is a file, or a page or channel of one; nothing for all other sources.
std::optional<FilePage> filePageOf(const ImageSource& source);

/// Whether an image source is a file, or a page or channel of one, that is too large to be read as a whole.
bool isLargeSection(const ImageSource& source);

/// The section of a source that is a file, or a page or channel of one, of any size; null for all other sources. Throws
/// as the constructor of TiledSection.
std::unique_ptr<TiledSection> openSection(const ImageSource& source, const LevelStore& store = LevelStore(),
                                          std::size_t memory = TiledSection::defaultMemory);

/// The section of a large source; null for all other sources. Throws as the constructor of TiledSection.
std::unique_ptr<TiledSection> openLargeSection(const ImageSource& source, const LevelStore& store = LevelStore(),
                                               std::size_t memory = TiledSection::defaultMemory);

} // namespace vorlen
