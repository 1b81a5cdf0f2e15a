#include "images/sections/sectionsource.h"

#include "images/files/imagesourcefile.h"
#include "images/files/imagesourcepage.h"

namespace vorlen {

bool isLargeSection(const ImageSource& source) {
    const bool isOneFile = dynamic_cast<const ImageSourceFile*>(&source) != nullptr ||
                           dynamic_cast<const ImageSourcePage*>(&source) != nullptr;
    return isOneFile && TiledSection::isLarge(source.getSize2(), source.getSize1(), source.getDepth());
}

std::unique_ptr<TiledSection> openSection(const ImageSource& source, const LevelStore& store, std::size_t memory) {
    if (const auto* const file = dynamic_cast<const ImageSourceFile*>(&source))
        return std::make_unique<TiledSection>(file->getFilename(), 0, 0, store, memory);
    if (const auto* const page = dynamic_cast<const ImageSourcePage*>(&source))
        return std::make_unique<TiledSection>(page->getFilename(), page->getPage() - 1, page->getChannel(), store,
                                              memory);
    return nullptr;
}

std::unique_ptr<TiledSection> openLargeSection(const ImageSource& source, const LevelStore& store, std::size_t memory) {
    return isLargeSection(source) ? openSection(source, store, memory) : nullptr;
}

} // namespace vorlen
