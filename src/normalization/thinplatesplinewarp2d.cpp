#include "normalization/thinplatesplinewarp2d.h"

#include <cmath>

#include "normalization/radialkernels.h"

template <class T>
T ThinPlateSplineWarp2D<T>::__kernel(T squareDistance) const {
    return squareDistance > __epsilon ? squareDistance * std::log(squareDistance) : T(0);
}

template <class T>
T ThinPlateSplineWarp2D<T>::rbf(const Vector<T>& a, const Vector<T>& b) const {
    return __kernel(a.sdistance(b));
}

template <class T>
void ThinPlateSplineWarp2D<T>::kernelValues(const Points& points, const Vector<T>& v, int first, int count,
                                            T* values) const {
    radialkernels::squareDistances(points.axes.data(), points.space, v.data(), first, count, values);
    for (int k = 0; k < count; ++k) {
        values[k] = __kernel(values[k]);
    }
}

template class ThinPlateSplineWarp2D<float>;
template class ThinPlateSplineWarp2D<double>;
template class ThinPlateSplineWarp2D<long double>;
