#pragma once

#include <string>

#include "images/volumes/voxelmatrix.h"
#include "values/imagecolorcontent.h"

namespace vorlen {

class ProgressSubject;
class Stack;

/// The volume of a stack in which spots are sought: one plane for each slice, each on the grid on which the slice is
/// displayed.

/// Why spots can't be sought in the stack, in one sentence without its full stop; empty when they can: for less than
/// two slices, images of different sizes or none, slices that are registered onto the one before, and uneven steps.
/// Steps count as even when they differ by less than a thousandth, or by the rounding of the positions.
std::string spotFault(const Stack& stack);

/// Rows, columns and planes, and the size of a voxel along these: height and width of the first slice's pixels, and
/// the mean step between slices. For a stack without a fault.
Vector<int> spotVolumeSize(const Stack& stack);
Vector<double> spotResolution(const Stack& stack);

/// What the images have in common, by the first, the middle and the last of them.
ImageColorContent spotChannel(const Stack& stack);

/// Reads the images of a stack without a fault, with the values of the files: grey content takes those of grey images
/// and of colours the mean, red, green and blue that channel. Sets the calibration. False when cancelled. Throws
/// SizeError when an image has not the size that its header had, and what Slice::load() throws.
bool readSpotVolume(const Stack& stack, ImageColorContent channel, VoxelMatrix<float>& volume,
                    ProgressSubject& progress);

} // namespace vorlen
