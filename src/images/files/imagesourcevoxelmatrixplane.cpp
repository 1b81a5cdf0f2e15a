#include "images/files/imagesourcevoxelmatrixplane.h"

#include "images/volumes/voxelmatrix.h"

namespace vorlen {

ImageSourceVoxelMatrixPlane::ImageSourceVoxelMatrixPlane() {
    __size.setZeros(2);
}

ImageSourceVoxelMatrixPlane* ImageSourceVoxelMatrixPlane::clone() const {
    return new ImageSourceVoxelMatrixPlane(*this);
}

int ImageSourceVoxelMatrixPlane::getType() const {
    return 2;
}

bool ImageSourceVoxelMatrixPlane::isDefined() const {
    return !__filename.empty() && __plane >= 0;
}

int ImageSourceVoxelMatrixPlane::getSize1() const {
    return __size[0];
}

int ImageSourceVoxelMatrixPlane::getSize2() const {
    return __size[1];
}

int ImageSourceVoxelMatrixPlane::getDepth() const {
    return 32;
}

const Colormap* ImageSourceVoxelMatrixPlane::getColormap() const {
    return nullptr;
}

void ImageSourceVoxelMatrixPlane::setVoxelMatrixFilename(const std::string& filename) {
    VoxelMatrix<float> header;
    header.loadHeader(filename);
    __filename = filename;
    __size = header.getSize();
}

const std::string& ImageSourceVoxelMatrixPlane::getVoxelMatrixFilename() const {
    return __filename;
}

void ImageSourceVoxelMatrixPlane::setPlane(int plane) {
    __plane = plane;
}

int ImageSourceVoxelMatrixPlane::getPlane() const {
    return __plane;
}

} // namespace vorlen
