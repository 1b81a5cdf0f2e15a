#pragma once

#include <memory>
#include <vector>

namespace vorlen {

class Model;
class VRLAction;

/// The actions of one step of a history, in the order of pushing. They are reverted in this same order: actions of one
/// step do not depend on each other. Owns its actions.
class VRLActionList {
public:
    VRLActionList();
    ~VRLActionList();
    VRLActionList(const VRLActionList&) = delete;
    VRLActionList& operator=(const VRLActionList&) = delete;

    /// Takes over the action.
    void append(std::unique_ptr<VRLAction> action);

    /// Gives the last action back.
    std::unique_ptr<VRLAction> takeLast();

    bool isEmpty() const { return __actions.empty(); }
    int getSize() const { return static_cast<int>(__actions.size()); }
    const VRLAction& first() const { return *__actions.front(); }

    void apply();
    void revert();

    /// Deletes all actions.
    void destroy();

    /// Moves the actions that concern the model to the end of taken.
    void takeConcerned(const Model& model, std::vector<std::unique_ptr<VRLAction>>& taken);

    /// Lets all actions forget the model.
    void forget(const Model& model);

private:
    std::vector<std::unique_ptr<VRLAction>> __actions;
};

} // namespace vorlen
