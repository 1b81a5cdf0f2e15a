#include "document/modelitemowner.h"

#include <algorithm>
#include <limits>
#include <set>
#include <unordered_map>
#include <utility>

#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"

namespace vorlen {

ModelItemOwner::~ModelItemOwner() {
    deleteItems([this](auto&& act) { act(*this); });
}

void ModelItemOwner::addItem(ModelItem& item) {
    if (item.isListedBy(*this))
        return;
    __items.push_back(&item);
    try {
        item.__owners.push_back({this, __lastPlace + 1});
    } catch (...) {
        __items.pop_back();
        throw;
    }
    ++__lastPlace;
}

ModelItemOwner::Place ModelItemOwner::placeOf(const ModelItem& item) const {
    return item.placeBy(*this);
}

void ModelItemOwner::restoreItem(ModelItem& item, Place place) {
    removeItem(item);
    const auto behind = std::upper_bound(__items.begin(), __items.end(), place,
                                         [this](Place p, const ModelItem* other) { return p < other->placeBy(*this); });
    item.__owners.reserve(item.__owners.size() + 1);
    __items.insert(behind, &item);
    item.__owners.push_back({this, place});
    __lastPlace = std::max(__lastPlace, place);
}

void ModelItemOwner::removeItem(ModelItem& item) {
    if (!item.isListedBy(*this))
        return;
    std::erase_if(item.__owners, [this](const ModelItem::Listing& listing) { return listing.owner == this; });
    // From the end: what was listed last is what is mostly taken off, by undoing for instance.
    const auto place = std::find(__items.rbegin(), __items.rend(), &item);
    __items.erase(std::next(place).base());
}

ModelItem* ModelItemOwner::getSelectedItem() const {
    for (ModelItem* item : __items)
        if (!item->getSelection().isEmpty())
            return item;
    return nullptr;
}

std::vector<ModelItem*> ModelItemOwner::getSelectedItems() const {
    std::vector<ModelItem*> selected;
    for (ModelItem* item : __items)
        if (!item->getSelection().isEmpty())
            selected.push_back(item);
    return selected;
}

ModelItem* ModelItemOwner::buddyItem(const ModelItem& item) const {
    for (ModelItem* other : __items)
        if (other != &item && other->getModel() == item.getModel() && other->getProperties() == item.getProperties())
            return other;
    return nullptr;
}

/// The absolute position of the slice of each item. The position of a slice is a walk along its stack: all positions of
/// a stack are taken in one walk, so that the cost is items plus slices.
std::vector<double> ModelItemOwner::slicePositions() const {
    std::unordered_map<const StackSlice*, double> known;
    std::vector<double> positions;
    positions.reserve(__items.size());
    for (const ModelItem* item : __items) {
        const StackSlice* slice = item->getSlice();
        if (slice == nullptr) {
            positions.push_back(0);
            continue;
        }
        if (known.find(slice) == known.end()) {
            const Stack* stack = slice->getStack();
            if (stack != nullptr && stack->findSlice(*slice) >= 0) {
                const std::vector<double> all = stack->getAbsolutePositions();
                for (int i = 0; i < stack->getNumSlices(); ++i)
                    known[&stack->getSlice(i)] = all[std::size_t(i)];
            } else {
                known[slice] = slice->getAbsolutePosition();
            }
        }
        positions.push_back(known[slice]);
    }
    return positions;
}

bool ModelItemOwner::isSorted() const {
    const std::vector<double> positions = slicePositions();
    return std::adjacent_find(positions.begin(), positions.end(), [](double a, double b) { return b < a; }) ==
           positions.end();
}

void ModelItemOwner::sort() {
    const int n = getNumItems();
    std::vector<double> positions = slicePositions();
    // A file may hold "nan" for a position. Such slices go last, as there is no order with them in it.
    for (double& position : positions)
        if (position != position)
            position = std::numeric_limits<double>::infinity();

    // A selection sort whose choice of the first smallest among the rest is read from an ordered set of the unsorted
    // (position, place) pairs.
    std::set<std::pair<double, int>> rest;
    for (int i = 0; i < n; ++i)
        rest.emplace_hint(rest.end(), positions[std::size_t(i)], i);
    for (int i = 0; i < n; ++i) {
        const int smallest = rest.begin()->second;
        rest.erase(rest.begin());
        if (smallest == i)
            continue;
        rest.erase({positions[std::size_t(i)], i});
        rest.emplace(positions[std::size_t(i)], smallest);
        std::swap(positions[std::size_t(i)], positions[std::size_t(smallest)]);
        std::swap(__items[std::size_t(i)], __items[std::size_t(smallest)]);
    }
    for (ModelItem* item : __items)
        for (ModelItem::Listing& listing : item->__owners)
            if (listing.owner == this)
                listing.place = ++__lastPlace;
}

std::vector<ModelItem*> ModelItemOwner::intersection(const ModelItemOwner& other) const {
    std::vector<ModelItem*> common;
    for (ModelItem* item : __items)
        if (item->isListedBy(other))
            common.push_back(item);
    std::sort(common.begin(), common.end(), std::less<ModelItem*>());
    return common;
}

/// Takes what owners that leave have off the lists of those that stay: each of these is gone through once, when the
/// first of such items is met.
void ModelItemOwner::sweepOthers() {
    const auto leaves = [](const ModelItem* item) {
        return std::any_of(item->__owners.begin(), item->__owners.end(),
                           [](const ModelItem::Listing& listing) { return listing.owner->__leaving; });
    };
    for (const ModelItem* item : __items)
        for (const ModelItem::Listing& listing : item->__owners)
            if (!listing.owner->__leaving && !std::exchange(listing.owner->__swept, true))
                std::erase_if(listing.owner->__items, leaves);
}

/// After sweepOthers(): the items forget the others.
void ModelItemOwner::unlistFromOthers() {
    for (ModelItem* item : __items)
        std::erase_if(
            item->__owners,
            [](const ModelItem::Listing& listing) {
                if (!listing.owner->__leaving)
                    listing.owner->__swept = false;
                return !listing.owner->__leaving;
            });
}

/// After unlistFromOthers(): the last of its owners deletes an item.
void ModelItemOwner::deleteOwn() {
    for (ModelItem* item : __items) {
        std::erase_if(item->__owners, [this](const ModelItem::Listing& listing) { return listing.owner == this; });
        if (item->__owners.empty())
            delete item;
    }
    __items.clear();
    __leaving = false;
}

void ModelItemOwner::withdrawItems() {
    __leaving = true;
    sweepOthers();
    unlistFromOthers();
    __leaving = false;
}

} // namespace vorlen
