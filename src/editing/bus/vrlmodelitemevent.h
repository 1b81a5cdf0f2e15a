#pragma once

#include "editing/bus/vrlevent.h"

namespace vorlen {

class Model;
class ModelItem;

/// Something about an item.
class VRLModelItemEvent : public VRLEvent {
public:
    explicit VRLModelItemEvent(ModelItem* item) : __item(item) {}

    ModelItem* getItem() const { return __item; }
    void setItem(ModelItem* item) { __item = item; }

private:
    ModelItem* __item;
};

/// The item is on its slice and in its model.
class VRLModelItemCreateEvent : public VRLModelItemEvent {
public:
    explicit VRLModelItemCreateEvent(ModelItem* item) : VRLModelItemEvent(item) {}
    int type() const override { return ModelItemCreate; }
};

/// The item has left its slice and its model; it is still there itself.
class VRLModelItemDeleteEvent : public VRLModelItemEvent {
public:
    explicit VRLModelItemDeleteEvent(ModelItem* item) : VRLModelItemEvent(item) {}
    int type() const override { return ModelItemDelete; }
};

/// The item's vertices have changed.
class VRLModelItemVertexEvent : public VRLModelItemEvent {
public:
    explicit VRLModelItemVertexEvent(ModelItem* item) : VRLModelItemEvent(item) {}
    int type() const override { return ModelItemVertex; }
};

/// The item looks different.
class VRLModelItemAttributeEvent : public VRLModelItemEvent {
public:
    explicit VRLModelItemAttributeEvent(ModelItem* item) : VRLModelItemEvent(item) {}
    int type() const override { return ModelItemAttribute; }
};

/// Other vertices of the item are selected.
class VRLModelItemSelectEvent : public VRLModelItemEvent {
public:
    explicit VRLModelItemSelectEvent(ModelItem* item) : VRLModelItemEvent(item) {}
    int type() const override { return ModelItemSelect; }
};

/// The item has moved from one model to another.
class VRLModelItemConvertEvent : public VRLModelItemEvent {
public:
    VRLModelItemConvertEvent(ModelItem* item, Model* source, Model* destination)
        : VRLModelItemEvent(item), __source(source), __destination(destination) {}
    int type() const override { return ModelItemConvert; }

    void setSourceModel(Model* model) { __source = model; }
    Model* getSourceModel() const { return __source; }
    void setDestinationModel(Model* model) { __destination = model; }
    Model* getDestinationModel() const { return __destination; }

private:
    Model* __source;
    Model* __destination;
};

} // namespace vorlen
