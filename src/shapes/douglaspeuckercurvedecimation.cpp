#include "shapes/douglaspeuckercurvedecimation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>
#include <utility>

#include "shapes/runboxes.h"

namespace vorlen {

namespace {

// Runs up to this length are walked over in any case.
constexpr int shortRun = 256;

// Distance from p to the line through a and b: the norm of the exterior product of p - a and b - a over the length of
// the latter. For int coordinates the products are exact, so that a point on the line has distance 0.
template <class T>
float lineDistance(const T* p, const T* a, const T* b, int space) {
    using Wide = long double;
    Wide length = 0;
    for (int k = 0; k < space; ++k) {
        const Wide d = Wide(b[k]) - Wide(a[k]);
        length += d * d;
    }
    Wide product = 0;
    if (space == 2) {
        product = std::abs((Wide(p[0]) - Wide(a[0])) * (Wide(b[1]) - Wide(a[1])) -
                           (Wide(p[1]) - Wide(a[1])) * (Wide(b[0]) - Wide(a[0])));
    } else {
        for (int k = 0; k < space; ++k) {
            for (int l = k + 1; l < space; ++l) {
                const Wide minor = (Wide(p[k]) - Wide(a[k])) * (Wide(b[l]) - Wide(a[l])) -
                                   (Wide(p[l]) - Wide(a[l])) * (Wide(b[k]) - Wide(a[k]));
                product += minor * minor;
            }
        }
        product = std::sqrt(product);
    }
    return float(product / std::sqrt(length));
}

// Finds the farthest vertex of a run in the plane.
//
// The boxes bound |exterior product| over a run. A run is left out only when its bound is below the best value by more
// than the rounding of double and of the final float, so that ties go to the first vertex as in a walk over the run.
template <class T>
class FarthestVertex {
public:
    FarthestVertex(const Vector<T>& coordinates, int n)
        : __points(coordinates.data()), __tree(n, [this](int k, RunBoxes<double>::Box& box) {
              box.add(double(__points[2 * k]), double(__points[2 * k + 1]));
          }) {
        const RunBoxes<double>::Box& all = __tree.box(1);
        __extent = std::max({std::abs(all.lowX), std::abs(all.lowY), std::abs(all.highX), std::abs(all.highY), 0.0});
    }

    // Position of the first farthest vertex strictly between first and last whose distance is above the tolerance; -1
    // without one.
    int find(int first, int last, float tolerance) {
        __first = first;
        __last = last;
        __a = __points + 2 * std::size_t(first);
        __b = __points + 2 * std::size_t(last);
        __dx = double(__b[0]) - double(__a[0]);
        __dy = double(__b[1]) - double(__a[1]);
        const double length = std::hypot(__dx, __dy);
        if (!(length > 0))
            return -1;
        __position = -1;
        __best = tolerance;
        __slack = 32 * std::numeric_limits<double>::epsilon() * __extent * (std::abs(__dx) + std::abs(__dy));
        __length = length;
        raise();
        search(1, 0, __tree.leaves() * RunBoxes<double>::runLength);
        return __position;
    }

private:
    // Exterior products below the limit cannot reach the best distance.
    void raise() { __limit = double(__best) * __length * (1 - 3e-7) - __slack; }

    double bound(int node) const {
        const RunBoxes<double>::Box& box = __tree.box(node);
        if (box.isEmpty())
            return -1;
        const double x = 0.5 * (box.lowX + box.highX) - double(__a[0]);
        const double y = 0.5 * (box.lowY + box.highY) - double(__a[1]);
        return std::abs(x * __dy - y * __dx) + 0.5 * (box.highX - box.lowX) * std::abs(__dy) +
               0.5 * (box.highY - box.lowY) * std::abs(__dx);
    }

    // The items of the node are those from begin to end - 1, those beyond the curve's included.
    void search(int node, int begin, int end) {
        if (begin >= __last || end <= __first + 1)
            return;
        if (node < __tree.leaves()) {
            const int middle = begin + (end - begin) / 2;
            const double left = bound(2 * node);
            const double right = bound(2 * node + 1);
            const bool leftFirst = left >= right;
            for (const bool takeLeft : {leftFirst, !leftFirst}) {
                // The limit rises meanwhile. NaN bounds are searched.
                if (!((takeLeft ? left : right) < __limit))
                    takeLeft ? search(2 * node, begin, middle) : search(2 * node + 1, middle, end);
            }
            return;
        }
        for (int k = std::max(begin, __first + 1); k < std::min(end, __last); ++k) {
            const T* p = __points + 2 * std::size_t(k);
            const double product = (double(p[0]) - double(__a[0])) * __dy - (double(p[1]) - double(__a[1])) * __dx;
            if (std::abs(product) < __limit)
                continue;
            const float distance = lineDistance(p, __a, __b, 2);
            if (distance > __best || (distance == __best && k < __position)) {
                __best = distance;
                __position = k;
                raise();
            }
        }
    }

