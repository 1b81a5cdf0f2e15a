#pragma once

#include <memory>
#include <vector>

#include "images/files/imagesourcekinds.h"
#include "support/fixedsource.h"
#include "values/imagestatement.h"

namespace vorlen {

/// The kinds of image source for documents whose images are of a fixed size.
inline const std::vector<ImageSourceKind>& fixedKinds() {
    static const std::vector<ImageSourceKind> kinds = {
        {"FIXED",
         {ImageSourceKind::Size, ImageSourceKind::Size},
         [](const ImageStatement& statement) -> std::unique_ptr<ImageSource> {
             return std::make_unique<FixedSource>(statement.number(0), statement.number(1));
         }}};
    return kinds;
}

} // namespace vorlen
