#pragma once

#include <functional>
#include <vector>

#include <QRgb>

namespace vorlen {

class ModelItem;
class Stack;

/// Where a cut crosses an outline: how far along the cut, to the right or down in the frame of the stack, in the length
/// unit, on which slice, and the colour of the outline.
struct CutPoint {
    double along = 0;
    int slice = 0;
    QRgb color = 0;
};

/// Where the outlines and lines that are shown cross the plane across x at `at` in y, or across y at `at` in x, both in
/// the frame of the stack, y down. Slice by slice. A vertex on the plane counts as below it, so that an outline that
/// passes through crosses once there, and one that touches not or twice.
std::vector<CutPoint> crossingsOf(const Stack& stack, bool acrossX, double at,
                                  const std::function<bool(const ModelItem&)>& isShown);

/// The heights that the slices take up in a cut: each reaches to the middle between its position and the next one's.
/// Slices that are all at one position, as without a spacing, lie 1 apart.
class CutHeights {
public:
    CutHeights() = default;
    explicit CutHeights(const Stack& stack);

    double from() const { return __from; }
    double to() const { return __to; }
    /// The slice at this height; the nearest one beyond the ends, -1 for none.
    int sliceAt(double z) const;
    double positionOf(int slice) const { return __positions[std::size_t(slice)]; }

private:
    std::vector<double> __positions; // of the slices
    std::vector<int> __order;        // of the slices, from below
    double __from = 0, __to = 1;
};

} // namespace vorlen
