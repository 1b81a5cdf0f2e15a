#include "editing/operations/spotoperations.h"

#include <algorithm>
#include <memory>
#include <unordered_set>
#include <utility>
#include <vector>

#include "document/model.h"
#include "document/modelitem.h"
#include "editing/actions/vrlmodelcreationaction.h"
#include "editing/operations/onestep.h"
#include "editing/operations/orderedstep.h"
#include "editing/stacks/vrlstack.h"
#include "images/rasters/colormap.h"
#include "numerics/maths.h"
#include "spots/spotvolume.h"

namespace vorlen {

namespace {

using Models = std::vector<std::unique_ptr<Model>>;

Vector<int> point(int x, int y) {
    Vector<int> result(2);
    result[0] = x;
    result[1] = y;
    return result;
}

Models makeModels(const Stack& stack, std::size_t count, const VRLSpotExtractionConfig& config) {
    std::unordered_set<std::string> taken;
    for (int i = 0; i < stack.getNumModels(); ++i)
        taken.insert(stack.getModel(i).getName());
    const Colormap colors = Colormap::flag();
    const bool areSeparate = config.isSeparateModelsEnabled();
    Models models;
    models.reserve(areSeparate ? count : 1);
    for (std::size_t i = 0; i < (areSeparate ? count : 1); ++i) {
        auto model = std::make_unique<Model>();
        const std::string name = areSeparate ? spotName(config.getBasename(), i) : config.getBasename();
        model->setName(taken.contains(name) ? stack.uniqueModelName(name) : name);
        model->getProperties().setDefaults();
        model->getProperties().setGeometry(PolypointPrimitive);
        ModelItemProperties& look = model->getItemProperties();
        look.setDefaults();
        look.setVertexSymbol(config.isEquivalentSpheresEnabled() ? SphereSymbol : CubeSymbol);
        look.setPointSize(1);
        if (areSeparate) {
            const int color = int(2 + i % 14);
            look.setColor(colors.getRed()[color], colors.getGreen()[color], colors.getBlue()[color]);
        }
        models.push_back(std::move(model));
    }
    return models;
}

Model& modelOf(Models& models, std::size_t spot) {
    return *models[models.size() == 1 ? 0 : spot];
}

/// The model owns it.
ModelItem& addItem(Model& model, StackSlice& slice, const Vertices<int>& vertices) {
    auto item = std::make_unique<ModelItem>();
    item->setModel(&model);
    item->setSlice(&slice);
    item->setVertices(vertices);
    item->attachToModel();
    return *item.release();
}

/// The voxels of a plane as points, an item for each spot with some.
void addPlane(Stack& stack, const SpotLabels& found, int plane, Models& models) {
    const PixelMatrix<int>& labels = found.labels[plane];
    std::vector<std::pair<int, std::vector<int>>> points; // label, and coordinates of its voxels
    std::vector<std::size_t> placeOf(found.spots.size() + 1, 0);
    for (int i = 0; i < labels.getSize1(); ++i)
        for (int j = 0; j < labels.getSize2(); ++j)
            if (const int label = labels[i][j]; label > 0) {
                std::size_t& place = placeOf[std::size_t(label)];
                if (place == 0) {
                    points.emplace_back(label, std::vector<int>());
                    place = points.size();
                }
                std::vector<int>& coordinates = points[place - 1].second;
                coordinates.push_back(j);
                coordinates.push_back(i);
            }
    std::sort(points.begin(), points.end());
    for (const auto& [label, coordinates] : points) {
        const int n = int(coordinates.size() / 2);
        Vertices<int> vertices(2, n, n, 1);
        for (int v = 0; v < n; ++v)
            vertices[v] = point(coordinates[std::size_t(2 * v)], coordinates[std::size_t(2 * v) + 1]);
        addItem(modelOf(models, std::size_t(label) - 1), stack.getSlice(plane), vertices);
    }
}

void addSpheres(Stack& stack, const SpotLabels& found, Models& models) {
    const Vector<double> resolution = spotResolution(stack);
    for (std::size_t i = 0; i < found.spots.size(); ++i) {
        const Spot& spot = found.spots[i];
        Vertices<int> centre(2, 1, 1, 1);
        centre[0] = point(int(Maths::fround(spot.column)), int(Maths::fround(spot.row)));
        const int plane = std::clamp(int(Maths::fround(spot.plane)), 0, stack.getNumSlices() - 1);
        ModelItem& item = addItem(modelOf(models, i), stack.getSlice(plane), centre);
        // Without the sizes of pixels and steps there is no radius.
        const double radius = equivalentRadius(spot, resolution);
        ModelItemProperties look;
        look.setPointSize(radius >= 1 && radius < 1e6 ? float(Maths::fround(radius)) : 1.0f);
        item.setProperties(look);
    }
}

} // namespace

Outcome addSpots(VRLStack& stack, const SpotLabels& found, const VRLSpotExtractionConfig& config) {
    if (config.getBasename().empty())
        return Outcome::refused("The spots have no name");
    if (found.spots.empty() && config.isSeparateModelsEnabled())
        return Outcome::refused("There are no spots to add");
    if (found.labels.getSize3() != stack.getNumSlices() || stack.getNumSlices() == 0)
        return Outcome::refused("The stack has other slices than when its spots were sought");
    if (const Outcome free = mayBeginStep(stack); !free)
        return free;
    Models models = makeModels(stack, found.spots.size(), config);
    if (config.isEquivalentSpheresEnabled())
        addSpheres(stack, found, models);
    else
        for (int k = 0; k < found.labels.getSize3(); ++k)
            addPlane(stack, found, k, models);
    // Each model stands behind the one before, also when they come back.
    return inOneStep(stack, "There are no spots to add", [&](EditStep& whole) {
        OrderedStep step(whole, "Find spots");
        for (std::unique_ptr<Model>& model : models)
            step.apply(std::make_unique<VRLModelCreationAction>(stack, std::move(model)));
    });
}

} // namespace vorlen
