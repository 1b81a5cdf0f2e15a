#include "images/sections/sectionsource.h"

#include "images/files/imagesourcefile.h"
#include "images/files/imagesourcepage.h"

namespace vorlen {

std::optional<FilePage> filePageOf(const ImageSource& source) {
    if (const auto* const file = dynamic_cast<const ImageSourceFile*>(&source))
        return FilePage{file->getFilename(), 0, 0};
    if (const auto* const page = dynamic_cast<const ImageSourcePage*>(&source))
        return FilePage{page->getFilename(), page->getPage() - 1, page->getChannel()};
    return std::nullopt;
}

bool isLargeSection(const ImageSource& source) {
    return filePageOf(source) && TiledSection::isLarge(source.getSize2(), source.getSize1(), source.getDepth());
}

std::unique_ptr<TiledSection> openSection(const ImageSource& source, const LevelStore& store, std::size_t memory) {
    const std::optional<FilePage> place = filePageOf(source);
    return place ? std::make_unique<TiledSection>(place->filename, place->page, place->channel, store, memory)
                 : nullptr;
}

std::unique_ptr<TiledSection> openLargeSection(const ImageSource& source, const LevelStore& store, std::size_t memory) {
    return isLargeSection(source) ? openSection(source, store, memory) : nullptr;
}

} // namespace vorlen
