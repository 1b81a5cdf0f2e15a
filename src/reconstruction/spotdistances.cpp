#include "reconstruction/spotdistances.h"

#include "document/model.h"
#include "document/stack.h"
#include "numerics/exception.h"
#include "reconstruction/emptylevels.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/quadmesh.h"

namespace vorlen {

namespace {

const char* const where = "std::vector<double> spotDistances(...)";

const Model& modelOf(const Stack& stack, const std::string& name) {
    const int place = stack.findModel(name);
    if (place < 0)
        throw UsageError(where, "It has no model \"" + name + "\"");
    return stack.getModel(place);
}

template <class Visitor>
void forVertices(const Shape<double>& shape, const Visitor& visit) {
    if (const auto* levels = dynamic_cast<const VertexStack<double>*>(&shape))
        for (int k = 0; k < levels->getHeight(); ++k)
            for (int v = 0; v < (*levels)[k].getNumVertices(); ++v)
                visit((*levels)[k][v]);
}

} // namespace

std::vector<double> spotDistances(const Stack& stack, const std::string& surface, const std::string& spots) {
    const StackReconstruction<double> reconstruction(stack);
    const auto outlines = reconstruction.apply(modelOf(stack, surface));
    const auto points = reconstruction.apply(modelOf(stack, spots));
    auto* curves = dynamic_cast<CurveStack<double>*>(outlines.get());
    if (curves == nullptr)
        throw UsageError(where, "Its model \"" + surface + "\" holds points, which have no surface");
    removeEmptyLevels(*curves);
    if (curves->getHeight() == 0)
        throw UsageError(where, "Its model \"" + surface + "\" has no outlines");
    const TriMesh<double> mesh = curves->resample(50, 100).toTriMesh(true);
    std::vector<double> distances;
    Vector<double> closest(3);
    forVertices(*points, [&](const Vector<double>& spot) { distances.push_back(mesh.closestPoint(spot, closest)); });
    if (distances.empty())
        throw UsageError(where, "Its model \"" + spots + "\" has no points");
    return distances;
}

} // namespace vorlen
