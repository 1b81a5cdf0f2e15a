#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>

namespace vorlen {

class ModelItemOwner;
/// The lists that an item is on, and its place on each. Two, a slice's and a model's, take no memory of their own.
class ItemListings {
public:
    /// A list, and where on it the item stands.
    struct Listing {
        ModelItemOwner* owner;
        std::uint64_t place;
    };

    Listing* begin() { return __more ? __more.get() : __two; }
    Listing* end() { return begin() + __size; }
    const Listing* begin() const { return __more ? __more.get() : __two; }
    const Listing* end() const { return begin() + __size; }
    bool isEmpty() const { return __size == 0; }

    /// So that one more listing can be appended without a lack of memory.
    void reserveOne() {
        if (__size < __capacity)
            return;
        auto more = std::make_unique_for_overwrite<Listing[]>(2 * std::size_t(__capacity));
        std::copy(begin(), end(), more.get());
        __more = std::move(more);
        __capacity *= 2;
    }

    void append(const Listing& listing) {
        reserveOne();
        begin()[__size++] = listing;
    }

    template <class Condition>
    void removeIf(Condition&& condition) {
        __size = int(std::remove_if(begin(), end(), condition) - begin());
    }

private:
    Listing __two[2];
    std::unique_ptr<Listing[]> __more; // null: the two are used
    int __size = 0;
    int __capacity = 2;
};

} // namespace vorlen
