#pragma once

#include <string>
#include <vector>

#include "numerics/vector.h"
#include "values/imagestatement.h"

namespace vorlen {

class Colormap;
class Image;
class ImageReader;
struct PixelStatistics;

/// Where an image comes from, and what it will be like, without its pixels.
///
/// All that differs between the kinds of source is an operation of this class. A new kind is a class, with an operation
/// that makes a source of its statement, and an entry in imageSourceKinds().
class ImageSource {
public:
    virtual ~ImageSource();

    /// A new source of the same kind with the same contents; the caller owns it.
    virtual ImageSource* clone() const = 0;

    /// Number of the kind of source.
    virtual int getType() const = 0;

    /// False as long as the source names no image.
    virtual bool isDefined() const = 0;

    /// Height in pixels.
    virtual int getSize1() const = 0;

    /// Width in pixels.
    virtual int getSize2() const = 0;

    /// Bits per pixel.
    virtual int getDepth() const = 0;

    /// Type of the values in the file: "uint8", "int16", "float32". By default that of the depth.
    virtual std::string getValueType() const;

    /// Whether an image of 32 bits is one of real numbers, and not of colours.
    virtual bool isReal() const;

    /// Null for an image without a colormap; owned by the source.
    virtual const Colormap* getColormap() const = 0;

    /// Height, then width.
    Vector<int> getSize() const;

    /// What to call the image in a list of images.
    virtual std::string getName() const = 0;

    /// Reads header and pixels by this reader, to which the progress is reported and which is looked at for the wish to
    /// cancel. Throws what the reader throws, and then leaves the image as it was.
    virtual void read(ImageReader& reader, Image& image) const = 0;

    /// Takes statistics of the pixels by this reader, in the file's own values. False, as by default, for a source that
    /// has no other values than those of its image. Throws what read() throws.
    virtual bool measure(ImageReader& reader, PixelStatistics& statistics) const;

    /// The statement that begins a slice with this image.
    virtual ImageStatement getStatement() const = 0;

    /// The statements that follow, in their order; none for most kinds.
    virtual std::vector<ImageStatement> getFurtherStatements() const;

    /// Takes one of these in. False for a statement that this kind of source does not take. Throws RangeError for
    /// numbers that the source has no place for, and what the reading of a header throws; the source then stays as it
    /// was.
    virtual bool addStatement(const ImageStatement& statement);

    /// What is wrong with the files, in words, where it has not shown when their headers were read; empty for nothing.
    virtual std::string findFault() const;

    /// The files of the image, in the order of the statements.
    std::vector<std::string> getFilenames() const;

    /// Whether both are of the same size and have the same statements.
    bool isSameImage(const ImageSource& other) const;

protected:
    ImageSource() = default;
    ImageSource(const ImageSource&) = default;
    ImageSource& operator=(const ImageSource&) = default;
};

} // namespace vorlen
