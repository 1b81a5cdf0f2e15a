#pragma once

#include "numerics/squarematrix.h"
#include "numerics/vector.h"
#include "shapes/shapearithmetic.h"

namespace vorlen {

/// Arithmetic of rigid motions, with sums in double for float.
namespace RigidMotion {

/// v becomes rotation v + translation; all of one dimension.
template <class T>
inline void move(const SquareMatrix<T>& rotation, const Vector<T>& translation, Vector<T>& v) {
    using Wide = WideCoordinate<T>;
    const int n = v.getSize();
    const auto row = [&](int k) {
        const T* r = rotation[k].data();
        Wide sum = 0;
        for (int l = 0; l < n; ++l)
            sum += Wide(r[l]) * Wide(v[l]);
        return T(sum + Wide(translation[k]));
    };
    if (n == 3) {
        const T x = row(0), y = row(1), z = row(2);
        v[0] = x;
        v[1] = y;
        v[2] = z;
        return;
    }
    Vector<T> moved(n);
    for (int k = 0; k < n; ++k)
        moved[k] = row(k);
    v = moved;
}

/// The motion (rotation, translation) followed by (nextRotation, nextTranslation), in place.
template <class T>
inline void follow(SquareMatrix<T>& rotation, Vector<T>& translation, const SquareMatrix<T>& nextRotation,
                   const Vector<T>& nextTranslation) {
    rotation = nextRotation * rotation;
    move(nextRotation, nextTranslation, translation);
}

} // namespace RigidMotion

} // namespace vorlen
