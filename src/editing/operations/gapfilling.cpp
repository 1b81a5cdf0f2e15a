#include "editing/operations/gapfilling.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include "document/model.h"
#include "document/stackslice.h"
#include "document/subpixel.h"
#include "editing/operations/onestep.h"
#include "reconstruction/sectioninterpolation.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/curve.h"
#include "shapes/douglaspeuckercurvedecimation.h"

namespace vorlen {

namespace {

/// Vertices are thinned out in eighths of pixels, as tolerances are whole: within a quarter.
constexpr double eighths = 8;
constexpr int aQuarter = 2;

/// The slices with outlines of the model that enclose something, in order.
std::vector<int> outlinedSlices(const VRLStack& stack, const Model& model) {
    std::vector<int> slices;
    for (int i = 0; i < model.getNumItems(); ++i) {
        const ModelItem& item = model.getItem(i);
        const int slice = item.getSlice() != nullptr ? stack.findSlice(*item.getSlice()) : -1;
        if (slice >= 0 && item.getSize() > 2)
            slices.push_back(slice);
    }
    std::sort(slices.begin(), slices.end());
    slices.erase(std::unique(slices.begin(), slices.end()), slices.end());
    return slices;
}

SectionParts partsOn(const VRLStack& stack, const StackReconstruction<double>& space, const Model& model, int slice) {
    SectionParts parts(space.getZMap()[slice]);
    const StackSlice& on = stack.getSlice(slice);
    for (int i = 0; i < on.getNumItems(); ++i) {
        const ModelItem& item = on.getItem(i);
        if (item.getModel() != &model)
            continue;
        std::vector<PlanePoint> outline;
        outline.reserve(std::size_t(item.getSize()));
        for (int k = 0; k < item.getSize(); ++k) {
            const Vector<double> place = space.toWorld(slice, item.getVertices()[k][0], item.getVertices()[k][1]);
            outline.push_back({place[0], place[1]});
        }
        parts.add(std::move(outline));
    }
    parts.build();
    return parts;
}

/// In pixels of the slice; less than three vertices when nothing is left of it.
Vertices<double> inPixels(const std::vector<PlanePoint>& outline, const StackReconstruction<double>& space, int slice) {
    const int n = int(outline.size());
    Curve<double> curve(2, n, n, 1, false);
    for (int i = 0; i < n; ++i) {
        const PlanePoint& point = outline[std::size_t(i)];
        const Vector<double> place = space.toPixels(slice, point.x, point.y);
        for (const int axis : {0, 1})
            curve[i][axis] = eighths * place[axis];
    }
    DouglasPeuckerCurveDecimation<double> decimation;
    decimation.setTolerance(aQuarter);
    decimation.apply(curve);
    Vertices<double> vertices(2, 0, 0, 1);
    Vector<double> vertex(2);
    for (int i = 0; i < curve.getSize(); ++i) {
        for (const int axis : {0, 1})
            vertex[axis] = subpixel(curve[i][axis] / eighths);
        const int size = vertices.getNumVertices();
        if (size == 0 || vertices[size - 1] != vertex)
            vertices.append(vertex);
    }
    return vertices;
}

double pixelSize(const StackSlice& slice) {
    const PixelCalibration& calibration = slice.getPixelCalibration();
    return std::min(double(calibration.getPixelWidth()), double(calibration.getPixelHeight()));
}

/// Outlines for one slice, ready to be added.
using NewItems = std::vector<std::unique_ptr<ModelItem>>;

/// Makes the items of the slices between two that have outlines and those between not. Empty with a reason.
Outcome outlinesBetween(VRLStack& stack, const StackReconstruction<double>& space, Model& model, int first, int last,
                        NewItems& items) {
    const double step = std::min(pixelSize(stack.getSlice(first)), pixelSize(stack.getSlice(last)));
    if (!(step > 0 && std::isfinite(step)))
        return Outcome::refused("The size of a pixel is not known");
    const SectionParts lower = partsOn(stack, space, model, first), upper = partsOn(stack, space, model, last);
    const SectionInterpolation between(lower, upper, step);
    const double bottom = space.getZMap()[first], height = space.getZMap()[last] - bottom;
    bool any = false;
    for (int i = first + 1; i < last; ++i) {
        double share = height != 0 ? (space.getZMap()[i] - bottom) / height : double(i - first) / (last - first);
        share = std::clamp(share, 0.0, 1.0);
        for (const std::vector<PlanePoint>& outline : between.outlinesAt(share)) {
            const Vertices<double> vertices = inPixels(outline, space, i);
            if (vertices.getNumVertices() < 3)
                continue;
            auto item = std::make_unique<ModelItem>();
            item->setModel(&model);
            item->setSlice(&stack.getSlice(i));
            item->setVertices(vertices);
            item->setClockwise(false);
            items.push_back(std::move(item));
            any = true;
        }
    }
    return any ? Outcome::done() : Outcome::refused("The outlines on the two sides of the gap have nothing in common");
}

Outcome addItems(VRLStack& stack, NewItems items, const std::string& nothing) {
    return inOneStep(
        stack, nothing,
        [&items](EditStep& step) {
            for (auto& item : items)
                applyCreation(step, std::move(item));
        });
}

const char* const noPolygons = "Gaps are filled between closed outlines";
const char* const noGap = "There is no gap between outlines of this model";

} // namespace

int otherSideOfGap(const VRLStack& stack, const Model& model, int slice) {
    const std::vector<int> outlined = outlinedSlices(stack, model);
    const auto behind = std::upper_bound(outlined.begin(), outlined.end(), slice);
    if (behind != outlined.end() && *behind > slice + 1)
        return *behind;
    const auto here = std::lower_bound(outlined.begin(), outlined.end(), slice);
    return here != outlined.begin() && *std::prev(here) < slice - 1 ? *std::prev(here) : -1;
}

Outcome fillGap(VRLStack& stack, Model& model, int first, int last) {
    if (model.getProperties().getGeometry() != PolygonPrimitive)
        return Outcome::refused(noPolygons);
    if (last < first)
        std::swap(first, last);
    const std::vector<int> outlined = outlinedSlices(stack, model);
    if (!std::binary_search(outlined.begin(), outlined.end(), first) ||
        !std::binary_search(outlined.begin(), outlined.end(), last))
        return Outcome::refused("The model has no outline on one of the two slices");
    const StackReconstruction<double> space(stack);
    NewItems items;
    Outcome outcome = Outcome::refused(noGap);
    for (auto side = std::lower_bound(outlined.begin(), outlined.end(), first); *side < last; ++side)
        if (*std::next(side) > *side + 1)
            if (const Outcome made = outlinesBetween(stack, space, model, *side, *std::next(side), items);
                !made || !outcome)
                outcome = made;
    return items.empty() ? outcome : addItems(stack, std::move(items), noGap);
}

Outcome fillAllGaps(VRLStack& stack, Model& model, int& numFilled) {
    numFilled = 0;
    const std::vector<int> outlined = outlinedSlices(stack, model);
    if (outlined.size() < 2)
        return Outcome::refused(model.getProperties().getGeometry() != PolygonPrimitive ? noPolygons : noGap);
    const Outcome outcome = fillGap(stack, model, outlined.front(), outlined.back());
    if (outcome)
        numFilled = int(outlinedSlices(stack, model).size() - outlined.size());
    return outcome;
}

} // namespace vorlen
