#include "reconstruction/modelmorphometry.h"

#include <cmath>
#include <vector>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "numerics/exception.h"
#include "reconstruction/modelsurface.h"
#include "reconstruction/stackreconstruction.h"

namespace vorlen {

namespace {

constexpr double notAvailable = -1;

/// Standard deviations along the main axes, from the covariance of the vertices.
void findMainAxes(const Shape<double>& shape, Vector<double>& lengths, SquareMatrix<double>& axes) {
    SquareMatrix<double> covariance = shape.inertia();
    covariance /= double(shape.getNumVertices());
    covariance.eigenJacobi(lengths, axes, true);
    // Rounding may leave the eigenvalue of a flat set of vertices a trace below 0.
    for (int i = 0; i < lengths.getSize(); ++i)
        lengths[i] = lengths[i] > 0 ? std::sqrt(lengths[i]) : 0;
}

/// For each column the row of its largest component by absolute value.
Vector<int> nearestCoordinateAxes(const SquareMatrix<double>& axes) {
    Vector<int> nearest(axes.getSize2());
    for (int i = 0; i < axes.getSize2(); ++i) {
        Vector<double> column = axes.getColumn(i);
        column.apply(std::fabs);
        nearest[i] = column.maxPos();
    }
    return nearest;
}

/// Stack of flat cylinders: what stands on a slice reaches up to the next slice where something stands.
double cylinderVolume(const Stack& stack, const Model& model, const StackReconstruction<double>& reconstruction) {
    const std::vector<float> positions = stack.getAbsolutePositions();
    double volume = 0, previousPosition = 0, previousArea = 0, lastRelative = 0;
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const StackSlice& slice = stack.getSlice(i);
        double area = 0;
        for (int k = 0; k < slice.getNumItems(); ++k) {
            const ModelItem& item = slice.getItem(k);
            if (item.getModel() != &model)
                continue;
            const auto shape = reconstruction.apply(item);
            area += 0.5 * static_cast<const Curve<double>&>(*shape).twiceArea(0, 1);
        }
        if (area == 0)
            continue;
        const double position = positions[std::size_t(i)];
        volume += std::fabs((position - previousPosition) * previousArea);
        previousPosition = position;
        previousArea = area;
        lastRelative = slice.getRelativePosition();
    }
    return volume + std::fabs(lastRelative * previousArea);
}

} // namespace

ModelMorphometry::ModelMorphometry() {
    clear();
}

void ModelMorphometry::setModel(const Model& model) {
    if (__model == &model)
        return;
    __model = &model;
    clear();
}

void ModelMorphometry::clear() {
    __numVertices = 0;
    __numContours = 0;
    __isobarycenter.setZeros(3);
    __area = 0;
    __volume = 0;
    __reason.clear();
    __mainAxesLengths.setZeros(3);
    __mainAxes.setZeros(3, 3);
    __matchingCoordinateAxes.setZeros(3);
}

void ModelMorphometry::run() {
    clear();
    if (__model == nullptr)
        throw UsageError("void ModelMorphometry::run()", "No model has been set");

    const StackSlice* firstSlice = nullptr;
    for (int i = 0; i < __model->getNumItems(); ++i) {
        const ModelItem& item = __model->getItem(i);
        __numVertices += item.getSize();
        if (firstSlice == nullptr)
            firstSlice = item.getSlice();
    }
    __numContours = __model->getNumItems();
    if (__numVertices < 1)
        return;
    if (firstSlice == nullptr || firstSlice->getStack() == nullptr)
        throw UsageError("void ModelMorphometry::run()", "The items of the model are in no stack");

    const Stack& stack = *firstSlice->getStack();
    const StackReconstruction<double> reconstruction(stack);
    const ModelSurface<double> surface(*__model, reconstruction);
    __isobarycenter = surface.getShape().cog();
    findMainAxes(surface.getShape(), __mainAxesLengths, __mainAxes);
    __matchingCoordinateAxes = nearestCoordinateAxes(__mainAxes);

    if (surface.getKind() == SurfaceKind::Points)
        return;
    __reason = surface.reason();
    if (surface.exists())
        __area = surface.tile(2).area();
    else
        __area = __volume = notAvailable;
    if (__model->getProperties().getGeometry() == PolygonPrimitive)
        __volume = cylinderVolume(stack, *__model, reconstruction);
}

double ModelMorphometry::getEquivRadius() const {
    return std::pow(3 * __volume / 12.566370614359172, 0.3333333333333333);
}

bool ModelMorphometry::simpleCurveStack(const CurveStack<double>& stack) const {
    return !stack.isBranching();
}

} // namespace vorlen
