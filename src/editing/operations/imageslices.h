#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "document/stackslice.h"
#include "values/pixelcalibration.h"

namespace vorlen {

/// An image that can't be read, and why.
struct UnreadableImage {
    std::string file;
    std::string reason;
};

/// What becomes of image files that hold more than one picture.
struct ImageChoice {
    /// A channel by its number, from 1, or its name. Empty: the first of several, and all of a colour image.
    std::string channel;
    /// A point in time, from 1.
    int time = 1;
};

/// The slices of image files, and what the files say about them.
struct ImageSlices {
    std::vector<std::unique_ptr<StackSlice>> slices;
    /// Of the first file that gives them, with their unit.
    std::optional<PixelCalibration> calibration;
    /// Distance of the slices, in the unit of the calibration, or in micrometers without one.
    std::optional<float> spacing;
    /// The channels of the first file that has several, by name or number.
    std::vector<std::string> channels;
    /// Whether these have no colour of their own, so that a slice shows one of them.
    bool hasSeparateChannels = false;
    /// What the user should know, in sentences that begin with a file's name.
    std::vector<std::string> notes;
    std::vector<UnreadableImage> unreadable;
};

/// A slice for each picture of the files, in their order: one of an image, each page of a TIFF file, each plane of the
/// chosen channel and time of a hyperstack or a volume, also where the planes are in several files. A slice is named by
/// its file, with the number of its plane where there are several. Files that can't be read, or that have no such
/// channel or time, are told of.
///
/// DICOM files among them are sorted into their series, one behind the other, where the first of them stands, and the
/// slices of a series by position; a slice is then named by its own file. A folder stands for the DICOM files in it,
/// and of several series for the longest.
ImageSlices makeImageSlices(const std::vector<std::string>& files, const ImageChoice& choice);

/// The same without the notes, for files that are added to a stack.
std::vector<std::unique_ptr<StackSlice>> makeImageSlices(const std::vector<std::string>& files,
                                                         std::vector<UnreadableImage>& unreadable);

/// Sorts names as people do: runs of digits as numbers, letters whatever their case.
void sortNaturally(std::vector<std::string>& names);

} // namespace vorlen
