#pragma once

#include "images/files/picturelevel.h"
#include "images/files/pixelstatistics.h"
#include "progress/progresssubject.h"

#include <string>

namespace vorlen {

class Image;
class ImageFile;
class ImageHeader;
class ImageMosaic;
struct ImagePage;
class ImageSource;

/// Reads images: files of every format that ImageFile knows, and whatever an image source describes. Reading reports
/// progress row by row and can be cancelled from another thread.
///
/// How an Image holds what a file has:
/// - unsigned grey values of 1 to 8 bits in 8 bits, those of fewer than 8 stretched so that white is 255;
/// - unsigned grey values of 9 to 16 bits as they are, in 16 bits;
/// - all others, signed, real or of more bits, as real numbers of type float, as they are;
/// - a palette of up to 256 colours as indexes with a colormap, a longer one as colours;
/// - colours as bytes, of other types so that white is 255 (1.0 for real ones), with a fourth byte for a sample that is
///   an opacity or without meaning;
/// - colours or grey values that are multiplied by an opacity over white, without it; an opacity that is no such factor
///   is left out of grey images;
/// - one channel, where one is asked for, as a grey image.
/// Values are never stretched to the range that one image happens to have.
///
/// Decisions that callers may rely on:
/// - A header that asks for more pixels than the file's length bears out is refused, before any pixels are allocated. A
///   file that is no ordinary file counts as not readable.
/// - A failed read leaves the image as it was. The rows that a cancelled read did not reach are zero, as is the tail
///   of an image from a short IMG file.
/// - A mosaic whose reading is cancelled ends with notifyCanceled and keeps the tiles read so far.
class ImageReader : virtual public ProgressSubject {
public:
    ~ImageReader() override;

    /// The header alone, of the first page. Throws as ImageFile::open() and ImageFile::getPage().
    void read(ImageHeader& header, const std::string& filename);
    /// Header and pixels. Throws as ImageFile::read().
    void read(Image& image, const std::string& filename);

    /// The same of a page, counted from 0, and of a channel of it, counted from 1; 0 for all that the page has. Throws
    /// RangeError for a page or channel that there is not.
    void read(ImageHeader& header, const std::string& filename, int page, int channel);
    void read(Image& image, const std::string& filename, int page, int channel);
    void read(Image& image, ImageFile& file, int page, int channel);

    /// A rectangle of a level of a page, as ImageFile::readPart() has them; the image is of its size.
    void readPart(Image& image, ImageFile& file, int page, int channel, int level, const PixelWindow& part);

    /// The values of a page, in the file's own numbers; throws as read().
    PixelStatistics measure(const std::string& filename, int page, int channel);

    /// Of the source in the file's own values, or else of the image that it makes; throws as read().
    PixelStatistics measure(const ImageSource& source);

    /// As the source's kind has it: ImageSource::read().
    void read(Image& image, const ImageSource& source);
    void read(Image& image, const ImageMosaic& mosaic);

private:
    template <class Read>
    void fill(Image& image, const ImageFile& file, const ImagePage& description, int channel, Read&& read);
};

/// The values of an image, where nothing is known of a file's own: its grey values, or red, green and blue.
PixelStatistics measure(const Image& image);

} // namespace vorlen
