#include "reconstruction/modelitemgeometry.h"

#include <cmath>
#include <optional>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "numerics/exception.h"
#include "reconstruction/flatoutline.h"
#include "shapes/curve.h"
#include "shapes/pixelsteps.h"
#include "shapes/selfcontact.h"

namespace vorlen {

namespace {

void scale(std::vector<double>& places, double width, double height) {
    for (std::size_t k = 0; k + 1 < places.size(); k += 2) {
        places[k] *= width;
        places[k + 1] *= height;
    }
}

double lengthOf(const std::vector<double>& places, bool closed) {
    const std::size_t size = places.size();
    if (size < 4)
        return 0;
    double sum = 0;
    for (std::size_t k = 0; k < (closed ? size : size - 2); k += 2) {
        const std::size_t next = k + 2 < size ? k + 2 : 0;
        const double x = places[k] - places[next], y = places[k + 1] - places[next + 1];
        sum += std::sqrt(x * x + y * y);
    }
    return sum;
}

/// Of an outline that crosses itself what it encloses: the parts of a figure of eight would cancel each other.
double signedArea(const std::vector<double>& places) {
    const int n = int(places.size() / 2);
    const double twice = FlatOutline::twiceArea(places.data(), n, 2);
    if (!std::isfinite(twice))
        return 0.5 * twice;
    if (twice != 0 && FlatOutline::isStar(places.data(), n, 2, twice))
        return 0.5 * twice;
    const std::optional<SelfContact> contact = findSelfContact(places, true);
    return contact && contact->crosses ? std::copysign(FlatOutline::enclosedArea(places.data(), n, 2), twice)
                                       : 0.5 * twice;
}

} // namespace

ModelItemGeometry::ModelItemGeometry() {
    clear();
}

void ModelItemGeometry::clear() {
    __isDone = false;
    __places.clear();
    __vertices.reset();
    __isobarycenter.setZeros(3);
    __length = __lengthWithoutSteps = 0;
    __area = 0;
}

void ModelItemGeometry::run() {
    const ModelItem* item = getModelItem();
    run(item == nullptr || item->getSlice() == nullptr ? 0 : double(item->getSlice()->getAbsolutePosition()));
}

void ModelItemGeometry::run(double position) {
    clear();
    const ModelItem* item = getModelItem();
    if (item == nullptr || item->getSlice() == nullptr || item->getModel() == nullptr)
        throw UsageError("void ModelItemGeometry::run()", "The item is not set or lies on no slice or in no model");

    const StackSlice& slice = *item->getSlice();
    const double pixelWidth = slice.getPixelCalibration().getPixelWidth();
    const double pixelHeight = slice.getPixelCalibration().getPixelHeight();
    __isConnected = item->isConnected();
    __isClosed = item->isClosed();
    __pixels.clear();
    appendCoordinates(*item, __pixels);
    __places = __pixels;
    scale(__places, pixelWidth, pixelHeight);
    if (!__places.empty())
        findCentre(position);
    __isDone = true;
    if (!__isConnected)
        return;
    __length = __lengthWithoutSteps = lengthOf(__places, __isClosed);
    if (removePixelSteps(__pixels.data(), item->getSize(), __isClosed, __smooth)) {
        scale(__smooth, pixelWidth, pixelHeight);
        __lengthWithoutSteps = lengthOf(__smooth, __isClosed);
    }
    if (__isClosed)
        __area = signedArea(__places);
}

void ModelItemGeometry::findCentre(double position) {
    const std::size_t numVertices = __places.size() / 2;
    double sum[2] = {};
    for (std::size_t k = 0; k < __places.size(); ++k)
        sum[k % 2] += __places[k];
    for (const int axis : {0, 1})
        __isobarycenter[axis] = sum[axis] / double(numVertices);
    __isobarycenter[2] = position;
}

int ModelItemGeometry::getNumVertices() const {
    return int(__places.size() / 2);
}

const Vertices<double>& ModelItemGeometry::getVertices() const {
    if (!__isDone)
        throw UsageError("const Vertices<double>& ModelItemGeometry::getVertices() const", "The item is not analysed");
    if (__vertices)
        return *__vertices;
    const int n = getNumVertices();
    if (__isConnected)
        __vertices = std::make_unique<Curve<double>>(2, n, n, 1, !__isClosed);
    else
        __vertices = std::make_unique<Vertices<double>>(2, n, n, 1);
    for (int k = 0; k < n; ++k)
        for (const int axis : {0, 1})
            (*__vertices)[k][axis] = __places[std::size_t(2 * k + axis)];
    return *__vertices;
}

} // namespace vorlen
