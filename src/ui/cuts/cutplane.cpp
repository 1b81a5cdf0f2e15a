#include "ui/cuts/cutplane.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

#include <QColor>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "reconstruction/stackreconstruction.h"
#include "ui/slices/itemlook.h"

namespace vorlen {

namespace {

/// A number on a slice that grows evenly: a u + b v + c at the column u and the row v.
struct Slope {
    double a = 0, b = 0, c = 0;

    double at(double u, double v) const { return a * u + b * v + c; }
};

/// What an outline is measured by on a slice: how far it lies behind the plane, and how far along it.
struct SlicePlane {
    Slope distance, along;
};

SlicePlane planeOn(const StackReconstruction<double>& space, int slice, bool acrossX, double at) {
    const Vector<double> origin = space.toWorld(slice, 0, 0), right = space.toWorld(slice, 1, 0),
                         down = space.toWorld(slice, 0, 1);
    const Slope x{right[0] - origin[0], down[0] - origin[0], origin[0]};
    const Slope y{origin[1] - right[1], origin[1] - down[1], -origin[1]}; // down
    SlicePlane plane = acrossX ? SlicePlane{y, x} : SlicePlane{x, y};
    plane.distance.c -= at;
    return plane;
}

/// Most outlines lie on one side with all of their box.
bool isOnOneSide(const ModelItem& item, const Slope& distance) {
    const BoundingBox<double>& box = item.extent();
    if (!box.isValid())
        return true;
    int behind = 0;
    for (const double u : {box.getVertex1()[0], box.getVertex2()[0]})
        for (const double v : {box.getVertex1()[1], box.getVertex2()[1]})
            behind += distance.at(u, v) > 0 ? 1 : 0;
    return behind == 0 || behind == 4;
}

void addCrossings(std::vector<CutPoint>& points, const ModelItem& item, int slice, const SlicePlane& plane) {
    const int n = item.getSize();
    const auto valueAt = [&item](const Slope& slope, int i) {
        return slope.at(item.getCoordinate(i, 0), item.getCoordinate(i, 1));
    };
    const Vector<int> color = lookOf(item).getColor();
    const QRgb shown = qRgb(std::clamp(color[0], 0, 255), std::clamp(color[1], 0, 255), std::clamp(color[2], 0, 255));
    int before = item.isClosed() ? n - 1 : 0;
    for (int i = item.isClosed() ? 0 : 1; i < n; before = i++) {
        const double first = valueAt(plane.distance, before);
        const double second = valueAt(plane.distance, i);
        if ((first > 0) == (second > 0))
            continue;
        const double share = first / (first - second);
        const double from = valueAt(plane.along, before);
        const double to = valueAt(plane.along, i);
        points.push_back({from + share * (to - from), slice, shown});
    }
}

} // namespace

std::vector<CutPoint> crossingsOf(const Stack& stack, bool acrossX, double at,
                                  const std::function<bool(const ModelItem&)>& isShown) {
    std::vector<CutPoint> points;
    const StackReconstruction<double> space(stack);
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const StackSlice& slice = stack.getSlice(i);
        const SlicePlane plane = planeOn(space, i, acrossX, at);
        for (int k = 0; k < slice.getNumItems(); ++k) {
            const ModelItem& item = slice.getItem(k);
            if (item.isConnected() && !isOnOneSide(item, plane.distance) && isShown(item))
                addCrossings(points, item, i, plane);
        }
    }
    return points;
}

CutHeights::CutHeights(const Stack& stack) {
    const std::vector<double> positions = stack.getAbsolutePositions();
    __positions.assign(positions.begin(), positions.end());
    if (std::adjacent_find(__positions.begin(), __positions.end(), std::not_equal_to<>()) == __positions.end())
        std::iota(__positions.begin(), __positions.end(), 0.0);
    __order.resize(__positions.size());
    std::iota(__order.begin(), __order.end(), 0);
    std::stable_sort(__order.begin(), __order.end(), [this](int a, int b) { return positionOf(a) < positionOf(b); });
    const std::size_t n = __order.size();
    if (n == 0)
        return;
    const auto rank = [this](std::size_t k) { return positionOf(__order[k]); };
    const double spacing = double(stack.getDefaultSliceSpacing());
    const double alone = spacing > 0 && std::isfinite(spacing) ? spacing : 1;
    const double below = n > 1 ? rank(1) - rank(0) : alone, above = n > 1 ? rank(n - 1) - rank(n - 2) : alone;
    __from = rank(0) - (below > 0 ? below : alone) / 2;
    __to = rank(n - 1) + (above > 0 ? above : alone) / 2;
}

int CutHeights::sliceAt(double z) const {
    if (__order.empty())
        return -1;
    const auto behind = std::lower_bound(__order.begin(), __order.end(), z,
                                         [this](int slice, double height) { return positionOf(slice) < height; });
    if (behind == __order.begin())
        return *behind;
    const int lower = *(behind - 1);
    return behind == __order.end() || z - positionOf(lower) <= positionOf(*behind) - z ? lower : *behind;
}

} // namespace vorlen
