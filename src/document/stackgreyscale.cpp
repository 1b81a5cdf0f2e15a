#include "document/stackgreyscale.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <vector>

#include "document/stack.h"
#include "document/stackslice.h"
#include "images/files/imagereader.h"
#include "images/rasters/image.h"
#include "images/sections/sectionsource.h"
#include "numerics/exception.h"

namespace vorlen {

std::optional<GreyScale> findGreyScale(const Stack& stack) {
    if (stack.getGreyScale())
        return stack.getGreyScale();
    std::vector<const ImageSource*> sources;
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        if (stack.getSlice(i).isEmpty())
            continue;
        const ImageSource& source = stack.getSlice(i).getImageSource();
        if (source.getDepth() == 16 || source.isReal())
            sources.push_back(&source);
    }
    GreyScaleFinder finder;
    const std::size_t number = std::min<std::size_t>(sources.size(), 8);
    for (std::size_t k = 0; k < number; ++k) {
        try {
            Image image;
            const ImageSource& source = *sources[(2 * k + 1) * sources.size() / (2 * number)];
            // Of a section too large for memory, pixels here and there.
            const std::unique_ptr<TiledSection> section = openLargeSection(source);
            if (section == nullptr || !section->readOverview(image, 1024, std::chrono::milliseconds(200)))
                ImageReader().read(image, source);
            finder.add(image);
        } catch (const Exception&) {      // NOLINT(bugprone-empty-catch): it is told where the image is wanted
        } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        }
    }
    return finder.find();
}

} // namespace vorlen
