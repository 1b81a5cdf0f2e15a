#include "normalization/thinplatesplinewarp2d.h"

#include <cmath>

#include "normalization/radialkernels.h"

namespace vorlen {

template <class T>
T ThinPlateSplineWarp2D<T>::rbf(const Vector<T>& a, const Vector<T>& b) const {
    const T square = a.sdistance(b);
    return square > __epsilon ? square * std::log(square) : T(0);
}

template <class T>
void ThinPlateSplineWarp2D<T>::kernelValues(const Points& points, const Wide* v, int first, int count,
                                            Wide* values) const {
    radialkernels::squareDistances(points.axes.data(), points.space, v, first, count, values);
    radialkernels::thinPlates(values, count, Wide(__epsilon));
}

template class ThinPlateSplineWarp2D<float>;
template class ThinPlateSplineWarp2D<double>;
template class ThinPlateSplineWarp2D<long double>;

} // namespace vorlen
