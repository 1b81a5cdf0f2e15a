#include "reconstruction/modeldistances.h"

#include <cmath>
#include <utility>

#include "document/model.h"
#include "document/stack.h"
#include "numerics/exception.h"
#include "reconstruction/modelsurface.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/meshdistance.h"

namespace vorlen {

namespace {

/// Throws UsageError when the model has no surface.
TriMesh<double> meshOf(const Model& model, const StackReconstruction<double>& reconstruction) {
    const char* const where = "ModelDistances::ModelDistances(const Stack&)";
    const ModelSurface<double> surface(model, reconstruction);
    if (!surface.exists())
        throw UsageError(where, surface.reason());
    TriMesh<double> mesh = surface.closed(SurfaceEnds());
    if (mesh.getNumTriangles() == 0)
        throw UsageError(where, "it has one line only");
    for (int i = 0; i < mesh.getNumVertices(); ++i)
        for (int axis = 0; axis < 3; ++axis)
            if (!std::isfinite(mesh[i][axis]))
                throw UsageError(where, "its coordinates are no numbers");
    return mesh;
}

} // namespace

struct ModelDistances::Surface {
    std::string name;
    bool isClosed;
    MeshDistance mesh;
};

ModelDistances::ModelDistances(const Stack& stack) : __unit(stack.getLengthUnit().symbol()) {
    const StackReconstruction<double> reconstruction(stack);
    for (int m = 0; m < stack.getNumModels(); ++m) {
        const Model& model = stack.getModel(m);
        const bool isClosed = model.getProperties().getGeometry() == PolygonPrimitive;
        try {
            __surfaces.push_back(std::make_unique<Surface>(
                Surface{model.getName(), isClosed, MeshDistance(meshOf(model, reconstruction))}));
        } catch (const Exception& failure) {
            __leftOut.push_back({model.getName(), failure.getWhat()});
        }
    }
}

ModelDistances::~ModelDistances() = default;

const ModelDistances::Surface& ModelDistances::surface(int place) const {
    if (place < 0 || place >= getNumSurfaces())
        throw RangeError("const ModelDistances::Surface& ModelDistances::surface(int) const",
                         "There is no such surface");
    return *__surfaces[std::size_t(place)];
}

const std::string& ModelDistances::getName(int place) const {
    return surface(place).name;
}

bool ModelDistances::isClosed(int place) const {
    return surface(place).isClosed;
}

SurfaceDistances ModelDistances::measure(int first, int second) const {
    return {surface(first).mesh, surface(second).mesh};
}

} // namespace vorlen
