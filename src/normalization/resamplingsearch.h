#pragma once

#include <map>
#include <memory>
#include <vector>

#include "normalization/vrlfusionsurfacestructure.h"
#include "shapes/curvestack.h"

namespace vorlen {

/// Finds out how well a grid stands for the instances of a structure, and which grid is good enough.
///
/// The error of a grid is the largest distance, over all instances, of a contour's vertex to its nearest vertex of the
/// resampled surface (CurveStack::resamplingError()), in coordinate units. Errors are kept, so that no width is tried
/// twice.
///
/// Decisions: grids have at most maxHeight levels, the most that a structure may have, and 2^22 vertices; an error that
/// no such grid comes within is refused. An instance whose first contour is a point has no step to make the grid square
/// by, and gets one level for each of its contours. Instantiated for float, double and long double.
template <class T>
class ResamplingSearch {
public:
    static constexpr int maxHeight = 1000;
    static constexpr double maxVertices = 4194304;

    /// Throws SizeError without instances, and for an instance without contours or with an empty one.
    explicit ResamplingSearch(std::vector<std::unique_ptr<CurveStack<T>>> instances);

    /// Sets the structure's error by its sizes. Throws SizeError for sizes below 1 or too great.
    void computeErrorFromValues(VRLFusionSurfaceStructure<T>& structure) const;

    /// Sets the structure's sizes and error by the wanted error: about the smallest width whose error stays within it,
    /// by doubling and bisection, with levels as far apart as the vertices of the first contour.
    /// Throws ValueError unless the error is above 0, MathError when no grid comes within it; the structure then stays
    /// as it was. About log2 of the width trials, each n log n in the vertices of contours and grid.
    void computeValuesFromError(VRLFusionSurfaceStructure<T>& structure);

private:
    struct Trial {
        T error = 0;
        int height = 0;
    };

    T errorOf(const CurveStack<T>& instance, int height, int width) const;
    int heightFor(const CurveStack<T>& instance, int width) const;
    const Trial& errorAt(int width);

    std::vector<std::unique_ptr<CurveStack<T>>> __instances;
    std::map<int, Trial> __trials;
};

} // namespace vorlen
