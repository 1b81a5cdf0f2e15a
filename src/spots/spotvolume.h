#pragma once

#include <string>
#include <vector>

#include "images/rasters/pixelmatrix.h"
#include "images/volumes/voxelmatrix.h"
#include "reconstruction/stackreconstruction.h"
#include "values/imagecolorcontent.h"

namespace vorlen {

class ProgressSubject;
class Stack;

/// The volume of a stack in which spots are sought: one plane for each slice, all on the pixels of the first one. The
/// images of slices that are registered, or have pixels of another size, are carried there: a spot stands upright only
/// in the aligned stack.

/// Where the voxels of the volume lie in the images of the slices. A copy of what the stack said at its making, which
/// stays true while registrations, sizes and calibrations are as they were.
class SpotGrid {
public:
    /// Of a stack without a fault.
    explicit SpotGrid(const Stack& stack);

    /// Whether the voxels of the plane are the pixels of its slice, as in a stack that is not registered.
    bool isPixelGrid(int plane) const;

    /// The place (column, row) in pixels of the plane's slice.
    Vector<double> toPixels(int plane, double column, double row) const;

    /// The image of the slice on the grid of the volume, linear between pixels; what the image does not reach goes on
    /// as its border, so that nothing stands out there.
    PixelMatrix<float> carry(int plane, const PixelMatrix<float>& image) const;

private:
    StackReconstruction<double> __space;
    std::vector<bool> __isPixelGrid;
};

/// Why spots can't be sought in the stack, in one sentence without its full stop; empty when they can: for less than
/// two slices, images of different sizes or none, registered slices whose pixels have no size, and uneven steps. Steps
/// count as even when they differ by less than a thousandth, or by the rounding of the positions.
std::string spotFault(const Stack& stack);

/// Rows, columns and planes, and the size of a voxel along these: height and width of the first slice's pixels, and
/// the mean step between slices. For a stack without a fault.
Vector<int> spotVolumeSize(const Stack& stack);
Vector<double> spotResolution(const Stack& stack);

/// What the images have in common, by the first, the middle and the last of them.
ImageColorContent spotChannel(const Stack& stack);

/// Reads the images of a stack without a fault onto the grid of its SpotGrid, with the values of the files: grey
/// content takes those of grey images and of colours the mean, red, green and blue that channel. Sets the calibration.
/// False when cancelled. Throws SizeError when an image has not the size that its header had, and what Slice::load()
/// throws.
bool readSpotVolume(const Stack& stack, ImageColorContent channel, VoxelMatrix<float>& volume,
                    ProgressSubject& progress);

} // namespace vorlen
