#pragma once

#include <memory>
#include <string>
#include <vector>

namespace vorlen {

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

    /// What the history's owner wants back when the step is undone.
    void setContext(const std::string& context) { __context = context; }
    const std::string& getContext() const { return __context; }

    /// A step that leaves the document alone, and is of no account for it.
    void setAside(bool aside) { __aside = aside; }
    bool isAside() const { return __aside; }

    /// All of the actions or, where one of them throws, none.
    void apply();
    void revert();

    /// Deletes all actions, the last one first.
    void destroy();

private:
    void allOrNone(void (VRLAction::*work)(), void (VRLAction::*back)());

    std::vector<std::unique_ptr<VRLAction>> __actions;
    std::string __context;
    bool __aside = false;
};

} // namespace vorlen
