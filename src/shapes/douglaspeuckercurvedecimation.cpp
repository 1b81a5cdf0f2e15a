#include "shapes/douglaspeuckercurvedecimation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "shapes/runboxes.h"

namespace {

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
        if (!(length > 0)) {
            return -1;
        }
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
        if (box.isEmpty()) {
            return -1;
        }
        const double x = 0.5 * (box.lowX + box.highX) - double(__a[0]);
        const double y = 0.5 * (box.lowY + box.highY) - double(__a[1]);
        return std::abs(x * __dy - y * __dx) + 0.5 * (box.highX - box.lowX) * std::abs(__dy) +
               0.5 * (box.highY - box.lowY) * std::abs(__dx);
    }

    // The items of the node are those from begin to end - 1, those beyond the curve's included.
    void search(int node, int begin, int end) {
        if (begin >= __last || end <= __first + 1) {
            return;
        }
        if (node < __tree.leaves()) {
            const int middle = begin + (end - begin) / 2;
            const double left = bound(2 * node);
            const double right = bound(2 * node + 1);
            const bool leftFirst = left >= right;
            for (const bool takeLeft : {leftFirst, !leftFirst}) {
                // The limit rises meanwhile. NaN bounds are searched.
                if (!((takeLeft ? left : right) < __limit)) {
                    takeLeft ? search(2 * node, begin, middle) : search(2 * node + 1, middle, end);
                }
            }
            return;
        }
        for (int k = std::max(begin, __first + 1); k < std::min(end, __last); ++k) {
            const T* p = __points + 2 * std::size_t(k);
            const double product = (double(p[0]) - double(__a[0])) * __dy - (double(p[1]) - double(__a[1])) * __dx;
            if (std::abs(product) < __limit) {
                continue;
            }
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

} // namespace

template <class T>
float DouglasPeuckerCurveDecimation<T>::findVertexDistance(const Vector<T>& p, const Edge<T>& edge) const {
    return lineDistance(p.data(), edge[0].data(), edge[1].data(), p.getSize());
}

template <class T>
const Vector<float>& DouglasPeuckerCurveDecimation<T>::findVerticesDistances(const Curve<T>& curve, int first,
                                                                             int last) {
    __distances.setSize(curve.getSize());
    for (int k = first + 1; k < last; ++k) {
        __distances[k] = lineDistance(curve[k].data(), curve[first].data(), curve[last].data(), curve.getSpace());
    }
    return __distances;
}

template <class T>
void DouglasPeuckerCurveDecimation<T>::apply(const Curve<T>& curve, Vector<bool>& keep, int first, int last) {
    if (curve.getSize() < 3) {
        return;
    }
    const float tolerance = float(std::max(__tolerance, 0));
    // The runs still to be looked at, in place of a recursion as deep as the curve is long.
    std::vector<std::pair<int, int>> runs{{first, last}};
    const auto split = [&](auto findFarthest) {
        while (!runs.empty()) {
            const auto [begin, end] = runs.back();
            runs.pop_back();
            if (end - begin < 2) {
                continue;
            }
            const int position = findFarthest(begin, end);
            if (position >= 0) {
                keep[position] = true;
                runs.emplace_back(begin, position);
                runs.emplace_back(position, end);
            }
        }
    };
    if (curve.getSpace() == 2) {
        const Vector<T> coordinates = curve.toVector();
        FarthestVertex<T> farthest(coordinates, curve.getSize());
        split([&](int begin, int end) { return farthest.find(begin, end, tolerance); });
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
    if (curve.isOpen() || n < 3) {
        return;
    }
    const float tolerance = float(std::max(__tolerance, 0));
    keep[n - 1] = findVertexDistance(curve[n - 1], Edge<T>(curve, 0, n - 2)) > tolerance;
    if (keep[n - 1]) {
        keep[0] = findVertexDistance(curve[0], Edge<T>(curve, 1, n - 1)) > tolerance;
    }
}

template <class T>
void DouglasPeuckerCurveDecimation<T>::apply(Curve<T>& curve) {
    const int n = curve.getSize();
    if (n < 3) {
        return;
    }
    Vector<bool> keep(n);
    keep.fill(false);
    keep[0] = true;
    keep[n - 1] = true;
    apply(curve, keep, 0, n - 1);
    postProcess(curve, keep);
    int kept = 0;
    for (int k = 0; k < n; ++k) {
        if (keep[k]) {
            curve.setIndex(kept++, curve.getIndex(k));
        }
    }
    curve.setSize(kept, false);
}

template class DouglasPeuckerCurveDecimation<int>;
template class DouglasPeuckerCurveDecimation<float>;
template class DouglasPeuckerCurveDecimation<double>;
template class DouglasPeuckerCurveDecimation<long double>;
