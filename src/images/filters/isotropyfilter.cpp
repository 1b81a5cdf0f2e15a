#include "images/filters/isotropyfilter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <type_traits>
#include <vector>

#include "images/filters/parallelwork.h"
#include "images/filters/slidingplanes.h"
#include "images/filters/stepprogress.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "numerics/vector.h"
#include "numerics/widevectors.h"

namespace vorlen {

namespace {

template <class T>
using MomentOf = std::conditional_t<std::is_same_v<T, float>, double, T>;

// Covariance matrix of a mass distribution.
template <class R>
struct Covariance {
    R xx, yy, zz, xy, xz, yz;

    R trace() const { return xx + yy + zz; }
    R minors() const { return xx * yy - xy * xy + xx * zz - xz * xz + yy * zz - yz * yz; }
    R determinant() const { return xx * (yy * zz - yz * yz) - xy * (xy * zz - yz * xz) + xz * (xy * yz - yy * xz); }
};

template <class R>
R sphericity(const Covariance<R>& covariance, R tolerance) {
    const R determinant = covariance.determinant();
    if (!(determinant >= tolerance))
        return R(0);
    const R ratio = R(3) / covariance.trace();
    const R index = determinant * ratio * ratio * ratio;
    return index < tolerance ? R(0) : index;
}

// Smallest over greatest root of the characteristic polynomial x^3 + b x^2 + c x + d, in the depressed form
// y^3 + p y + r with x = y - b / 3.
template <class R>
R eigenvalueRatio(const Covariance<R>& covariance, R tolerance) {
    const R b = -covariance.trace();
    const R c = covariance.minors();
    const R d = -covariance.determinant();
    const R p = c - b * b / R(3);
    const R r = R(2) * b * b * b / R(27) - b * c / R(3) + d;
    const R q = r * r / R(4) + p * p * p / R(27);
    const R shift = -b / R(3);
    R smallest, greatest;
    if (q < -tolerance) {
        // Three roots 2 sqrt(-p / 3) cos((phi + 2 pi k) / 3); phi lies within 0 to pi, so that k = 0 gives the greatest
        // and k = 1 the smallest.
        const R radius = R(2) * std::sqrt(-p / R(3));
        const R cosine = std::clamp(R(3) * r / (p * radius), R(-1), R(1));
        const R phi = std::acos(cosine);
        greatest = shift + radius * std::cos(phi / R(3));
        smallest = shift + radius * std::cos((phi + R(2) * std::numbers::pi_v<R>) / R(3));
    } else if (std::abs(q) <= tolerance && std::abs(p) <= tolerance) {
        return R(1);
    } else if (std::abs(q) <= tolerance && p < -tolerance) {
        const R single = shift + R(3) * r / p;
        const R twice = shift - R(3) * r / (R(2) * p);
        smallest = std::min(single, twice);
        greatest = std::max(single, twice);
    } else {
        return R(0);
    }
    return smallest > tolerance ? smallest / greatest : R(0);
}

// Moments of orders 0, 1 and 2 along the lines of one axis: target p gets the sum over the offsets a of a^p times the
// line at a, for as many powers as there are targets.
template <int powers, class R, class Line>
void addMoments(Line line, int first, int last, const std::array<R*, 3>& targets, int count) {
    R* const zero = targets[0];
    R* const one = targets[1];
    R* const two = targets[2];
    for (int a = first; a <= last; ++a) {
        const auto* const values = line(a);
        const R weight = static_cast<R>(a);
        widevectors::run([=](auto) VORLEN_INLINED_LAMBDA {
            for (int j = 0; j < count; ++j) {
                const R value = static_cast<R>(values[j]);
                zero[j] += value;
                if constexpr (powers > 1)
                    one[j] += weight * value;
                if constexpr (powers > 2)
                    two[j] += weight * weight * value;
            }
        });
    }
}

// Working rows: sums over planes for the rows of the window, sums over those rows, and the moments themselves.
template <class T>
class Moments {
public:
    using R = MomentOf<T>;

