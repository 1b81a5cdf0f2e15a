#pragma once

#include "images/rasters/pixelmatrix.h"
#include "images/sections/imageparts.h"
#include "shapes/boundingbox.h"
#include "shapes/curve.h"

namespace vorlen {

/// The part of a slice's image that a snake runs on, and the way between the pixels of the two.
///
/// A pixel of the frame stands for stepX by stepY pixels of the slice, so that its own are square where the slice's are
/// not, and as many times larger as the snake's scale says. Where a pixel of the frame is larger, it is the mean over
/// what it covers; where it is smaller, values are interpolated between the middles of the slice's pixels.
///
/// A snake takes the integer part of a coordinate, so that its pixel i reaches from i to i + 1, while a vertex on a
/// slice with whole coordinates lies in the middle of its pixel. toFrame() and toSlice() take care of that half pixel.
class SnakeFrame {
public:
    SnakeFrame() = default;

    /// The frame of an image of width x height pixels whose sides are as 1 to aspect (height over width), reduced by
    /// scale, that has at least margin pixels of its own around the curve (in pixels of the slice), as far as the image
    /// goes. Of pixels that are not square the shorter side counts, but none is cut into more than four; an aspect that
    /// is not above 0 counts as 1.
    SnakeFrame(int width, int height, double aspect, unsigned int scale, const Curve<float>& curve, double margin);

    /// Whether there is nothing of the image beyond the frame.
    bool isWhole() const;

    /// Whether a curve, in pixels of the frame, comes nearer than this to a side behind which the image goes on.
    bool isLeftBy(const Curve<float>& curve, double distance) const;

    Curve<float> toFrame(const Curve<float>& curve) const;
    Curve<float> toSlice(const Curve<float>& curve) const;

    /// The frame's pixels of an image of the slice's size, in units of step: gray values, those of the only colour that
    /// there is, or the gray of a coloured image. A value that is no number is 0. Bytes that were widened are divided
    /// exactly.
    PixelMatrix<float> pixels(const Image& image, float step = 1) const;

    /// The part of the slice that the frame's pixels are made of: its first column and row, width and height.
    int left() const { return __x.first; }
    int top() const { return __y.first; }
    int width() const { return __x.end - __x.first; }
    int height() const { return __y.end - __y.first; }

    PixelWindow window() const { return {left(), top(), width(), height()}; }

    /// The same pixels of an image of this part alone, and of a part that has it.
    PixelMatrix<float> pixelsOfPart(const Image& part, float step = 1) const;
    PixelMatrix<float> pixels(const ImageParts::Part& part, float step = 1) const;

private:
    PixelMatrix<float> inFrame(const PixelMatrix<float>& values) const;

    struct Side {
        int first = 0, end = 0; // pixels of the slice
        int size = 0;           // in pixels of the frame
        int whole = 0;          // the image's size
        double step = 1;
    };

    static Side side(int size, double step, double lower, double upper, double margin);

    Side __x, __y;
};

} // namespace vorlen
