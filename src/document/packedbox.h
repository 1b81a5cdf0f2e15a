#pragma once

#include "shapes/boundingbox.h"

namespace vorlen {

/// A box of the plane in plain numbers, or none. Items have two, and stacks half a million items.
template <class T>
class PackedBox {
public:
    PackedBox() = default;
    /// A box that is not valid, or not of the plane, is none.
    explicit PackedBox(const BoundingBox<T>& box) : __valid(box.isValid() && box.getVertex1().getSize() == 2) {
        for (int k = 0; k < 2 && __valid; ++k) {
            __lower[k] = box.getVertex1()[k];
            __upper[k] = box.getVertex2()[k];
        }
    }
    PackedBox(const T (&x)[2], const T (&y)[2]) : __lower{x[0], y[0]}, __upper{x[1], y[1]}, __valid(true) {}

    /// The default box for none.
    BoundingBox<T> toBox() const {
        if (!__valid)
            return BoundingBox<T>();
        Vector<T> lower(2), upper(2);
        for (int k = 0; k < 2; ++k) {
            lower[k] = __lower[k];
            upper[k] = __upper[k];
        }
        return BoundingBox<T>(lower, upper);
    }

private:
    T __lower[2] = {0, 0};
    T __upper[2] = {0, 0};
    bool __valid = false;
};

} // namespace vorlen
