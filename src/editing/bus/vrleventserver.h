#pragma once

#include <vector>

namespace vorlen {

class VRLAction;
class VRLEvent;
class VRLEventClient;

/// The one bus of the process: every client hears every event, at once, in the caller's call stack.
///
/// Clients hear in the order in which they were attached. A client attached while an event is delivered hears it too;
/// when one is detached then, the client right behind it misses the event if both stand before or at the one that is
/// being called. A handler may send events: these reach all clients first. What a handler throws leaves the sender, and
/// the clients behind it hear nothing, unless a VRLEventDeferral keeps it. Main thread only.
class VRLEventServer {
public:
    VRLEventServer() = delete;

    /// Nothing when the client is attached already.
    static void attach(VRLEventClient& client);
    static void detach(VRLEventClient& client);

    static void notifyEvent(VRLEvent& event);
    static void notifyAction(VRLAction& action);
    static void atEventBatchEnd();

private:
    template <class Call>
    static void forAll(Call&& call);

    static std::vector<VRLEventClient*>& clients();
};

} // namespace vorlen
