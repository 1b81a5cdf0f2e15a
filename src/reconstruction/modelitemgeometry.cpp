#include "reconstruction/modelitemgeometry.h"

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "numerics/exception.h"
#include "shapes/curve.h"
#include "shapes/pixelsteps.h"

namespace vorlen {

ModelItemGeometry::ModelItemGeometry() {
    clear();
}

void ModelItemGeometry::clear() {
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
    const Vertices<double>& pixels = item->getVertices();
    const int size = pixels.getNumVertices();
    const auto scaled = [&](const Vertices<double>& outline) {
        const int n = outline.getNumVertices();
        Curve<double> result(2, n, n, 1, !item->isClosed());
        for (int k = 0; k < n; ++k) {
            result[k][0] = outline[k][0] * pixelWidth;
            result[k][1] = outline[k][1] * pixelHeight;
        }
        return result;
    };
    const Curve<double> curve = scaled(pixels);
    if (size > 0) {
        const Vector<double> centre = curve.cog();
        __isobarycenter[0] = centre[0];
        __isobarycenter[1] = centre[1];
        __isobarycenter[2] = position;
    }
    if (!item->isConnected()) {
        __vertices = std::make_unique<Vertices<double>>(curve);
        return;
    }
    __length = __lengthWithoutSteps = curve.length();
    const Vertices<double> smooth = withoutPixelSteps(pixels, item->isClosed());
    if (smooth.getNumVertices() != size)
        __lengthWithoutSteps = scaled(smooth).length();
    if (curve.isClosed())
        __area = 0.5 * curve.twiceArea(0, 1);
    __vertices = std::make_unique<Curve<double>>(curve);
}

int ModelItemGeometry::getNumVertices() const {
    return __vertices ? __vertices->getNumVertices() : 0;
}

const Vertices<double>& ModelItemGeometry::getVertices() const {
    if (!__vertices)
        throw UsageError("const Vertices<double>& ModelItemGeometry::getVertices() const", "The item is not analysed");
    return *__vertices;
}

} // namespace vorlen
