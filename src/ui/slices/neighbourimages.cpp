#include "ui/slices/neighbourimages.h"

#include "document/stack.h"
#include "document/stackslice.h"
#include "ui/imageserver/vrlimageserver.h"

namespace vorlen {

namespace {

constexpr double mostPixels = 32e6;

bool isRead(const StackSlice& slice) {
    return !slice.isEmpty() && slice.hasImageSource() && double(slice.width()) * double(slice.height()) <= mostPixels;
}

void hold(VRLImageProxy& proxy, const StackSlice& slice, VRLImageServer& server) {
    if (!isRead(slice))
        return proxy.clear();
    if (proxy.key() == &slice.getImageSource())
        return;
    proxy.clear();
    proxy.setImageServer(server);
    proxy.setImageSource(slice.getImageSource());
}

} // namespace

NeighbourImages::NeighbourImages() {
    for (auto& proxy : __proxies)
        proxy = std::make_unique<VRLImageProxy>();
}

void NeighbourImages::keep(const StackSlice& slice, const StackSlice& next, VRLImageServer& server) {
    const Stack* const stack = slice.getStack();
    if (stack == nullptr || next.getStack() != stack)
        return clear();
    const int step = stack->findSlice(next) - stack->findSlice(slice);
    if (step == 1 || step == -1) // what is shown next is held by its view from then on
        hold(*__proxies[step == 1 ? 0 : 1], slice, server);
}

void NeighbourImages::readAround(const StackSlice& slice, VRLImageServer& server) {
    const Stack* const stack = slice.getStack();
    const int rank = stack != nullptr ? stack->findSlice(slice) : -1;
    if (rank < 0)
        return clear();
    for (const int side : {1, 0}) { // people go on more often than back
        const int neighbour = rank + 2 * side - 1;
        VRLImageProxy& proxy = *__proxies[static_cast<std::size_t>(side)];
        if (neighbour < 0 || neighbour >= stack->getNumSlices())
            proxy.clear();
        else
            hold(proxy, stack->getSlice(neighbour), server);
    }
}

void NeighbourImages::clear() {
    for (const auto& proxy : __proxies)
        proxy->clear();
}

} // namespace vorlen
