#include "images/files/imagesourcekinds.h"

#include "images/files/imagesourcefile.h"
#include "images/files/imagesourcefilemosaic.h"
#include "images/files/imagesourcepage.h"
#include "images/files/imagesourcevoxelmatrixplane.h"

namespace vorlen {

const std::vector<ImageSourceKind>& imageSourceKinds() {
    using enum ImageSourceKind::Argument;
    static const std::vector<ImageSourceKind> kinds = {
        {"SLICE", {File}, &ImageSourceFile::make},
        {"SLICE", {Size, Size}, &ImageSourceFileMosaic::make},
        {"IMAGE", {Number, Number, File}, nullptr},
        {"PAGE", {File, Number, Number}, &ImageSourcePage::make},
        {"StackSlice", {File, Number}, &ImageSourceVoxelMatrixPlane::make},
    };
    return kinds;
}

} // namespace vorlen