    /// source gives the rows of the volume; planes lie so many columns apart.
    Moments(const SlidingPlanes<T>& source, const VoxelMatrix<T>& volume, int h, int planeReach, R planeStep)
        : __source(source), __rows(volume.getSize1()), __columns(volume.getSize2()), __planes(volume.getSize3()),
          __rowReach(std::min(h, __rows - 1)), __columnReach(std::min(h, __columns - 1)),
          __planeReach(std::min(planeReach, __planes - 1)), __planeStep(planeStep),
          __slots(std::min(2 * __rowReach + 1, __rows)), __width(static_cast<std::size_t>(__columns)),
          __stride(__width + 2 * static_cast<std::size_t>(__columnReach)), __ring(3 * __width * std::size_t(__slots)),
          __slab(6 * __stride), __cube(10 * __width) {}

    // Starts with the rows of a plane, from a row on.
    void setPlane(int plane, int firstRow) {
        __plane = plane;
        __made = std::max(firstRow - __rowReach, 0);
    }

    // Moments of the cubes of row i; rows are taken in order.
    void setRow(int i) {
        for (; __made < __rows && __made <= i + __rowReach; ++__made)
            __sumPlanes(__made);
        // Sums over rows of the sums over planes with powers 0, 1, 2 of the plane offset: powers 0 to 2, 0 to 1 and 0
        // of the row offset.
        std::fill(__slab.begin(), __slab.end(), R(0));
        const int first = std::max(-__rowReach, -i);
        const int last = std::min(__rowReach, __rows - 1 - i);
        addMoments<3, R>([&](int a) { return __ringLine(i + a, 0); }, first, last, {__inner(0), __inner(1), __inner(2)},
                         __columns);
        addMoments<2, R>([&](int a) { return __ringLine(i + a, 1); }, first, last, {__inner(3), __inner(4), nullptr},
                         __columns);
        addMoments<1, R>([&](int a) { return __ringLine(i + a, 2); }, first, last, {__inner(5), nullptr, nullptr},
                         __columns);
        std::fill(__cube.begin(), __cube.end(), R(0));
        const auto shifted = [&](int line) { return [this, line](int b) { return __inner(line) + b; }; };
        const int reach = __columnReach;
        addMoments<3, R>(shifted(0), -reach, reach, {__line(0), __line(1), __line(2)}, __columns);
        addMoments<2, R>(shifted(1), -reach, reach, {__line(3), __line(4), nullptr}, __columns);
        addMoments<1, R>(shifted(2), -reach, reach, {__line(5), nullptr, nullptr}, __columns);
        addMoments<2, R>(shifted(3), -reach, reach, {__line(6), __line(7), nullptr}, __columns);
        addMoments<1, R>(shifted(4), -reach, reach, {__line(8), nullptr, nullptr}, __columns);
        addMoments<1, R>(shifted(5), -reach, reach, {__line(9), nullptr, nullptr}, __columns);
    }

    R mass(int j) const { return __cube[static_cast<std::size_t>(j)]; }
    Covariance<R> covariance(int j) const {
        const R scale = R(1) / mass(j);
        const R row = __at(3, j) * scale, column = __at(1, j) * scale, plane = __at(6, j) * scale;
        return {__at(5, j) * scale - row * row,
                __at(2, j) * scale - column * column,
                (__at(9, j) * scale - plane * plane) * __planeStep * __planeStep,
                __at(4, j) * scale - row * column,
                (__at(8, j) * scale - row * plane) * __planeStep,
                (__at(7, j) * scale - column * plane) * __planeStep};
    }

private:
    void __sumPlanes(int i) {
        for (int power = 0; power < 3; ++power)
            std::fill_n(__ringLine(i, power), __width, R(0));
        addMoments<3, R>([&](int c) { return __source.original(i, __plane + c); }, std::max(-__planeReach, -__plane),
                         std::min(__planeReach, __planes - 1 - __plane),
                         {__ringLine(i, 0), __ringLine(i, 1), __ringLine(i, 2)}, __columns);
    }
    R* __ringLine(int i, int power) {
        return __ring.data() + __width * static_cast<std::size_t>(3 * (i % __slots) + power);
    }
    // The sums of a slab, between zeros for the columns beyond the border.
    R* __inner(int line) { return __slab.data() + __stride * static_cast<std::size_t>(line) + __columnReach; }
    R* __line(int moment) { return __cube.data() + __width * static_cast<std::size_t>(moment); }
    R __at(int moment, int j) const {
        return __cube[__width * static_cast<std::size_t>(moment) + static_cast<std::size_t>(j)];
    }

