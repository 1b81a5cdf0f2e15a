#include "shapes/curvedecimation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <queue>
#include <type_traits>
#include <vector>

#include "shapes/shapearithmetic.h"

namespace vorlen {

namespace {

// Long double holds the products of all differences of whole coordinates exactly. Decimals are rounded to what their
// type holds, and so are no farther from the line than that.
template <class T>
bool inLine(const Vector<T>& p, const Vector<T>& q, const Vector<T>& r) {
    using Exact = long double;
    const Exact firstX = Exact(p[0]) - Exact(q[0]), firstY = Exact(p[1]) - Exact(q[1]);
    const Exact secondX = Exact(r[0]) - Exact(p[0]), secondY = Exact(r[1]) - Exact(p[1]);
    const Exact product = firstX * secondY - secondX * firstY;
    if constexpr (std::is_integral_v<T>)
        return product == 0;
    Exact largest = 0;
    for (const Vector<T>* point : {&p, &q, &r})
        largest = std::max({largest, std::abs(Exact((*point)[0])), std::abs(Exact((*point)[1]))});
    const Exact rounding = std::numeric_limits<T>::epsilon() * largest;
    return std::abs(product) <=
           rounding * (std::abs(firstX) + std::abs(firstY) + std::abs(secondX) + std::abs(secondY));
}

} // namespace

template <class T>
void CurveDecimation<T>::apply(Curve<T>& curve) const {
    const int n = curve.getSize();
    const bool closed = curve.isClosed();
    if (n < (closed ? 2 : 3))
        return;
    std::vector<int> before(std::size_t(n), 0);
    std::vector<int> behind(std::size_t(n), 0);
    for (int k = 0; k < n; ++k) {
        before[k] = k > 0 ? k - 1 : n - 1;
        behind[k] = k < n - 1 ? k + 1 : 0;
    }
    std::vector<bool> removed(std::size_t(n), false);
    // A vertex is put to the test; a removal changes the neighbours of the two beside it.
    const auto remove = [&](int k) {
        const int r = before[k];
        const int q = behind[k];
        if (r == q || !inLine(curve[k], curve[q], curve[r]))
            return false;
        behind[r] = q;
        before[q] = r;
        removed[k] = true;
        return true;
    };
    const int start = closed ? n - 1 : n - 2;
    // Vertices that the following pass has to look at again.
    std::vector<int> changed;
    for (int k = start; k >= 1; --k)
        if (remove(k))
            changed.push_back(behind[k]);
    while (__recursive && !changed.empty()) {
        std::priority_queue<int> pass;
        for (const int k : changed)
            pass.push(k);
        changed.clear();
        int last = n;
        while (!pass.empty()) {
            const int k = pass.top();
            pass.pop();
            if (k == last || k < 1 || k > start || removed[k])
                continue;
            last = k;
            if (remove(k)) {
                pass.push(before[k]); // still to come in this pass
                changed.push_back(behind[k]);
            }
        }
    }
    int kept = 0;
    for (int k = 0; k < n; ++k)
        if (!removed[k])
            curve.setIndex(kept++, curve.getIndex(k));
    curve.setSize(kept, false);
}

template class CurveDecimation<int>;
template class CurveDecimation<double>;

} // namespace vorlen
