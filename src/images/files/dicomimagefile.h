#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "images/files/imagefile.h"

namespace vorlen {

/// Where a picture of a DICOM file lies among the others of its series.
struct DicomFrame {
    std::string filename;
    int page = 0;                                  ///< counted from 0
    std::optional<std::array<double, 3>> position; ///< of the middle of the first pixel, in millimeters
    std::optional<std::array<double, 3>> normal;   ///< of the plane: rows times columns, of length 1
    long number = 0;                               ///< of the file in its series
};

/// DICOM files (with the preamble) by DCMTK: one frame or several, grey, with a palette or in colour, of 8, 16
/// or 32 bits, signed or not, or real; uncompressed, or by RLE, JPEG (also without loss, and of up to 16 bits), JPEG-LS
/// or JPEG 2000 (by OpenJPEG).
///
/// Grey values are those that the file means: rescaled by its slope and intercept, which each frame may have for
/// itself; they stay whole numbers where these are. Values of which the least stand for white are turned around unless
/// they have a sign or a scale, which keep their meaning. Frames are pages in the order of the file, and the layout has
/// them sorted by position; dicomSeries() does so for several files.
///
/// Pixels stay in the file until they are asked for, and come frame by frame. Refused: deflated data sets,
/// slides in tiles, and frames of one bit. The depth of nested sequences is looked at before the file is parsed, since
/// DCMTK goes into them by recursion.
class DicomImageFile : public ImageFile {
public:
    explicit DicomImageFile(const std::string& filename);
    ~DicomImageFile() override;

    ImageFormat getFormat() const override { return DicomImageFormat; }
    int getNumPages() override;
    ImagePage getPage(int i) override;
    void read(int i, SampleSink& sink) override;
    StackLayout getLayout() override;

    /// Which of the files belong together: the identifier of the series.
    std::string getSeries() const;
    /// The pictures in the order of the file.
    std::vector<DicomFrame> getFrames();
    /// What the file says of the distance of planes, in millimeters: the distance itself, else their thickness.
    std::optional<double> getStatedSpacing();
    /// What the user should know, in sentences.
    const std::vector<std::string>& getWarnings() const;

    /// Whether the file begins as one. False also for a file that cannot be opened.
    static bool isDicom(const std::string& filename);

private:
    class Data;
    std::unique_ptr<Data> __data;
};

} // namespace vorlen
