#include "editing/operations/lostimages.h"

#include <memory>

#include "document/stackslice.h"
#include "editing/actions/vrlstackstateaction.h"
#include "editing/operations/applyinstep.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "images/files/imagesourcekinds.h"
#include "images/files/imagesourceplaceholder.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

/// Null for a slice that has its image, or has none at all.
const ImageSourcePlaceholder* lostImage(const StackSlice& slice) {
    return slice.hasImageSource() ? dynamic_cast<const ImageSourcePlaceholder*>(&slice.getImageSource()) : nullptr;
}

/// Null, and a reason, when it is not there.
std::unique_ptr<ImageSource> findImage(const ImageSourcePlaceholder& lost, const std::string& directory,
                                       std::string& reason) {
    try {
        std::unique_ptr<ImageSource> found = lost.resolve(imageSourceKinds(), directory);
        if (!lost.hasSize() || (found->getSize1() == lost.getSize1() && found->getSize2() == lost.getSize2()))
            return found;
        const auto sizeOf = [](const ImageSource& source) {
            return std::to_string(source.getSize2()) + " x " + std::to_string(source.getSize1());
        };
        reason = "The image has " + sizeOf(*found) + " pixels, and the lost one had " + sizeOf(lost);
    } catch (const Exception& error) {
        reason = error.getWhat();
    }
    return nullptr;
}

} // namespace

int numLostImages(const Stack& stack) {
    int lost = 0;
    for (int i = 0; i < stack.getNumSlices(); ++i)
        lost += lostImage(stack.getSlice(i)) != nullptr;
    return lost;
}

Outcome requireImageSizes(const Stack& stack) {
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const ImageSourcePlaceholder* const lost = lostImage(stack.getSlice(i));
        if (lost != nullptr && !lost->hasSize())
            return Outcome::refused("The image of slice \"" + stack.getSlice(i).getName() +
                                    "\" is missing, and its size is not known, so that nobody knows where the outlines "
                                    "lie in space. Edit > Find images... puts it back");
    }
    return Outcome::done();
}

Outcome findLostImages(VRLStack& stack, const std::string& directory, std::vector<UnreadableImage>& stillLost) {
    if (numLostImages(stack) == 0)
        return Outcome::refused("All images of the stack are there");
    auto action = std::make_unique<VRLStackStateAction>(stack, "Find images");
    bool any = false;
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        StackSlice& slice = stack.getSlice(i);
        const ImageSourcePlaceholder* const lost = lostImage(slice);
        if (lost == nullptr)
            continue;
        std::string reason;
        if (const auto found = findImage(*lost, directory, reason)) {
            action->setImageSource(slice, *found);
            any = true;
        } else {
            stillLost.push_back({lost->getName(), reason});
        }
    }
    if (!any)
        return Outcome::refused("None of the images is in this folder");
    return applyInStep(stack, std::move(action));
}

} // namespace vorlen