    const SlidingPlanes<T>& __source;
    int __rows;
    int __columns;
    int __planes;
    int __rowReach;
    int __columnReach;
    int __planeReach;
    R __planeStep;
    int __slots;
    std::size_t __width;
    std::size_t __stride;
    std::vector<R> __ring;
    std::vector<R> __slab;
    std::vector<R> __cube;
    int __plane = 0;
    int __made = 0;
};

template <class T, class R>
R indexOf(const Moments<T>& moments, int j, IsotropyAnalysis analysis, R tolerance) {
    const R mass = moments.mass(j);
    if (!std::isfinite(mass))
        return std::numeric_limits<R>::quiet_NaN();
    if (tolerance > mass * mass)
        return R(0);
    if (analysis == SphericityAnalysis)
        return sphericity(moments.covariance(j), tolerance);
    return analysis == EigenvalueRatioAnalysis && mass != R(0) ? eigenvalueRatio(moments.covariance(j), tolerance)
                                                               : R(0);
}

constexpr double keptBytes = 1024 * 1024;
constexpr int rowsTogether = 32;

} // namespace

template <class T>
IsotropyFilter<T>::IsotropyFilter() {
    IsotropyFilter<T>::setHalfSize(getHalfSize());
}

template <class T>
void IsotropyFilter<T>::setHalfSize(int halfSize) {
    NeighbourhoodFilter::setHalfSize(halfSize);
    const Real side = Real(2) * static_cast<Real>(std::max(halfSize, 0)) + Real(1);
    __tolerance = Vector<Real>::epsilon() * side * side * side;
}

template <class T>
void IsotropyFilter<T>::setPlaneStep(double step) {
    if (!(step > 0 && std::isfinite(step)))
        throw ValueError("void IsotropyFilter<T>::setPlaneStep(double)", "The step between planes is not positive");
    __planeStep = step;
}

// Parts are some rows of a plane.
template <class T>
void IsotropyFilter<T>::apply(VoxelMatrix<T>& volume) {
    const int h = getHalfSize();
    const int rows = volume.getSize1();
    const int columns = volume.getSize2();
    const int planes = volume.getSize3();
    if (h < 1 || rows == 0 || columns == 0 || planes == 0)
        return;
    const auto bytes = static_cast<double>(sizeof(T)) * rows * columns * planes;
    const int planeReach =
        static_cast<int>(std::clamp(std::floor(h / __planeStep + 0.5), 1.0, static_cast<double>(planes)));
    ParallelWork work(*this, static_cast<unsigned long long>(planes));
    SlidingPlanes<T> sliding(volume, std::min(planeReach, planes - 1), SlidingPlanes<T>::thinBatch(planes),
                             bytes <= keptBytes);
    std::vector<Moments<T>> momentsOf;
    momentsOf.reserve(static_cast<std::size_t>(work.workers()));
    for (int worker = 0; worker < work.workers(); ++worker)
        momentsOf.emplace_back(sliding, volume, h, planeReach, static_cast<Real>(__planeStep));
    const Pieces pieces(rows, std::max(rowsTogether, h));
    const auto indexRow = [&](int i, int k, Moments<T>& moments) {
        const T* const values = sliding.original(i, k);
        T* const target = sliding.row(i, k);
        moments.setRow(i);
        for (int j = 0; j < columns; ++j)
            target[j] = values[j] != T(0) ? static_cast<T>(indexOf(moments, j, __analysis, __tolerance)) : T(0);
    };
    this->notifyStarted("");
    const bool complete = sliding.replace(0, planes, [&](int first, int last) {
        const auto indexRows = [&](int number, int worker) {
            Moments<T>& moments = momentsOf[static_cast<std::size_t>(worker)];
            const int k = first + number / pieces.count(), piece = number % pieces.count();
            moments.setPlane(k, pieces.first(piece));
            for (int i = pieces.first(piece); i < pieces.last(piece) && !work.isCanceled(); ++i)
                indexRow(i, k, moments);
        };
        return work.run(pieces.count() * (last - first), static_cast<unsigned long long>(last - first), indexRows);
    });
    notifyEnd(*this, complete);
}

template class IsotropyFilter<float>;
template class IsotropyFilter<double>;
template class IsotropyFilter<long double>;

} // namespace vorlen
