#pragma once

#include "values/imagesource.h"

#include <memory>
#include <string>

namespace vorlen {

/// Image source of kind 2: one plane of a voxel matrix file of floats. Its depth is 32, that of the file's values,
/// whatever the file holds, while the plane is read as an 8-bit image.
class ImageSourceVoxelMatrixPlane : public ImageSource {
public:
    ImageSourceVoxelMatrixPlane();

    ImageSourceVoxelMatrixPlane* clone() const override;
    int getType() const override;
    /// True when a file name and a plane that is not negative are set.
    bool isDefined() const override;
    /// Rows and columns of the planes; 0 without a file name.
    int getSize1() const override;
    int getSize2() const override;
    int getDepth() const override;
    const Colormap* getColormap() const override;
    /// The file's name, a colon and the plane.
    std::string getName() const override;
    /// The plane as an 8-bit image of truncated values; no other plane is read. Throws RangeError if the file has no
    /// such plane, and else as VoxelMatrix<float>::load().
    void read(ImageReader& reader, Image& image) const override;
    /// StackSlice file plane
    ImageStatement getStatement() const override;
    /// Throws FileReadError if the file has no such plane, and as setVoxelMatrixFilename().
    static std::unique_ptr<ImageSource> make(const ImageStatement& statement);
    /// A file shorter than its header says would read on in silence with zeros.
    std::string findFault() const override;

    /// Reads the sizes from the file's header at once. Throws what VoxelMatrix<float>::loadHeader throws, and then
    /// stays as it was.
    void setVoxelMatrixFilename(const std::string& filename);
    const std::string& getVoxelMatrixFilename() const;
    /// Planes are numbered from 0; -1 at first.
    void setPlane(int plane);
    int getPlane() const;

private:
    std::string __filename;
    Vector<int> __size;
    int __plane = -1;
};

} // namespace vorlen
