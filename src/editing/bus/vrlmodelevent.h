#pragma once

#include "document/model.h"
#include "editing/bus/vrlevent.h"

namespace vorlen {

/// Something about a model.
class VRLModelEvent : public VRLEvent {
public:
    explicit VRLModelEvent(Model* model) : __model(model) {}

    /// Throws ProgramError when no model is set.
    Model* getModel() const;
    void setModel(Model* model) { __model = model; }

private:
    Model* __model;
};

/// The model is in its stack.
class VRLModelCreateEvent : public VRLModelEvent {
public:
    explicit VRLModelCreateEvent(Model* model) : VRLModelEvent(model) {}
    int type() const override { return ModelCreate; }
};

/// The model is about to leave its stack.
class VRLModelDeleteEvent : public VRLModelEvent {
public:
    explicit VRLModelDeleteEvent(Model* model) : VRLModelEvent(model) {}
    int type() const override { return ModelDelete; }
};

/// The model looks different. What it looked like before comes along.
class VRLModelPropertiesEvent : public VRLModelEvent {
public:
    explicit VRLModelPropertiesEvent(Model* model) : VRLModelEvent(model) {}
    int type() const override { return VRLEvent::ModelProperties; }

    void setOldProperties(const vorlen::ModelProperties& properties) { __oldProperties = properties; }
    const vorlen::ModelProperties& getOldProperties() const { return __oldProperties; }
    void setOldItemProperties(const ModelItemProperties& properties) { __oldItemProperties = properties; }
    const ModelItemProperties& getOldItemProperties() const { return __oldItemProperties; }

private:
    vorlen::ModelProperties __oldProperties;
    ModelItemProperties __oldItemProperties;
};

} // namespace vorlen
