#pragma once

#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "images/files/picturelevel.h"
#include "images/rasters/imageheader.h"

namespace vorlen {

class Image;
class ImageFile;

/// A picture of a file, read in rectangles of the sizes that the file has, as plain images: indexes are replaced by
/// their grey values or colours. One thread at a time uses it.
class SectionFile {
public:
    /// Page counted from 0, channel from 1 with 0 for all, as ImageReader has them. Throws as ImageFile::open() and
    /// ImageFile::getPage(), and RangeError for a channel that there is not.
    SectionFile(const std::string& filename, int page, int channel);
    /// A file of a LevelStore, which is a TIFF file of one page.
    explicit SectionFile(const std::string& levelFile);
    ~SectionFile();

    /// What the images are like, with the size of the whole picture.
    const ImageHeader& getHeader() const { return __header; }
    /// None for a picture that can only be read as a whole.
    const std::vector<PictureLevel>& getLevels() const { return __levels; }

    /// False, with the image as it was, when a stop was asked for. Throws as ImageFile::readPart(); the file is then
    /// opened anew for the next part.
    bool read(Image& image, int level, const PixelWindow& part, const std::stop_token& stop = {});

private:
    void open();

    std::string __filename;
    bool __isLevelFile;
    int __page = 0;
    int __channel = 0;
    std::unique_ptr<ImageFile> __file;
    ImageHeader __header;
    std::vector<PictureLevel> __levels;
};

} // namespace vorlen
