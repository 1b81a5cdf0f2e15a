#pragma once

#include <functional>

#include "normalization/shapetransform.h"
#include "normalization/specimensurfaces.h"

namespace vorlen {

/// Any map of space as a transform of shapes: a rigid motion of a specimen, a change of unit, a warp. Computes in
/// double whatever the coordinates of the shapes. Points of another dimension than three stay where they are.
template <class T>
class PointMap : public ShapeTransform<T> {
public:
    using ShapeTransform<T>::apply;

    explicit PointMap(std::function<Point3(const Point3&)> map) : __map(std::move(map)) {}

    void apply(Vector<T>& v) const override {
        if (v.getSize() != 3)
            return;
        const Point3 image = __map({double(v[0]), double(v[1]), double(v[2])});
        for (int i = 0; i < 3; ++i)
            v[i] = T(image[std::size_t(i)]);
    }

private:
    std::function<Point3(const Point3&)> __map;
};

/// The change of a unit of length: all coordinates times a factor.
template <class T>
PointMap<T> scaleBy(double factor) {
    return PointMap<T>([factor](const Point3& p) { return Point3{p[0] * factor, p[1] * factor, p[2] * factor}; });
}

} // namespace vorlen
