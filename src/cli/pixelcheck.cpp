#include "cli/pixelcheck.h"

#include "document/stack.h"
#include "document/stackslice.h"
#include "images/files/imagefile.h"
#include "images/files/imagereader.h"
#include "images/files/imagesourcefile.h"
#include "numerics/exception.h"

namespace vorlen {

SlicePixels readPixels(const StackSlice& slice) {
    SlicePixels pixels;
    if (slice.isEmpty())
        return pixels;
    const ImageSource& source = slice.getImageSource();
    const auto tell = [&](const std::string& file, const std::string& what) {
        pixels.problem =
            (file.empty() ? source.getName() : file) + ": " + what + " (slice \"" + slice.getName() + "\")";
    };
    try {
        pixels.statistics = ImageReader().measure(source);
    } catch (const FileError& error) {
        tell(error.getFile(), error.getWhat());
    } catch (const Exception& error) {
        tell("", error.getWhat());
    } catch (const std::bad_alloc&) {
        tell("", "There is not enough memory");
    } catch (const std::exception& error) {
        tell("", error.what());
    }
    return pixels;
}

std::string furtherPages(const StackSlice& slice) {
    const auto* const source =
        slice.isEmpty() ? nullptr : dynamic_cast<const ImageSourceFile*>(&slice.getImageSource());
    if (source == nullptr)
        return "";
    try {
        const int number = ImageFile::open(source->getFilename())->getNumPages();
        if (number > 1)
            return source->getFilename() + " holds " + std::to_string(number) + " pages, of which the slice \"" +
                   slice.getName() + "\" shows the first; 'vorlen-cli new' makes a stack of all";
    } catch (const Exception&) { // NOLINT(bugprone-empty-catch): it is told where the pixels are read
    }
    return "";
}

} // namespace vorlen
