#include "normalization/vrlfusionconfig.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "document/modelitem.h"
#include "document/stack.h"
#include "normalization/pointmap.h"
#include "reconstruction/modelsurface.h"
#include "reconstruction/stackreconstruction.h"

namespace vorlen {

namespace {

/// The polygon model of this name with items; null when the stack has none.
const Model* surfaceModel(const Stack& stack, const std::string& name) {
    const int place = stack.findModel(name);
    if (place < 0)
        return nullptr;
    const Model& model = stack.getModel(place);
    return model.getProperties().getGeometry() == PolygonPrimitive && model.getNumItems() > 0 ? &model : nullptr;
}

} // namespace

template <class T>
std::vector<VRLFusionSurfaceStructure<T>>
VRLFusionConfig<T>::sharedStructures(const std::vector<const Stack*>& stacks) {
    std::vector<VRLFusionSurfaceStructure<T>> structures;
    for (int m = 0; !stacks.empty() && m < stacks.front()->getNumModels(); ++m) {
        const std::string& name = stacks.front()->getModel(m).getName();
        if (stacks.front()->findModel(name) != m)
            continue;
        int height = 0, width = 0;
        bool shared = true;
        for (const Stack* stack : stacks) {
            const Model* model = surfaceModel(*stack, name);
            shared = shared && model;
            if (!shared)
                break;
            height = std::max(height, model->getNumItems());
            for (int i = 0; i < model->getNumItems(); ++i)
                width = std::max(width, model->getItem(i).getSize());
        }
        if (shared) {
            VRLFusionSurfaceStructure<T> structure;
            structure.setName(name);
            structure.setResamplingHeight(height);
            structure.setResamplingWidth(width);
            structures.push_back(structure);
        }
    }
    return structures;
}

template <class T>
std::vector<std::string> VRLFusionConfig<T>::specimenNames(const std::vector<const Stack*>& stacks) {
    std::set<std::string> given = {"mean"};
    for (const Stack* stack : stacks)
        given.insert(stack->getName());
    std::set<std::string> taken = {"mean"};
    std::vector<std::string> names;
    for (const Stack* stack : stacks) {
        const std::string base = stack->getName().empty() ? "stack" : stack->getName();
        std::string name = base;
        const bool isOwn = base == stack->getName();
        for (int k = 2; taken.count(name) > 0 || (!(isOwn && name == base) && given.count(name) > 0); ++k)
            name = base + "-" + std::to_string(k);
        taken.insert(name);
        names.push_back(name);
    }
    return names;
}

template <class T>
double VRLFusionConfig<T>::unitFactor(const Stack& stack, const Stack& first) {
    return std::pow(10.0, stack.getLengthUnit().getScale() - first.getLengthUnit().getScale());
}

template <class T>
std::vector<std::unique_ptr<CurveStack<T>>>
VRLFusionConfig<T>::surfaceStructureInstances(const std::vector<const Stack*>& stacks, const std::string& name) {
    std::vector<std::unique_ptr<CurveStack<T>>> instances;
    for (const Stack* stack : stacks) {
        const int place = stack->findModel(name);
        if (place < 0)
            continue;
        const StackReconstruction<T> reconstruction(*stack);
        auto curves = ModelSurface<T>(stack->getModel(place), reconstruction).takeContours();
        if (!curves)
            continue;
        const double factor = unitFactor(*stack, *stacks.front());
        if (factor != 1)
            scaleBy<T>(factor).apply(*curves);
        instances.push_back(std::move(curves));
    }
    return instances;
}

template <class T>
bool VRLFusionConfig<T>::isBranching(const std::vector<const Stack*>& stacks, const std::string& name) {
    const auto instances = surfaceStructureInstances(stacks, name);
    return std::any_of(instances.begin(), instances.end(), [](const auto& curves) { return curves->isBranching(); });
}

template class VRLFusionConfig<float>;
template class VRLFusionConfig<double>;
template class VRLFusionConfig<long double>;

} // namespace vorlen
