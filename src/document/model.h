#pragma once

#include <memory>
#include <string>

#include "document/modelitemowner.h"
#include "document/modelitemproperties.h"
#include "document/modelproperties.h"
#include "document/unreadtext.h"
#include "snake/snakeconfig.h"

namespace vorlen {

/// A structure of the user's: its outlines over the slices and how they look. Deletes its items.
///
/// A new model is a red polygon surface with filled spheres of point size 3; its cap flags are undefined.
class Model : public ModelItemOwner, public UnreadText {
public:
    Model();
    ~Model() override;

    void setName(const std::string& name);
    const std::string& getName() const { return __name; }

    void setProperties(const ModelProperties& properties);
    ModelProperties& getProperties() { return __properties; }
    const ModelProperties& getProperties() const { return __properties; }

    /// The name of the group under which the model is listed; empty for none. It gathers models that are shown, hidden
    /// and locked together, and changes nothing about them: a group is there as long as a model names it.
    std::string getGroup() const { return __properties.definesGroup() ? __properties.getGroup() : std::string(); }

    /// The look of the items that have none of their own.
    void setItemProperties(const ModelItemProperties& properties);
    ModelItemProperties& getItemProperties() { return __itemProperties; }
    const ModelItemProperties& getItemProperties() const { return __itemProperties; }

    /// The parameters last accepted for a snake on this model; kept in memory only.
    bool hasSnakeConfig() const { return __snakeConfig != nullptr; }
    void setSnakeConfig(const SnakeConfig& config);

    /// Throws ProgramError when none has been set.
    const SnakeConfig& getSnakeConfig() const;

    /// True when an item of this polygon model partially contains an item of other on the same slice.
    bool partiallyContains(const Model& other) const;

private:
    std::string __name = "<model>";
    ModelProperties __properties;
    ModelItemProperties __itemProperties;
    std::unique_ptr<SnakeConfig> __snakeConfig;
};

} // namespace vorlen
