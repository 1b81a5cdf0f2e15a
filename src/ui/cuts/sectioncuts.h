#pragma once

#include <functional>
#include <vector>

#include <QImage>

#include "registration/rigidmotion.h"

namespace vorlen {

class Image;
class Stack;
class StackSlice;

/// A section as cuts see it.
struct CutSection {
    const Image* picture = nullptr; // plain grey, of any size; null as long as it is not there
    double width = 0, height = 0;   // of the section, in the length unit
    RigidMotion place;              // of the section in the frame of the stack, about its middle
};

/// A cut across all sections: a row for each, the last one on top, and a column for each of `columns` steps from `from`
/// to `to`. Across x at the height `at` in y, or across y at `at` in x, in the length unit. Transparent beside the
/// sections.
QImage cutThrough(const std::vector<CutSection>& sections, bool acrossX, double at, double from, double to,
                  int columns);

/// What the sections of a stack take up in its frame, x to the right and y down, in the length unit.
struct CutFrame {
    std::vector<CutSection> sections;
    double from[2] = {0, 0}, to[2] = {1, 1}; // in x and y
};

/// The sections as they are registered, in the order of the slices, one of them with another registration than it has.
/// A picture that is not there is null. Sizes of pixels that are none count as 1.
CutFrame cutFrameOf(const Stack& stack, const std::function<const Image*(const StackSlice&)>& pictureOf,
                    const StackSlice* changed = nullptr, const Registration& registration = {});

} // namespace vorlen
