#include "reconstruction/spotdistances.h"

#include "document/model.h"
#include "document/stack.h"
#include "numerics/exception.h"
#include "reconstruction/modelsurface.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/meshdistance.h"
#include "shapes/vertexiterator.h"

namespace vorlen {

namespace {

const char* const where = "std::vector<double> spotDistances(...)";

const Model& modelOf(const Stack& stack, const std::string& name) {
    const int place = stack.findModel(name);
    if (place < 0)
        throw UsageError(where, "It has no model \"" + name + "\"");
    return stack.getModel(place);
}

} // namespace

std::vector<double> spotDistances(const Stack& stack, const std::string& surface, const std::string& spots) {
    const StackReconstruction<double> reconstruction(stack);
    const ModelSurface<double> outlines(modelOf(stack, surface), reconstruction);
    const ModelSurface<double> points(modelOf(stack, spots), reconstruction);
    if (!outlines.exists())
        throw UsageError(where, "Its model \"" + surface + "\" has no surface to measure from: " + outlines.reason());
    const TriMesh<double> mesh =
        outlines.isGrid() ? outlines.resample(50, 100)->toTriMesh(true) : outlines.closed(SurfaceEnds());
    const MeshDistance surfaceOf(mesh);
    std::vector<double> distances;
    for (ConstVertexIterator<double> spot(points.getShape()); spot.current(); ++spot)
        distances.push_back(
            surfaceOf.closest({(*spot.current())[0], (*spot.current())[1], (*spot.current())[2]}).distance);
    if (distances.empty())
        throw UsageError(where, "Its model \"" + spots + "\" has no points");
    return distances;
}

} // namespace vorlen
