#pragma once

#include "values/imagesource.h"

#include <memory>
#include <string>

namespace vorlen {

/// Image source of kind 2: one plane of a voxel matrix file, of any type of element. The plane is read as a real image
/// of the values as they are. Its depth is 32 whatever the file holds.
///
/// Decisions: the header's one tag for elements of 1 and of 2 bytes is told apart by the length of the file, and its
/// old form without a tag too, where elements of 4 bytes are taken for floats. None are signed.
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
    std::string getValueType() const override;
    bool isReal() const override;
    /// No other plane is read. What a short file does not hold is 0. Throws RangeError if the file has no such plane,
    /// and else as setVoxelMatrixFilename().
    void read(ImageReader& reader, Image& image) const override;
    bool measure(ImageReader& reader, PixelStatistics& statistics) const override;
    /// StackSlice file plane
    ImageStatement getStatement() const override;
    /// Throws FileReadError if the file has no such plane, and as setVoxelMatrixFilename().
    static std::unique_ptr<ImageSource> make(const ImageStatement& statement);
    /// A file shorter than its header says would read on in silence with zeros.
    std::string findFault() const override;

    /// Reads the sizes from the file's header at once. Throws what VoxelMatrixHeader::read() throws, TypeError for a
    /// type of elements that is not known, FileFormatError for a file that is far too short, and then stays as it was.
    void setVoxelMatrixFilename(const std::string& filename);
    const std::string& getVoxelMatrixFilename() const;
    /// Planes are numbered from 0; -1 at first.
    void setPlane(int plane);
    int getPlane() const;

private:
    template <class Prepare, class TakeRow>
    void readRows(Prepare&& prepare, TakeRow&& takeRow) const;

    std::string __filename;
    Vector<int> __size;
    std::string __values = "float32";
    int __plane = -1;
};

} // namespace vorlen
