#include "shapes/curveresampling.h"

#include <algorithm>

#include "numerics/exception.h"
#include "shapes/arclength.h"
#include "shapes/shapearithmetic.h"

namespace vorlen {

template <class T>
void CurveResampling<T>::resample(const Curve<T>& in, Curve<T>& out, int numVertices, bool closed) const {
    using Wide = WideCoordinate<T>;
    const int n = in.getSize();
    const int m = std::max(numVertices, 0);
    const int space = in.getSpace();
    if (n == 0 && m > 0)
        throw SizeError("void CurveResampling<T>::apply(...) const", "This curve contains no vertex");
    // The input is copied before the output, which may be the same vertices, is written.
    const Vector<T> coordinates = in.toVector();
    const std::vector<Wide> points(coordinates.begin(), coordinates.end());
    if (out.getSpace() != space || out.getSize() != m)
        out = Curve<T>(space, m, m, m, out.isOpen());
    if (m == 0)
        return;
    std::vector<Wide> result(std::size_t(m) * space);
    std::vector<Wide> lengths;
    if (closed)
        ArcLength::resampleClosed(points.data(), n, space, result.data(), m, lengths);
    else
        ArcLength::resampleOpen(points.data(), n, space, result.data(), m, lengths);
    for (int k = 0; k < m; ++k) {
        std::transform(
            result.begin() + std::ptrdiff_t(k) * space, result.begin() + std::ptrdiff_t(k + 1) * space, out[k].data(),
            [](Wide x) { return T(x); });
    }
}

template <class T>
void CurveResampling<T>::apply(const Curve<T>& in, Curve<T>& out, int numVertices) const {
    const bool open = in.isOpen();
    resample(in, out, numVertices, !open);
    out.setOpen(open);
}

template <class T>
void CurveResampling<T>::resamplePolygon(const Curve<T>& in, Curve<T>& out, int numVertices) const {
    resample(in, out, numVertices, true);
}

template <class T>
void CurveResampling<T>::resamplePolyline(const Curve<T>& in, Curve<T>& out, int numVertices) const {
    resample(in, out, numVertices, false);
}

template class CurveResampling<float>;
template class CurveResampling<double>;
template class CurveResampling<long double>;

} // namespace vorlen
