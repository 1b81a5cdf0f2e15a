#include "normalization/thinplatesplinewarp2d.h"

#include <cmath>

#include "normalization/radialkernels.h"

template <class T>
auto ThinPlateSplineWarp2D<T>::__kernel(Wide squareDistance) const -> Wide {
    return squareDistance > __epsilon ? squareDistance * std::log(squareDistance) : Wide(0);
}

template <class T>
T ThinPlateSplineWarp2D<T>::rbf(const Vector<T>& a, const Vector<T>& b) const {
    return T(__kernel(a.sdistance(b)));
}

template <class T>
void ThinPlateSplineWarp2D<T>::kernelValues(const Points& points, const Wide* v, int first, int count,
                                            Wide* values) const {
    radialkernels::squareDistances(points.axes.data(), points.space, v, first, count, values);
    for (int k = 0; k < count; ++k) {
        values[k] = __kernel(values[k]);
    }
}

template class ThinPlateSplineWarp2D<float>;
template class ThinPlateSplineWarp2D<double>;
template class ThinPlateSplineWarp2D<long double>;
