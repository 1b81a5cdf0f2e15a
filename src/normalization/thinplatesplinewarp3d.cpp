#include "normalization/thinplatesplinewarp3d.h"

#include "normalization/radialkernels.h"

namespace vorlen {

template <class T>
T ThinPlateSplineWarp3D<T>::rbf(const Vector<T>& a, const Vector<T>& b) const {
    return a.distance(b);
}

template <class T>
void ThinPlateSplineWarp3D<T>::kernelValues(const Points& points, const Wide* v, int first, int count,
                                            Wide* values) const {
    radialkernels::distances(points.axes.data(), points.space, v, first, count, values);
}

template class ThinPlateSplineWarp3D<float>;
template class ThinPlateSplineWarp3D<double>;
template class ThinPlateSplineWarp3D<long double>;

} // namespace vorlen
