#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "numerics/matrix.h"
#include "numerics/vector.h"
#include "shapes/shape.h"
#include "shapes/vertices.h"

namespace vorlen {

class Model;
class ModelItem;
class Stack;
class StackSlice;

/// Whether outlines count as they were drawn, or without the steps of the pixel grid (withoutPixelSteps()).
enum class OutlineSteps : unsigned char { Kept, Removed };

/// The bridge from the pixels of a stack's slices to calibrated world coordinates, and from items to 3D shapes.
///
/// For the pixel (u, v) of slice i, u the column and v the row counted from the top of the image, the world point is
/// X = m0 u + m1 v + m2, Y = m3 u + m4 v + m5, Z = the slice's absolute position, in the stack's length unit, Y
/// pointing up. The registrations are chained: each slice's shift and rotation are relative to the slice before it, so
/// that a rotation turns all slices behind it too. A slice without an image counts as one of no width and no height.
///
/// The maps are a copy of what the document said when they were computed: call computeMaps() after a change of
/// registrations, calibrations, positions, image sizes or of the list of slices. The stack is seen, not owned.
template <class T>
class StackReconstruction {
public:
    StackReconstruction() = default;

    explicit StackReconstruction(const Stack& stack);

    void setStack(const Stack& stack);

    /// Computes the maps anew from the document as it stands. Throws UsageError without a stack.
    void computeMaps();

    /// Slice i of the stack, unchecked.
    const StackSlice& getSlice(int i) const;

    /// World Z of each slice.
    const Vector<T>& getZMap() const { return __zMap; }

    /// Gives out a new vertex store of space 3 with the item's vertices in world coordinates.
    /// An item whose slice is not of this stack leaves out as it was and is told on the standard error stream.
    void map(Vertices<T>& out, const ModelItem& item) const;

    /// The world's (X, Y) of the place (u, v) in pixels of a slice, and the other way round; a slice whose pixels have
    /// no size gives a place that is no number. Throw RangeError for a slice that is not there.
    Vector<T> toWorld(int slice, T u, T v) const;
    Vector<T> toPixels(int slice, T x, T y) const;

    /// The same for n places of a slice as plain numbers, u and v of one after the other: appends x, y and z of each.
    /// Throws RangeError for a slice that is not there.
    void map(int slice, const double* pixels, int n, std::vector<T>& out) const;

    /// The item as a shape of space 3: a closed Curve for a polygon, an open one for a polyline, Vertices for points.
    std::unique_ptr<Shape<T>> apply(const ModelItem& item) const;

    /// The model as a stack of one level for each item, slice by slice: a closed or open CurveStack, or a VertexStack
    /// for points. Items on one slice follow each other in the order of the slice's list, at equal Z.
    std::unique_ptr<Shape<T>> apply(const Model& model, OutlineSteps steps = OutlineSteps::Kept) const;

    /// The items of the model that lie on slices of the stack, each with the place of its slice: slice by slice, in the
    /// order of the slices' lists. Throws UsageError without a stack. n log n in the number of the model's items.
    std::vector<std::pair<int, const ModelItem*>> itemsOf(const Model& model) const;

private:
    const Vector<T>& mapOf(int slice) const;
    void mapFromSlice(Vertices<T>& out, const Vertices<double>& pixels, int slice) const;

    const Stack* __stack = nullptr;
    Matrix<T> __maps;
    Vector<T> __zMap;
};

} // namespace vorlen
