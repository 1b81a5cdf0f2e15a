#include "document/model.h"

#include <unordered_map>

#include "document/modelitem.h"
#include "numerics/exception.h"

namespace vorlen {

Model::Model() {
    ModelProperties defaults;
    defaults.setGeometry(PolygonPrimitive);
    defaults.setRenderingMode(SurfaceRendering);
    defaults.setSurfaceOpacity(255);
    defaults.setSurfaceShininess(32);
    defaults.setQuadMeshWidth(100);
    defaults.setQuadMeshHeight(100);
    defaults.setEconomicRendering(false);
    __properties = defaults;
    __itemProperties.setDefaults();
    __itemProperties.setPointSize(3);
}

Model::~Model() = default;

void Model::setName(const std::string& name) {
    __name = name;
}

void Model::setProperties(const ModelProperties& properties) {
    __properties = properties;
}

void Model::setItemProperties(const ModelItemProperties& properties) {
    __itemProperties = properties;
}

void Model::setSnakeConfig(const SnakeConfig& config) {
    if (__snakeConfig == nullptr)
        __snakeConfig = std::make_unique<SnakeConfig>(config);
    else
        *__snakeConfig = config;
}

const SnakeConfig& Model::getSnakeConfig() const {
    if (__snakeConfig == nullptr)
        throw ProgramError("const SnakeConfig& Model::getSnakeConfig() const", "This model has no snake parameters");
    return *__snakeConfig;
}

bool Model::partiallyContains(const Model& other) const {
    if (!__properties.definesGeometry() || __properties.getGeometry() != PolygonPrimitive)
        return false;
    std::unordered_multimap<const StackSlice*, const ModelItem*> outlines;
    for (int i = 0; i < getNumItems(); ++i)
        outlines.emplace(getItem(i).getSlice(), &getItem(i));
    for (int i = 0; i < other.getNumItems(); ++i) {
        const ModelItem& item = other.getItem(i);
        const auto [first, last] = outlines.equal_range(item.getSlice());
        for (auto outline = first; outline != last; ++outline)
            if (outline->second->partiallyContains(item))
                return true;
    }
    return false;
}

} // namespace vorlen
