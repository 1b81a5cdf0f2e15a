#pragma once

#include <memory>
#include <vector>

#include "editing/bus/vrleventclient.h"

namespace vorlen {

class VRLStack;

/// The open stacks of the process, in order of opening. Owns them.
class VRLStackServer : public VRLEventClient {
public:
    VRLStackServer();
    ~VRLStackServer() override;

    /// Takes over the stack, which must have been made by new, and tells of it.
    void addStack(VRLStack& stack);

    /// Tells that the stack goes, while it is still complete and listed, and deletes it. Nothing for a stack that is
    /// not listed.
    void removeStack(VRLStack& stack);

    int getNumStacks() const { return static_cast<int>(__stacks.size()); }
    VRLStack& getStack(int i) const { return *__stacks[static_cast<std::size_t>(i)]; }

    /// Place of the stack; -1 if it is not open.
    int find(const VRLStack& stack) const;

    /// The neighbours of an open stack; the first one follows on the last.
    VRLStack& getPreviousStack(const VRLStack& stack) const;
    VRLStack& getNextStack(const VRLStack& stack) const;

    /// Number of stacks added since the start of the process; never falls.
    static int getSessionNumStacks() { return __sessionNumStacks; }

    /// The one object of this class.
    static VRLStackServer stackServer;

private:
    std::vector<std::unique_ptr<VRLStack>> __stacks;
    static int __sessionNumStacks;
};

} // namespace vorlen
