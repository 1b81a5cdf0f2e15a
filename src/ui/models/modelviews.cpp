#include "ui/models/modelviews.h"

#include "document/model.h"
#include "document/modelitem.h"
#include "editing/bus/vrlmodelevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

ModelViews::ModelViews(QObject* parent) : QObject(parent) {
}

void ModelViews::set(std::set<const Model*>& models, const Model& model, bool on) {
    if (on)
        models.insert(&model);
    else
        models.erase(&model);
}

void ModelViews::setStack(VRLStack* stack) {
    if (stack == __stack)
        return;
    __stack = stack;
    const auto known = __chosen.find(stack);
    Model* const first = stack != nullptr && stack->getNumModels() > 0 ? &stack->getModel(0) : nullptr;
    takeCurrent(known != __chosen.end() ? known->second : first);
}

void ModelViews::takeCurrent(Model* model) {
    if (__stack != nullptr && model != nullptr)
        __chosen[__stack] = model;
    else if (__stack != nullptr)
        __chosen.erase(__stack);
    if (model == __current)
        return;
    __current = model;
    emit currentChanged();
}

void ModelViews::setCurrent(Model& model) {
    if (__stack != nullptr && __stack->findModel(model) >= 0)
        takeCurrent(&model);
}

void ModelViews::setHidden(const Model& model, bool hidden) {
    if (hidden == isHidden(model))
        return;
    set(__hidden, model, hidden);
    emit changed();
}

void ModelViews::setLocked(const Model& model, bool locked) {
    if (locked == isLocked(model))
        return;
    set(__locked, model, locked);
    emit changed();
}

void ModelViews::setHidden(const std::vector<Model*>& models, bool hidden) {
    for (const Model* model : models)
        set(__hidden, *model, hidden);
    emit changed();
}

void ModelViews::setLocked(const std::vector<Model*>& models, bool locked) {
    for (const Model* model : models)
        set(__locked, *model, locked);
    emit changed();
}

void ModelViews::showOnly(const Model& model) {
    for (int i = 0; __stack != nullptr && i < __stack->getNumModels(); ++i)
        set(__hidden, __stack->getModel(i), &__stack->getModel(i) != &model);
    emit changed();
}

void ModelViews::showOnly(const std::vector<Model*>& models) {
    for (int i = 0; __stack != nullptr && i < __stack->getNumModels(); ++i)
        set(__hidden, __stack->getModel(i), true);
    setHidden(models, false);
}

void ModelViews::showAll() {
    for (int i = 0; __stack != nullptr && i < __stack->getNumModels(); ++i)
        set(__hidden, __stack->getModel(i), false);
    emit changed();
}

bool ModelViews::isShown(const ModelItem& item) const {
    return item.getModel() == nullptr || !isHidden(*item.getModel());
}

bool ModelViews::isTouchable(const ModelItem& item) const {
    return item.getModel() == nullptr || !(isHidden(*item.getModel()) || isLocked(*item.getModel()));
}

void ModelViews::forget(const Model& model) {
    __hidden.erase(&model);
    __locked.erase(&model);
}

void ModelViews::stackCloseEvent(VRLStackCloseEvent& event) {
    for (int i = 0; i < event.getStack()->getNumModels(); ++i)
        forget(event.getStack()->getModel(i));
    if (event.getStack() == __stack)
        setStack(nullptr);
    __chosen.erase(event.getStack());
}

void ModelViews::modelCreateEvent(VRLModelCreateEvent& event) {
    if (__current == nullptr)
        setCurrent(*event.getModel());
}

// The model is still in its stack, and its neighbour takes its place.
void ModelViews::modelDeleteEvent(VRLModelDeleteEvent& event) {
    const Model* const model = event.getModel();
    forget(*model);
    if (model == __current && __stack != nullptr) {
        const int rank = __stack->findModel(*model);
        const int next = rank + 1 < __stack->getNumModels() ? rank + 1 : rank - 1;
        takeCurrent(next >= 0 ? &__stack->getModel(next) : nullptr);
    }
    for (auto chosen = __chosen.begin(); chosen != __chosen.end();)
        chosen = chosen->second == model ? __chosen.erase(chosen) : std::next(chosen);
}

} // namespace vorlen
