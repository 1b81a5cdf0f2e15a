#include "editing/bus/vrleventserver.h"

#include <algorithm>

#include "editing/bus/vrleventclient.h"
#include "editing/bus/vrleventdeferral.h"

namespace vorlen {

// Built at its first use, since clients that live as long as the process attach themselves before main() starts, and
// never destroyed, since they detach themselves after it.
std::vector<VRLEventClient*>& VRLEventServer::clients() {
    static auto* const clients = new std::vector<VRLEventClient*>;
    return *clients;
}

void VRLEventServer::attach(VRLEventClient& client) {
    if (std::find(clients().begin(), clients().end(), &client) == clients().end())
        clients().push_back(&client);
}

void VRLEventServer::detach(VRLEventClient& client) {
    const auto place = std::find(clients().begin(), clients().end(), &client);
    if (place != clients().end())
        clients().erase(place);
}

// By index, and with the size read again after each call: handlers attach and detach clients.
template <class Call>
void VRLEventServer::forAll(Call&& call) {
    for (std::size_t i = 0; i < clients().size(); ++i) {
        try {
            call(*clients()[i]);
        } catch (...) {
            if (VRLEventDeferral::current() == nullptr)
                throw;
            VRLEventDeferral::current()->keep();
        }
    }
}

void VRLEventServer::notifyEvent(VRLEvent& event) {
    forAll([&event](VRLEventClient& client) { client.processEvent(event); });
}

void VRLEventServer::notifyAction(VRLAction& action) {
    forAll([&action](VRLEventClient& client) { client.processAction(action); });
}

void VRLEventServer::atEventBatchEnd() {
    forAll([](VRLEventClient& client) { client.atEventBatchEnd(); });
}

} // namespace vorlen