    const T* __points;
    RunBoxes<double> __tree;
    double __extent;
    int __first = 0;
    int __last = 0;
    const T* __a = nullptr;
    const T* __b = nullptr;
    double __dx = 0;
    double __dy = 0;
    double __length = 0;
    double __slack = 0;
    double __limit = 0;
    float __best = 0;
    int __position = -1;
};

// The same by a walk over the run, which is faster as long as the runs halve: neighbouring products are formed side by
// side, and only the vertices of blocks that come near the greatest product are looked at twice.
template <class T>
class FarthestByScan {
public:
    explicit FarthestByScan(const Curve<T>& curve) : __curve(curve) {
        const int n = curve.getSize();
        __x.resize(std::size_t(n));
        __y.resize(std::size_t(n));
        Plain low[2] = {0, 0};
        Plain high[2] = {0, 0};
        for (int k = 0; k < n; ++k) {
            const T* v = curve[k].data();
            const Plain x = Plain(v[0]);
            const Plain y = Plain(v[1]);
            __x[k] = x;
            __y[k] = y;
            low[0] = x < low[0] ? x : low[0];
            low[1] = y < low[1] ? y : low[1];
            high[0] = x > high[0] ? x : high[0];
            high[1] = y > high[1] ? y : high[1];
        }
        __extent = std::max({-double(low[0]), -double(low[1]), double(high[0]), double(high[1])});
        __greatest.resize(std::size_t(n) / blockLength + 1);
    }

    int find(int first, int last, float tolerance) {
        const Line line = lineThrough(first, last);
        const double length = std::hypot(line.dx, line.dy);
        if (!(length > 0))
            return -1;
        const double slack =
            32 * std::numeric_limits<double>::epsilon() * __extent * (std::abs(line.dx) + std::abs(line.dy));
        double greatest = -1;
        int block = 0;
        for (int begin = first + 1; begin < last; begin += blockLength, ++block) {
            __greatest[block] = greatestProduct(line, begin, std::min(begin + blockLength, last));
            greatest = std::max(greatest, __greatest[block]);
        }
        // A product below the limit is behind the greatest one by more than rounding, or within the tolerance.
        const double limit = std::max(greatest, double(tolerance) * length) * (1 - 3e-7) - slack;
        int position = -1;
        float best = tolerance;
        block = 0;
        for (int begin = first + 1; begin < last; begin += blockLength, ++block) {
            if (__greatest[block] < limit)
                continue;
            for (int k = begin; k < std::min(begin + blockLength, last); ++k) {
                if (line.product(double(__x[k]), double(__y[k])) >= limit) {
                    const float distance = exactDistance(k, first, last);
                    if (distance > best) {
                        best = distance;
                        position = k;
                    }
                }
            }
        }
        return position;
    }

private:
    using Plain = std::conditional_t<std::is_same_v<T, long double>, double, T>;
    static constexpr int blockLength = 32;

    struct Line {
        double x, y, dx, dy;

        double product(double px, double py) const { return std::abs((px - x) * dy - (py - y) * dx); }
    };

    Line lineThrough(int first, int last) const {
        const double x = double(__x[first]);
        const double y = double(__y[first]);
        return {x, y, double(__x[last]) - x, double(__y[last]) - y};
    }

    // The flat arrays hold what the vertices do, but for long double.
    float exactDistance(int k, int first, int last) const {
        if constexpr (std::is_same_v<T, Plain>) {
            const T points[3][2] = {{__x[k], __y[k]}, {__x[first], __y[first]}, {__x[last], __y[last]}};
            return lineDistance(points[0], points[1], points[2], 2);
        } else {
            return lineDistance(__curve[k].data(), __curve[first].data(), __curve[last].data(), 2);
        }
    }

    // 7 operations a vertex, on neighbours at once. Products that are no numbers count as none.
    double greatestProduct(const Line& line, int begin, int end) const {
        const Plain* x = __x.data() + begin;
        const Plain* y = __y.data() + begin;
        const int n = end - begin;
        const Line l = line;
        if (n < blockLength) {
            double greatest = -1;
            for (int k = 0; k < n; ++k) {
                const double product = l.product(double(x[k]), double(y[k]));
                greatest = product > greatest ? product : greatest;
            }
            return greatest;
        }
        double products[blockLength];
        for (int k = 0; k < blockLength; ++k) {
            const double product = l.product(double(x[k]), double(y[k]));
            products[k] = product >= 0 ? product : -1;
        }
        for (int k = 0; k < blockLength / 2; ++k)
            products[k] = products[k] > products[k + blockLength / 2] ? products[k] : products[k + blockLength / 2];
        for (int k = 0; k < blockLength / 4; ++k)
            products[k] = products[k] > products[k + blockLength / 4] ? products[k] : products[k + blockLength / 4];
        double greatest = products[0];
        for (int k = 1; k < blockLength / 4; ++k)
            greatest = products[k] > greatest ? products[k] : greatest;
        return greatest;
    }

