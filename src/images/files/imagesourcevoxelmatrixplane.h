#pragma once

#include "values/imagesource.h"

#include <string>

namespace vorlen {

/// Image source of kind 2: one plane of a voxel matrix file of floats. Its depth is 32, that of the file's values,
/// whatever the file holds, while ImageReader makes an 8-bit image of the plane.
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
