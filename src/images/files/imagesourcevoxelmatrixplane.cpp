#include "images/files/imagesourcevoxelmatrixplane.h"

#include "images/files/imagereader.h"
#include "images/files/voxelmatrixheader.h"
#include "images/rasters/image.h"
#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"

#include <cstdint>
#include <fstream>

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

std::string ImageSourceVoxelMatrixPlane::getName() const {
    return __filename + ":" + std::to_string(__plane);
}

void ImageSourceVoxelMatrixPlane::read(ImageReader& reader, Image& image) const {
    const std::string where = "void ImageReader::read(Image&, const ImageSourceVoxelMatrixPlane&)";
    reader.notifyStarted("");
    VoxelMatrix<float> volume;
    volume.loadHeader(__filename);
    if (__plane < 0 || __plane >= volume.getSize3())
        throw RangeError(where, "There is no plane " + std::to_string(__plane) + " in " + __filename);
    // Planes follow each other in the file, each row by row. As in the loading of a volume, what a short file does not
    // hold is 0.
    const int rows = volume.getSize1();
    const int columns = volume.getSize2();
    const std::int64_t lineLength = static_cast<std::int64_t>(sizeof(float)) * columns;
    PixelMatrix<float> plane(rows, columns);
    plane.setZeros();
    std::ifstream file(__filename, std::ios::binary);
    if (!file.is_open())
        throw FileReadError(where, "Cannot open file for reading", __filename);
    file.seekg(VoxelMatrixHeader::read(__filename).length() + __plane * (rows * lineLength));
    for (int row = 0; row < rows && !reader.isCanceled(); ++row) {
        file.read(reinterpret_cast<char*>(plane[row].data()), lineLength);
        if (file.bad())
            throw FileReadError(where, "Cannot read file", __filename);
        reader.notifyProgressed(static_cast<unsigned int>(row + 1), static_cast<unsigned int>(rows));
    }
    plane.convertToImage(image);
    image.print("image read from voxel matrix:", true);
    if (reader.isCanceled())
        reader.notifyCanceled("");
    else
        reader.notifyFinished("");
}

ImageStatement ImageSourceVoxelMatrixPlane::getStatement() const {
    return {"StackSlice", {__filename, __plane}};
}

std::unique_ptr<ImageSource> ImageSourceVoxelMatrixPlane::make(const ImageStatement& statement) {
    auto source = std::make_unique<ImageSourceVoxelMatrixPlane>();
    source->setVoxelMatrixFilename(statement.file(0));
    source->setPlane(statement.number(1));
    if (source->getPlane() < 0 || source->getPlane() >= source->__size[2])
        throw FileReadError("ImageSourceVoxelMatrixPlane::make(...)", "The voxel matrix has no such plane",
                            statement.file(0));
    return source;
}

std::string ImageSourceVoxelMatrixPlane::findFault() const {
    return VoxelMatrixHeader::fileSizeMatchesHeader(__filename)
               ? ""
               : __filename + ": the file's length does not match its header";
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
