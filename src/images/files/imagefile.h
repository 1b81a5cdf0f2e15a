#pragma once

#include <memory>
#include <string>
#include <vector>

#include "images/files/imagepage.h"
#include "images/files/picturelevel.h"
#include "images/files/stacklayout.h"

namespace vorlen {

class SampleSink;

/// An open image file of any format: the pictures in it, and their samples in the type in which the file holds them.
///
/// A new format is a class with these operations and an entry in open(). Sizes that a header gives are believed only as
/// far as the file's length bears them out: no page is described, and so none is read, that asks for more memory.
class ImageFile {
public:
    /// Opens a file by its first bytes. Throws FileReadError for a file that can't be opened, that is no ordinary file
    /// or that is damaged, and FileFormatError for one of a format that is not known.
    static std::unique_ptr<ImageFile> open(const std::string& filename);

    virtual ~ImageFile() = default;
    ImageFile(const ImageFile&) = delete;
    ImageFile& operator=(const ImageFile&) = delete;

    const std::string& getFilename() const { return __filename; }
    virtual ImageFormat getFormat() const = 0;

    /// Pictures of full size; those that are smaller copies of others don't count.
    virtual int getNumPages() = 0;

    /// What page i, counted from 0, holds. Throws RangeError for a page that there is not, FileFormatError for one that
    /// cannot be read, with the reason, and FileReadError for a damaged one or one that the file is too short for.
    virtual ImagePage getPage(int i) = 0;

    /// Hands the samples of page i to the sink. Throws as getPage(), and FileReadError for damaged pixels.
    virtual void read(int i, SampleSink& sink) = 0;

    /// The sizes in which rectangles of page i can be read without the rest of it: the full one first, and each smaller
    /// than the one before. None, as by default, where a page can only be read as a whole. Throws as getPage().
    virtual std::vector<PictureLevel> getLevels(int i);

    /// Hands a rectangle of such a level to the sink, whose rows count from its top, in the samples of the page, in
    /// memory that goes with the rectangle and the blocks. Throws RangeError for a level that there is not and for a
    /// rectangle that is empty or reaches out of it, and as read().
    virtual void readPart(int i, int level, const PixelWindow& part, SampleSink& sink);

    /// Throws FileReadError for a page of which the file holds too few bytes for all its pixels, so that only parts of
    /// it are to be read.
    virtual void requireWhole(int i);

    /// How the pages make a stack, as far as the file says.
    virtual StackLayout getLayout();

protected:
    explicit ImageFile(const std::string& filename) : __filename(filename) {}

    /// Throws RangeError unless 0 <= i < numPages.
    void requirePage(int i, int numPages) const;

    /// Throws RangeError unless there is such a level, and the rectangle lies in it and is not empty.
    void requirePart(const std::vector<PictureLevel>& levels, int level, const PixelWindow& part) const;

private:
    std::string __filename;
};

} // namespace vorlen
