#include "checking/stackmender.h"

#include <memory>
#include <vector>

#include "checking/outlinecheck.h"
#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "images/files/imagesourcekinds.h"
#include "images/files/imagesourceplaceholder.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

bool isEqual(const Vector<double>& a, const Vector<double>& b) {
    return a[0] == b[0] && a[1] == b[1];
}

bool removeDoubled(ModelItem& item) {
    if (OutlineCheck::numDoubled(item) == 0)
        return false;
    const Vertices<double>& old = item.getVertices();
    std::vector<int> kept;
    kept.reserve(std::size_t(old.getNumVertices()));
    for (int i = 0; i < old.getNumVertices(); ++i)
        if (kept.empty() || !isEqual(old[i], old[kept.back()]))
            kept.push_back(i);
    while (item.isClosed() && kept.size() > 1 && isEqual(old[kept.front()], old[kept.back()]))
        kept.pop_back();
    const int n = int(kept.size());
    Vertices<double> vertices(2, n, n, n);
    for (int i = 0; i < n; ++i)
        for (const int k : {0, 1})
            vertices[i][k] = old[kept[std::size_t(i)]][k];
    item.setVertices(vertices);
    return true;
}

/// Takes away the items that say nothing new; the first of equal ones stays. The number of changes.
int mendItems(Model& model) {
    int changes = 0;
    for (int i = 0; i < model.getNumItems(); ++i)
        if (model.getItem(i).isConnected())
            changes += removeDoubled(model.getItem(i));
    OutlineCheck outlines;
    std::vector<ModelItem*> superfluous;
    for (int i = 0; i < model.getNumItems(); ++i) {
        ModelItem& item = model.getItem(i);
        if (item.getSlice() == nullptr)
            continue;
        const bool isSuperfluous = item.getSize() == 0 || outlines.isRepeated(item);
        if (isSuperfluous && item.getUnreadText().empty())
            superfluous.push_back(&item);
    }
    for (ModelItem* item : superfluous) {
        item->detach();
        delete item; // no list has it any more
    }
    return changes + int(superfluous.size());
}

bool findImage(StackSlice& slice, const std::string& directory) {
    if (!slice.hasImageSource())
        return false;
    const auto* lost = dynamic_cast<const ImageSourcePlaceholder*>(&slice.getImageSource());
    if (lost == nullptr)
        return false;
    try {
        const std::unique_ptr<ImageSource> found = lost->resolve(imageSourceKinds(), directory);
        if (lost->hasSize() && (found->getSize1() != lost->getSize1() || found->getSize2() != lost->getSize2()))
            return false;
        slice.setImageSource(*found);
        return true;
    } catch (const Exception&) { // not there either
        return false;
    }
}

} // namespace

int mendStack(Stack& stack, const std::string& imagesDirectory) {
    int changes = 0;
    for (int i = 0; !imagesDirectory.empty() && i < stack.getNumSlices(); ++i)
        changes += findImage(stack.getSlice(i), imagesDirectory);
    for (int i = 0; i < stack.getNumModels(); ++i)
        changes += mendItems(stack.getModel(i));
    return changes;
}

} // namespace vorlen
