#pragma once

#include <cstdint>
#include <vector>

namespace vorlen {

class ModelItem;

/// An ordered list of items. A slice and a model are such owners, so that an item is listed twice.
///
/// An owner deletes its items when it goes, and they leave the lists of all other owners too. An item knows who lists
/// it: telling whether it is listed here takes constant time.
class ModelItemOwner {
public:
    ModelItemOwner() = default;
    ModelItemOwner(const ModelItemOwner&) = delete;
    ModelItemOwner& operator=(const ModelItemOwner&) = delete;
    virtual ~ModelItemOwner();

    int getNumItems() const { return int(__items.size()); }
    ModelItem& getItem(int i) { return *__items[std::size_t(i)]; }
    const ModelItem& getItem(int i) const { return *__items[std::size_t(i)]; }

    /// Lists the item, which must have been made by new, at the end; nothing when it is listed already.
    /// The item's own pointers are not touched.
    void addItem(ModelItem& item);

    /// Where an item stands: the place of one listed later is greater. 0 for an item that is not listed.
    using Place = std::uint64_t;
    Place placeOf(const ModelItem& item) const;

    /// Lists the item where it stood once, behind the items of lesser places. A listed item moves there. After a
    /// sort(), places from before it mean nothing.
    void restoreItem(ModelItem& item, Place place);

    /// Takes the item off the list without deleting it; nothing when it is not listed.
    void removeItem(ModelItem& item);

    /// The first item with a selected vertex, or null; all such items in list order.
    ModelItem* getSelectedItem() const;
    std::vector<ModelItem*> getSelectedItems() const;

    /// The first other item here with the same model and equal properties, or null.
    ModelItem* buddyItem(const ModelItem& item) const;

    /// True when the positions of the items' slices never decrease along the list. An item without a slice counts as
    /// at position 0.
    bool isSorted() const;

    /// Orders the items by the absolute positions of their slices, ascending. Items at one position come in the order
    /// in which a selection sort leaves them, that exchanges the first of the smallest with the first unsorted item.
    /// n log n in the number of items.
    void sort();

    /// The items listed here and in other, in ascending order of address.
    std::vector<ModelItem*> intersection(const ModelItemOwner& other) const;

protected:
    /// Empties the owners that forEach calls its argument with, and deletes their items, which leave all other owners'
    /// lists. Linear in the lengths of the lists concerned; takes no memory, so that destructors can call it.
    template <class ForEach>
    static void deleteItems(ForEach&& forEach) {
        forEach([](ModelItemOwner& owner) { owner.__leaving = true; });
        forEach([](ModelItemOwner& owner) { owner.sweepOthers(); });
        forEach([](ModelItemOwner& owner) { owner.unlistFromOthers(); });
        forEach([](ModelItemOwner& owner) { owner.deleteOwn(); });
    }

    /// Takes all items of this list off the lists of all other owners, and keeps them here.
    void withdrawItems();

private:
    void sweepOthers();
    void unlistFromOthers();
    void deleteOwn();
    std::vector<double> slicePositions() const;

    friend class ModelItem;
    friend class Stack;

    std::vector<ModelItem*> __items; // by ascending place
    Place __lastPlace = 0;
    bool __leaving = false; // while its items are taken off the lists of others
    bool __swept = false;
};

} // namespace vorlen
