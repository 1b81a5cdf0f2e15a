#pragma once

#include <map>
#include <set>
#include <vector>

#include <QObject>

#include "editing/bus/vrleventclient.h"

namespace vorlen {

class Model;
class ModelItem;
class Stack;
class VRLStack;

/// How the user of one window looks at the models of its stacks: which one is current, that is drawn with, and which
/// are hidden or locked on the slices. Nothing of it is part of a document, and none of it is undone.
///
/// Decisions: each stack has a current model of its own, which is found again when the stack comes back; its first
/// model where none was chosen. What is hidden can't be touched either. A model that leaves its stack is forgotten: it
/// comes back shown and unlocked. A locked model can still be changed as a whole (its name, its looks), and by undoing.
class ModelViews : public QObject, public VRLEventClient {
    Q_OBJECT

public:
    explicit ModelViews(QObject* parent = nullptr);

    /// The stack that is looked at; null for none.
    void setStack(VRLStack* stack);
    VRLStack* getStack() const { return __stack; }

    /// A model of the stack; null without one.
    Model* getCurrent() const { return __current; }
    /// Nothing for a model of another stack.
    void setCurrent(Model& model);

    bool isHidden(const Model& model) const { return __hidden.count(&model) > 0; }
    void setHidden(const Model& model, bool hidden);
    bool isLocked(const Model& model) const { return __locked.count(&model) > 0; }
    void setLocked(const Model& model, bool locked);
    /// The same for several at once, as of a group.
    void setHidden(const std::vector<Model*>& models, bool hidden);
    void setLocked(const std::vector<Model*>& models, bool locked);
    /// Hides the other models of the stack, and shows these; shows all.
    void showOnly(const Model& model);
    void showOnly(const std::vector<Model*>& models);
    void showAll();

    /// Whether the item is shown, and whether it can be selected and changed. An item without a model can.
    bool isShown(const ModelItem& item) const;
    bool isTouchable(const ModelItem& item) const;

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void modelCreateEvent(VRLModelCreateEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;

signals:
    void currentChanged();
    /// What is hidden or locked.
    void changed();

private:
    void forget(const Model& model);
    void takeCurrent(Model* model);
    static void set(std::set<const Model*>& models, const Model& model, bool on);

    VRLStack* __stack = nullptr;
    Model* __current = nullptr;
    std::map<const Stack*, Model*> __chosen; // the current models of the other stacks too
    std::set<const Model*> __hidden;
    std::set<const Model*> __locked;
};

} // namespace vorlen