    const Curve<T>& __curve;
    std::vector<Plain> __x;
    std::vector<Plain> __y;
    std::vector<double> __greatest; // of the blocks of the present run
    double __extent = 0;
};

} // namespace

template <class T>
float DouglasPeuckerCurveDecimation<T>::findVertexDistance(const Vector<T>& p, const Edge<T>& edge) const {
    return lineDistance(p.data(), edge[0].data(), edge[1].data(), p.getSize());
}

template <class T>
const Vector<float>& DouglasPeuckerCurveDecimation<T>::findVerticesDistances(const Curve<T>& curve, int first,
                                                                             int last) {
    __distances.setSize(curve.getSize());
    for (int k = first + 1; k < last; ++k)
        __distances[k] = lineDistance(curve[k].data(), curve[first].data(), curve[last].data(), curve.getSpace());
    return __distances;
}

template <class T>
void DouglasPeuckerCurveDecimation<T>::apply(const Curve<T>& curve, Vector<bool>& keep, int first, int last) {
    if (curve.getSize() < 3)
        return;
    const float tolerance = float(std::max(__tolerance, 0));
    // The runs still to be looked at, in place of a recursion as deep as the curve is long.
    std::vector<std::pair<int, int>> runs{{first, last}};
    const auto split = [&](auto findFarthest) {
        while (!runs.empty()) {
            const auto [begin, end] = runs.back();
            runs.pop_back();
            if (end - begin < 2)
                continue;
            const int position = findFarthest(begin, end);
            if (position >= 0) {
                keep[position] = true;
                runs.emplace_back(begin, position);
                runs.emplace_back(position, end);
            }
        }
    };
    if (curve.getSpace() == 2) {
        FarthestByScan<T> scan(curve);
        Vector<T> coordinates;
        std::optional<FarthestVertex<T>> tree;
        // Vertices of long runs that may be walked over before the tree is made: enough for runs that halve.
        long long budget = 40LL * curve.getSize();
        split([&](int begin, int end) {
            if (end - begin > shortRun) {
                budget -= end - begin;
                if (budget < 0) {
                    if (!tree) {
                        coordinates = curve.toVector();
                        tree.emplace(coordinates, curve.getSize());
                    }
                    return tree->find(begin, end, tolerance);
                }
            }
            return scan.find(begin, end, tolerance);
        });
    } else {
        split([&](int begin, int end) {
            findVerticesDistances(curve, begin, end);
            int position = -1;
            float best = tolerance;
            for (int k = begin + 1; k < end; ++k) {
                if (__distances[k] > best) {
                    best = __distances[k];
                    position = k;
                }
            }
            return position;
        });
    }
}

template <class T>
void DouglasPeuckerCurveDecimation<T>::postProcess(const Curve<T>& curve, Vector<bool>& keep) const {
    const int n = curve.getSize();
    if (curve.isOpen() || n < 3)
        return;
    const float tolerance = float(std::max(__tolerance, 0));
    keep[n - 1] = findVertexDistance(curve[n - 1], Edge<T>(curve, 0, n - 2)) > tolerance;
    if (keep[n - 1])
        keep[0] = findVertexDistance(curve[0], Edge<T>(curve, 1, n - 1)) > tolerance;
}

template <class T>
void DouglasPeuckerCurveDecimation<T>::apply(Curve<T>& curve) {
    const int n = curve.getSize();
    if (n < 3)
        return;
    Vector<bool> keep(n);
    keep.fill(false);
    keep[0] = true;
    keep[n - 1] = true;
    apply(curve, keep, 0, n - 1);
    postProcess(curve, keep);
    int kept = 0;
    for (int k = 0; k < n; ++k)
        if (keep[k])
            curve.setIndex(kept++, curve.getIndex(k));
    curve.setSize(kept, false);
}

template class DouglasPeuckerCurveDecimation<int>;
template class DouglasPeuckerCurveDecimation<float>;
template class DouglasPeuckerCurveDecimation<double>;
template class DouglasPeuckerCurveDecimation<long double>;

} // namespace vorlen
