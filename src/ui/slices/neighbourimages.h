#pragma once

#include <array>
#include <memory>

#include "ui/imageserver/vrlimageproxy.h"

namespace vorlen {

class StackSlice;
class VRLImageServer;

/// The images of the slices before and behind one are read ahead, and held, so that going there takes no reading.
///
/// Decision: images of more than 32 million pixels are not; a stack of them would fill the memory.
class NeighbourImages {
public:
    NeighbourImages();

    /// Before another slice of the stack is shown: holds the image of the present one where it is a neighbour.
    void keep(const StackSlice& slice, const StackSlice& next, VRLImageServer& server);

    /// Once the slice is shown: lets go what is no neighbour's, and asks for the images of the neighbours.
    void readAround(const StackSlice& slice, VRLImageServer& server);

    /// Lets go all. Before a slice or its image source goes.
    void clear();

private:
    std::array<std::unique_ptr<VRLImageProxy>, 2> __proxies; // of the slices before and behind
};

} // namespace vorlen
