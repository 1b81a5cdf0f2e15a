#include "snake/snake.h"

#include <algorithm>
#include <cmath>

#include "images/derichegradient.h"
#include "numerics/exception.h"
#include "numerics/squarematrix.h"

namespace {

// Way from a vertex along its normal, in one sense.
template <class T, class U>
class Probe {
public:
    Probe(U x, U y, U dx, U dy) : __x(x), __y(y), __dx(dx), __dy(dy) {}

    bool isOpen() const { return __open; }
    void advance() {
        __x += __dx;
        __y += __dy;
    }

    /// Whether there is an edge at this place; closes the way outside the map. Coordinates are truncated, so that those
    /// between -1 and 0 lie on the first pixel.
    bool findsEdge(const PixelMatrix<T>& map, U columns, U rows, T threshold) {
        __open = __open && __x > U(-1) && __y > U(-1) && __x < columns && __y < rows;
        return __open && map[static_cast<int>(__y)][static_cast<int>(__x)] >= threshold;
    }

private:
    U __x, __y, __dx, __dy;
    bool __open = true;
};

} // namespace

template <class T, class U>
void Snake<T, U>::setConfig(const SnakeConfig& config, bool updateGradient) {
    if (updateGradient && __imageMatrix && __gradNorm && config.getAlpha() != __config.getAlpha())
        __gradNorm = __edgeMap(config.getAlpha());
    __config = config;
}

template <class T, class U>
void Snake<T, U>::setCurve(const Curve<U>& curve) {
    if (curve.getSize() > 0 && curve.getSpace() != 2)
        throw SizeError("void Snake::setCurve(const Curve<U>&)", "The vertices of the curve are not planar");
    __curve = curve;
    __curve.detach();
    __curve.setOpen(false);
}

template <class T, class U>
void Snake<T, U>::init() {
    computeGradient();
    resampleCurve();
}

template <class T, class U>
void Snake<T, U>::run(unsigned int steps) {
    for (unsigned int step = 0; step < steps; ++step)
        runStep();
}

template <class T, class U>
void Snake<T, U>::runStep() {
    computeForces();
    computeRegularizations();
    computeNewPositions();
    resampleCurve();
}

template <class T, class U>
void Snake<T, U>::computeForces() {
    __dataDistance = 0.0f;
    __forces = __curve.normals(0, 1);
    const int n = __curve.getSize();
    for (int i = 0; i < n; ++i)
        __forces[i] = computeForce(__curve[i], __forces[i]);
    if (n > 0)
        __dataDistance /= static_cast<float>(n);
}

template <class T, class U>
void Snake<T, U>::computeRegularizations() {
    const float weight = __config.getRegMax();
    if (!(weight >= 0.0f && std::isfinite(weight)))
        throw ValueError("void Snake::computeRegularizations()", "The regularization is below 0 or not a number");
    allocateArrays();
    __regularizations.fill(static_cast<U>(weight));
}

// Row i of the system: (1 + r[i] + r[i+1]) x'[i] - r[i] x'[i-1] - r[i+1] x'[i+1] = x[i] + f[i], with cyclic indexes.
template <class T, class U>
void Snake<T, U>::computeNewPositions() {
    const int n = __curve.getSize();
    if (n < 3 || __forces.getSize() != n || __regularizations.getSize() != n)
        throw UsageError("void Snake::computeNewPositions()", "The snake has no forces for its vertices");
    const Vector<U>& r = __regularizations;
    Vector<U> diagonal(n), neighbours(n - 1), x(n), y(n);
    for (int i = 0; i < n; ++i) {
        const U next = r[i + 1 < n ? i + 1 : 0];
        diagonal[i] = U(1) + r[i] + next;
        if (i + 1 < n)
            neighbours[i] = -next;
        x[i] = __curve[i][0] + __forces[i][0];
        y[i] = __curve[i][1] + __forces[i][1];
    }
    SquareMatrix<U>::cyclicTridiagSolve(x, diagonal, neighbours, neighbours, -r[0], -r[0]);
    SquareMatrix<U>::cyclicTridiagSolve(y, diagonal, neighbours, neighbours, -r[0], -r[0]);
    for (int i = 0; i < n; ++i) {
        __curve[i][0] = x[i];
        __curve[i][1] = y[i];
    }
}

template <class T, class U>
void Snake<T, U>::resampleCurve() {
    const char* const where = "void Snake::resampleCurve()";
    constexpr U longest = U(1 << 24);
    const U length = __curve.length();
    if (!(length <= longest))
        throw SizeError(where, "The snake is too long.");
    const int m = static_cast<int>(length);
    if (m <= 2)
        throw SizeError(where, "The snake has collapsed.");
    __curve = __curve.resample(m);
    allocateArrays();
}

template <class T, class U>
void Snake<T, U>::computeGradient() {
    __gradNorm = __edgeMap(__config.getAlpha());
}

template <class T, class U>
std::unique_ptr<PixelMatrix<T>> Snake<T, U>::__edgeMap(float alpha) const {
    if (!__imageMatrix || __imageMatrix->getSize1() == 0 || __imageMatrix->getSize2() == 0)
        throw UsageError("void Snake::computeGradient()", "The snake has no image");
    DericheGradient<T> gradient(alpha);
    auto edges = std::make_unique<PixelMatrix<T>>(*__imageMatrix);
    PixelMatrix<T> vertical(*__imageMatrix);
    gradient.hGradient(*edges);
    gradient.vGradient(vertical);
    gradient.fineNonmaxSuppression(*edges, vertical);
    return edges;
}

template <class T, class U>
Vector<U> Snake<T, U>::computeForce(const Vector<U>& position, const Vector<U>& normal) {
    if (!__gradNorm)
        throw UsageError("Vector<U> Snake::computeForce(...)", "The snake has no edge map");
    const auto columns = static_cast<U>(__gradNorm->getSize2()), rows = static_cast<U>(__gradNorm->getSize1());
    const auto threshold = static_cast<T>(__config.getGradThreshold());
    const int distance = std::max(__config.getDistance(), 0);
    // A unit normal is outside after so many steps; one that is null stays where it is.
    const int furthest = std::min<long long>(distance, 2LL + __gradNorm->getSize1() + __gradNorm->getSize2());

    Vector<U> force(2);
    force.setZeros();
    Probe<T, U> forward(position[0], position[1], normal[0], normal[1]);
    Probe<T, U> backward(position[0], position[1], -normal[0], -normal[1]);
    for (int k = 0; k < furthest && (forward.isOpen() || backward.isOpen()); ++k) {
        const bool ahead = forward.findsEdge(*__gradNorm, columns, rows, threshold);
        const bool behind = k > 0 && backward.findsEdge(*__gradNorm, columns, rows, threshold);
        if (ahead || behind) {
            if (ahead != behind && k > 0) {
                const U sign = ahead ? U(0.5) : U(-0.5);
                force[0] = sign * normal[0];
                force[1] = sign * normal[1];
            }
            __dataDistance += static_cast<float>(k);
            return force;
        }
        forward.advance();
        backward.advance();
    }
    __dataDistance += static_cast<float>(distance);
    return force;
}

template <class T, class U>
void Snake<T, U>::allocateArrays() {
    __regularizations.setSize(__curve.getSize());
}

template class Snake<float, float>;
template class Snake<double, double>;
