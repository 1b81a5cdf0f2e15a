#include "shapes/curve.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "numerics/exception.h"
#include "shapes/arclength.h"
#include "shapes/curveresampling.h"
#include "shapes/edge.h"
#include "shapes/runboxes.h"
#include "shapes/shapearithmetic.h"

namespace vorlen {

namespace {

// The edges of a curve in the plane of two axes, as flat arrays: edge k runs from point k to point k + 1.
template <class W>
struct PlanarEdges {
    std::vector<W> x;
    std::vector<W> y;

    int size() const { return x.empty() ? 0 : int(x.size()) - 1; }

    typename RunBoxes<W>::Box box(int k) const {
        typename RunBoxes<W>::Box b;
        b.add(x[k], y[k]);
        b.add(x[k + 1], y[k + 1]);
        return b;
    }

    RunBoxes<W> tree() const {
        return RunBoxes<W>(
            size(),
            [this](int k, typename RunBoxes<W>::Box& b) {
                b.add(x[k], y[k]);
                b.add(x[k + 1], y[k + 1]);
            });
    }

    // Room for the rounding of the crossing test, far above it.
    W margin() const {
        W extent = 0;
        for (std::size_t k = 0; k < x.size(); ++k)
            extent = std::max({extent, std::abs(x[k]), std::abs(y[k])});
        return 16 * std::numeric_limits<W>::epsilon() * extent;
    }
};

template <class T>
PlanarEdges<WideCoordinate<T>> planarEdges(const Curve<T>& curve, int i, int j) {
    PlanarEdges<WideCoordinate<T>> edges;
    const int n = curve.getSize();
    if (n < 2)
        return edges;
    edges.x.reserve(std::size_t(n) + 1);
    edges.y.reserve(std::size_t(n) + 1);
    for (int k = 0; k < n + (curve.isClosed() ? 1 : 0); ++k) {
        const Vector<T>& v = curve[k < n ? k : 0];
        edges.x.push_back(v[i]);
        edges.y.push_back(v[j]);
    }
    return edges;
}

// The two edges cross, ends included; parallel ones never do. The same sums as Edge::projectionIntersects.
template <class W>
bool cross(const PlanarEdges<W>& e, int k, const PlanarEdges<W>& f, int l) {
    const W ax = e.x[k] - e.x[k + 1];
    const W ay = e.y[k] - e.y[k + 1];
    const W bx = f.x[l] - f.x[l + 1];
    const W by = f.y[l] - f.y[l + 1];
    const W cx = f.x[l] - e.x[k];
    const W cy = e.y[k] - f.y[l];
    const W den = ay * bx - ax * by;
    const W s = by * cx + bx * cy;
    const W u = cy * ax + cx * ay;
    if (den > 0)
        return 0 <= s && s <= den && 0 <= u && u <= den;
    return den < 0 && den <= s && s <= 0 && den <= u && u <= 0;
}

// Copies of the vertices at the given positions, on a server of their own.
template <class T>
Curve<T> pieceOf(const Curve<T>& curve, const std::vector<int>& positions) {
    const int n = int(positions.size());
    Curve<T> piece(curve.getSpace(), n, n, n, curve.isOpen());
    for (int k = 0; k < n; ++k)
        piece[k] = curve[positions[k]];
    return piece;
}

template <class T>
WideCoordinate<T> distanceOf(const Vector<T>& a, const Vector<T>& b) {
    WideCoordinate<T> squares = 0;
    for (int k = 0; k < a.getSize(); ++k) {
        const WideCoordinate<T> d = WideCoordinate<T>(a[k]) - WideCoordinate<T>(b[k]);
        squares += d * d;
    }
    return std::sqrt(squares);
}

} // namespace

// ---- edge iterator

template <class T>
Curve<T>::__ConcreteEdgeIterator::__ConcreteEdgeIterator(const Curve<T>& curve) : __curve(&curve) {
    if (curve.getSize() >= 2)
        this->__edge = std::make_unique<Edge<T>>(curve, 0, 1);
    rewind();
}

template <class T>
Curve<T>::__ConcreteEdgeIterator::~__ConcreteEdgeIterator() = default;

template <class T>
Edge<T>* Curve<T>::__ConcreteEdgeIterator::current() const {
    return __atEnd ? nullptr : this->__edge.get();
}

template <class T>
void Curve<T>::__ConcreteEdgeIterator::setEdge(int first, int second) {
    this->__edge->setIndex(0, __curve->getIndex(first));
    this->__edge->setIndex(1, __curve->getIndex(second));
}

template <class T>
void Curve<T>::__ConcreteEdgeIterator::operator++(int) {
    if (__atEnd)
        return;
    ++__index;
    if (__index < __curve->getSize() - 1) {
        setEdge(__index, __index + 1);
    } else if (__closing) {
        __closing = false;
        setEdge(__index, 0);
    } else {
        __atEnd = true;
    }
}

template <class T>
void Curve<T>::__ConcreteEdgeIterator::rewind() {
    __index = 0;
    __closing = __curve->isClosed();
    __atEnd = !this->__edge;
    if (!__atEnd)
        setEdge(0, 1);
}

template <class T>
bool Curve<T>::__ConcreteEdgeIterator::operator==(const __ConcreteEdgeIterator& other) const {
    return __curve == other.__curve && __index == other.__index;
}

template <class T>
bool Curve<T>::__ConcreteEdgeIterator::operator!=(const __ConcreteEdgeIterator& other) const {
    return !(*this == other);
}

template <class T>
bool Curve<T>::__ConcreteEdgeIterator::isPrevious(const __ConcreteEdgeIterator& other) const {
    return __curve == other.__curve &&
           (__index == other.__index - 1 ||
            (__curve->isClosed() && __index == __curve->getSize() - 1 && other.__index == 0));
}

template <class T>
bool Curve<T>::__ConcreteEdgeIterator::isNext(const __ConcreteEdgeIterator& other) const {
    return other.isPrevious(*this);
}

template <class T>
bool Curve<T>::__ConcreteEdgeIterator::isAdjacent(const __ConcreteEdgeIterator& other) const {
    return isPrevious(other) || isNext(other);
}

// ---- construction and assignment

template <class T>
Curve<T>::Curve(int space, int size, int capacity, int growth, bool open)
    : Vertices<T>(space, size, capacity, growth), __open(open) {
}

template <class T>
Curve<T>::Curve(const Vertices<T>& vertices, bool open) : Vertices<T>(vertices), __open(open) {
}

template <class T>
Curve<T>::Curve(const Curve& other) : Vertices<T>(other), __open(other.__open) {
}

template <class T>
Curve<T>::Curve(const std::string& filename) {
    this->load(filename);
}

template <class T>
Curve<T>::~Curve() = default;

template <class T>
Curve<T>& Curve<T>::operator=(const Curve& other) {
    this->assign(other);
    return *this;
}

template <class T>
void Curve<T>::assign(const VertexClient<T>& other) {
    const Curve& curve = dynamic_cast<const Curve&>(other);
    Vertices<T>::assign(curve);
    __open = curve.__open;
}

template <class T>
Curve<T>* Curve<T>::clone() const {
    return new Curve(*this); // the told interface hands the copy to the caller
}

template <class T>
ShapeType Curve<T>::getShapeType() const {
    return __open ? OpenCurveType : ClosedCurveType;
}

template <class T>
ShapeType Curve<T>::read(std::istream& stream) {
    const ShapeType type = Vertices<T>::read(stream);
    __open = type == OpenCurveType;
    return type;
}

template <class T>
std::unique_ptr<ConcreteEdgeIterator<T>> Curve<T>::edgeIterator() {
    return std::make_unique<__ConcreteEdgeIterator>(*this);
}

template <class T>
std::unique_ptr<ConcreteEdgeIterator<T>> Curve<T>::edgeIterator() const {
    return std::make_unique<__ConcreteEdgeIterator>(*this);
}

// ---- measures

template <class T>
int Curve<T>::getNumEdges() const {
    const int n = this->getSize();
    return n < 2 ? 0 : n - (__open ? 1 : 0);
}

template <class T>
T Curve<T>::length() const {
    const int n = this->getSize();
    WideCoordinate<T> sum = 0;
    for (int k = 0; k < getNumEdges(); ++k)
        sum += distanceOf((*this)[k], (*this)[k + 1 < n ? k + 1 : 0]);
    return roundToCoordinate<T>(sum);
}

template <class T>
T Curve<T>::twiceArea(int i, int j) const {
    using Wide = WideCoordinate<T>;
    const int n = this->getSize();
    if (__open || n < 3)
        return 0;
    // Coordinates relative to the first vertex: far from the origin the products would cancel.
    const Wide x0 = (*this)[0][i];
    const Wide y0 = (*this)[0][j];
    Wide sum = 0;
    Wide x = 0;
    Wide y = 0;
    for (int k = 1; k < n; ++k) {
        const Vector<T>& v = (*this)[k];
        const Wide nextX = Wide(v[i]) - x0;
        const Wide nextY = Wide(v[j]) - y0;
        sum += x * nextY - nextX * y;
        x = nextX;
        y = nextY;
    }
    return toCoordinate<T>(sum);
}

template <class T>
bool Curve<T>::isClockwise(int i, int j) const {
    return twiceArea(i, j) < 0;
}

template <class T>
void Curve<T>::setClockwise(bool clockwise, int i, int j) {
    const T area = twiceArea(i, j);
    if (area != 0 && (area < 0) != clockwise)
        this->reverse();
}

template <class T>
Vector<T> Curve<T>::signature() const {
    const Vector<T> centre = this->cog();
    Vector<T> distances(this->getSize());
    for (int k = 0; k < distances.getSize(); ++k)
        distances[k] = (*this)[k].sdistance(centre);
    return distances;
}

template <class T>
void Curve<T>::closestPoint(const Vector<T>& p, Vector<T>& out) const {
    bool first = true;
    T best = 0;
    Vector<T> candidate;
    for (ConstEdgeIterator<T> it(*this); it.current(); ++it) {
        const T distance = it.current()->closestPoint(p, candidate);
        if (first || distance < best) {
            first = false;
            best = distance;
            out = candidate;
        }
    }
}

template <class T>
Vertices<T> Curve<T>::normals(int i, int j) const {
    if constexpr (std::is_integral_v<T>) {
        (void)i;
        (void)j;
        throw TypeError("Vertices<int> Curve<int>::normals(...) const", "Method not available for type 'int'");
    } else {
        const int n = this->getSize();
        Vertices<T> normals(2, n, n, n);
        for (int k = 0; k < n; ++k) {
            const Vector<T>& before = (*this)[k > 0 ? k - 1 : __open ? 0 : n - 1];
            const Vector<T>& behind = (*this)[k < n - 1 ? k + 1 : __open ? n - 1 : 0];
            Vector<T>& normal = normals[k];
            normal[0] = before[j] - behind[j];
            normal[1] = behind[i] - before[i];
            normal.normalize();
        }
        return normals;
    }
}

// ---- crossings

template <class T>
bool Curve<T>::intersects(const Curve& other, int i, int j) const {
    const auto own = planarEdges(*this, i, j);
    const auto others = planarEdges(other, i, j);
    const auto tree = others.tree();
    const auto margin = std::max(own.margin(), others.margin());
    for (int k = 0; k < own.size(); ++k)
        if (!tree.visit(own.box(k), margin, 0, [&](int l) { return !cross(own, k, others, l); }))
            return true;
    return false;
}

template <class T>
bool Curve<T>::selfIntersects(int i, int j) const {
    const auto edges = planarEdges(*this, i, j);
    const auto tree = edges.tree();
    const auto margin = edges.margin();
    const int last = edges.size() - 1;
    for (int k = 0; k <= last; ++k) {
        const bool none = tree.visit(edges.box(k), margin, k + 2, [&](int l) {
            const bool adjacent = !__open && k == 0 && l == last;
            return adjacent || !cross(edges, k, edges, l);
        });
        if (!none)
            return true;
    }
    return false;
}

template <class T>
std::vector<int> Curve<T>::intersectionIndexes(const Curve& other, int i, int j) const {
    const auto own = planarEdges(*this, i, j);
    const auto others = planarEdges(other, i, j);
    const auto tree = others.tree();
    const auto margin = std::max(own.margin(), others.margin());
    std::vector<int> ranks;
    for (int k = 0; k < own.size(); ++k) {
        tree.visit(
            own.box(k), margin, 0,
            [&](int l) {
                if (cross(own, k, others, l))
                    ranks.push_back(k);
                return true;
            });
    }
    return ranks;
}

// ---- cutting and joining

template <class T>
std::vector<Curve<T>> Curve<T>::split(const std::vector<int>& indexes) const {
    const char* where = "vector<Curve<T>> Curve<T>::split(const vector<int>&) const";
    if (indexes.size() % 2 != 0)
        throw UsageError(where, "The number of cuts is odd");
    if (!std::is_sorted(indexes.begin(), indexes.end()) ||
        (!indexes.empty() && (indexes.front() < 0 || indexes.back() >= getNumEdges())))
        throw UsageError(where, "The cuts are not at ascending edges of the curve");
    const int n = this->getSize();
    std::vector<Curve> pieces;
    pieces.reserve(indexes.size() / 2 + 1);
    std::vector<int> rest;
    int next = 0;
    for (std::size_t pair = 0; pair < indexes.size(); pair += 2) {
        for (; next <= indexes[pair]; ++next)
            rest.push_back(next);
        next = std::max(next, indexes[pair + 1] + 1);
    }
    for (; next < n; ++next)
        rest.push_back(next);
    pieces.push_back(pieceOf(*this, rest));
    for (std::size_t pair = 0; pair < indexes.size(); pair += 2) {
        std::vector<int> part;
        for (int k = indexes[pair]; k <= indexes[pair + 1] + 1; ++k)
            part.push_back(k < n ? k : 0); // the closing edge ends at the first vertex
        pieces.push_back(pieceOf(*this, part));
    }
    return pieces;
}

template <class T>
std::vector<Curve<T>> Curve<T>::split(const Curve& other, int i, int j) const {
    return split(intersectionIndexes(other, i, j));
}

template <class T>
Curve<T> Curve<T>::join(const Curve& other) const {
    const int n = this->getSize();
    const int m = other.getSize();
    if (n == 0 || m == 0)
        throw SizeError("Curve<T> Curve<T>::join(const Curve&) const", "This curve contains no vertex");
    int p = 0;
    int q = 0;
    this->closestPoints(other, p, q);
    Curve joined(this->getSpace(), n + m + 2, 0, 0, false);
    int k = 0;
    for (int a = 0; a <= p; ++a)
        joined[k++] = (*this)[a];
    for (int b = q; b < m; ++b)
        joined[k++] = other[b];
    for (int b = 0; b <= q; ++b)
        joined[k++] = other[b];
    for (int a = p; a < n; ++a)
        joined[k++] = (*this)[a];
    return joined;
}

template <class T>
bool Curve<T>::contains(const Vector<T>& p, int i, int j) const {
    using Wide = WideCoordinate<T>;
    if (__open)
        return false;
    const Wide px = p[i];
    const Wide py = p[j];
    const int n = this->getSize();
    int crossings = 0;
    for (int k = 0; k < getNumEdges(); ++k) {
        const Vector<T>& a = (*this)[k];
        const Vector<T>& b = (*this)[k + 1 < n ? k + 1 : 0];
        const Wide ax = a[i];
        const Wide ay = a[j];
        const Wide bx = b[i];
        const Wide by = b[j];
        if (ax == px && ay == py)
            return true;
        const bool down = by <= py && py < ay;
        const bool up = ay <= py && py < by;
        if (down || up) {
            const Wide s = (ay - py) * (bx - px) - (ax - px) * (by - py);
            crossings += down ? s >= 0 : s <= 0;
        }
    }
    return crossings % 2 == 1;
}

// ---- resampling

template <class T>
Curve<T> Curve<T>::resample(int n) const {
    const int m = std::max(n, 0);
    Curve out(this->getSpace(), m, m, m, __open);
    resample(out);
    return out;
}

template <class T>
void Curve<T>::resample(Curve& out) const {
    if (__open)
        resamplePolyline(out);
    else
        resamplePolygon(out);
    out.setOpen(__open);
}

template <class T>
void Curve<T>::resamplePolygon(Curve& out) const {
    if constexpr (std::is_integral_v<T>) {
        (void)out;
        throw UsageError("void Curve<T>::resamplePolygon(Curve&) const", "Method not available for type 'int'");
    } else {
        CurveResampling<T>().apply(*this, out, out.getSize());
    }
}

template <class T>
void Curve<T>::resamplePolyline(Curve& out) const {
    using Wide = WideCoordinate<T>;
    const char* where = "void Curve<T>::resamplePolyline(Curve&) const";
    const int n = this->getSize();
    const int m = out.getSize();
    if (m == 0)
        return;
    if (n == 0)
        throw SizeError(where, "This curve contains no vertex");
    const int space = this->getSpace();
    if (out.getSpace() != space)
        throw SizeError(where, "Incompatible vector dimensions");
    const Vector<T> coordinates = this->toVector();
    const std::vector<Wide> points(coordinates.begin(), coordinates.end());
    std::vector<Wide> result(std::size_t(m) * space);
    std::vector<Wide> lengths;
    ArcLength::resampleOpen(points.data(), n, space, result.data(), m, lengths);
    for (int k = 0; k < m; ++k)
        for (int a = 0; a < space; ++a)
            out[k][a] = roundToCoordinate<T>(result[std::size_t(k) * space + a]);
}

template <class T>
void Curve<T>::resamplingError(const Curve& resampled, Vector<T>& errors, int i, int j) const {
    if constexpr (std::is_integral_v<T>) {
        (void)resampled;
        (void)errors;
        (void)i;
        (void)j;
        throw UsageError("void Curve<int>::resamplingError(...) const", "Method not available for type 'int'");
    } else {
        using Wide = WideCoordinate<T>;
        const int n = this->getSize();
        const int m = resampled.getSize();
        if (m == 0 && n > 0)
            throw SizeError("void Curve<T>::resamplingError(...) const", "The resampled curve contains no vertex");
        errors.setSize(n);
        if (n == 0)
            return;
        errors[0] = 0;
        // The current segment ends at `end`; once the vertices run out it is the closing one, to vertex 0.
        int start = 0;
        int end = m > 1 ? 1 : 0;
        Wide s = 0;
        Wide r = distanceOf(resampled[start], resampled[end]);
        for (int k = 1; k < n; ++k) {
            s += distanceOf((*this)[k - 1], (*this)[k]);
            while (s > r && end != 0) {
                start = end;
                end = end + 1 < m ? end + 1 : 0;
                r += distanceOf(resampled[start], resampled[end]);
            }
            const Vector<T>& a = resampled[start];
            const Vector<T>& b = resampled[end];
            const Vector<T>& v = (*this)[k];
            const Wide dx = Wide(b[i]) - Wide(a[i]);
            const Wide dy = Wide(b[j]) - Wide(a[j]);
            const Wide vx = Wide(v[i]) - Wide(a[i]);
            const Wide vy = Wide(v[j]) - Wide(a[j]);
            const Wide length = std::hypot(dx, dy);
            // A segment of length 0 is its point.
            errors[k] = T(length > 0 ? std::abs(dx * vy - dy * vx) / length : std::hypot(vx, vy));
            r = s + distanceOf(v, b);
        }
    }
}

template class Curve<int>;
template class Curve<float>;
template class Curve<double>;
template class Curve<long double>;

} // namespace vorlen
