#include "snake/snake.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "images/filters/derichegradient.h"
#include "numerics/exception.h"
#include "numerics/squarematrix.h"

namespace vorlen {

namespace {

enum Mark : unsigned char { nothing, edge, outside };

// Around the marks of the image lies a frame of marks of the outside, which no step from inside leaps over.
constexpr int frame = 2;
constexpr double longestNormal = 1.5;

// A place that moves over the marks.
template <class U>
struct Probe {
    U x, y, dx, dy;

    // Coordinates are truncated, so that those between -1 and 0 lie on the first pixel.
    unsigned char mark(const unsigned char* first, std::ptrdiff_t stride) const {
        return first[static_cast<int>(y) * stride + static_cast<int>(x)];
    }
    void advance() {
        x += dx;
        y += dy;
    }
};

} // namespace

template <class T, class U>
void Snake<T, U>::setConfig(const SnakeConfig& config, bool updateGradient) {
    if (updateGradient && __imageMatrix && __gradNorm && config.getAlpha() != __config.getAlpha())
        __setGradNorm(config.getAlpha());
    __marksAreUpToDate = __marksAreUpToDate && config.getGradThreshold() == __config.getGradThreshold();
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
    SquareMatrix<U>::cyclicTridiagSolve(x, y, diagonal, neighbours, neighbours, -r[0], -r[0]);
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
    __setGradNorm(__config.getAlpha());
}

template <class T, class U>
void Snake<T, U>::__setGradNorm(float alpha) {
    if (!__imageMatrix || __imageMatrix->getSize1() == 0 || __imageMatrix->getSize2() == 0)
        throw UsageError("void Snake::computeGradient()", "The snake has no image");
    DericheGradient<T> gradient(alpha);
    auto edges = std::make_unique<PixelMatrix<T>>(*__imageMatrix);
    PixelMatrix<T> vertical(*__imageMatrix);
    gradient.hGradient(*edges);
    gradient.vGradient(vertical);
    gradient.fineNonmaxSuppression(*edges, vertical);
    __gradNorm = std::move(edges);
    __marksAreUpToDate = false;
}

template <class T, class U>
void Snake<T, U>::__markEdges() {
    const int rows = __gradNorm->getSize1(), columns = __gradNorm->getSize2();
    const auto threshold = static_cast<T>(__config.getGradThreshold());
    const std::size_t stride = static_cast<std::size_t>(columns) + 2 * frame;
    __marks.assign((static_cast<std::size_t>(rows) + 2 * frame) * stride, outside);
    for (int i = 0; i < rows; ++i) {
        const T* const values = (*__gradNorm)[i].data();
        unsigned char* const marks = __marks.data() + (static_cast<std::size_t>(i) + frame) * stride + frame;
        for (int j = 0; j < columns; ++j)
            marks[j] = values[j] >= threshold ? edge : nothing;
    }
    __marksAreUpToDate = true;
}

template <class T, class U>
Vector<U> Snake<T, U>::computeForce(const Vector<U>& position, const Vector<U>& normal) {
    const char* const where = "Vector<U> Snake::computeForce(...)";
    if (!__gradNorm)
        throw UsageError(where, "The snake has no edge map");
    if (!(std::abs(normal[0]) <= U(longestNormal) && std::abs(normal[1]) <= U(longestNormal)))
        throw ValueError(where, "The normal is not of unit length");
    if (!__marksAreUpToDate)
        __markEdges();
    const int rows = __gradNorm->getSize1(), columns = __gradNorm->getSize2();
    const std::ptrdiff_t stride = std::ptrdiff_t(columns) + 2 * frame;
    const unsigned char* const marks = __marks.data() + frame * stride + frame;
    const auto isInside = [width = static_cast<U>(columns), height = static_cast<U>(rows)](const Probe<U>& probe) {
        return probe.x > U(-1) && probe.y > U(-1) && probe.x < width && probe.y < height;
    };
    const int distance = std::max(__config.getDistance(), 0);
    // A unit normal leads outside in so many steps; one that is null stays where it is.
    const auto furthest = static_cast<int>(std::min<long long>(distance, 2LL + rows + columns));

    Vector<U> force(2);
    force.setZeros();
    const auto draw = [&](int steps, U factor) {
        __dataDistance += static_cast<float>(steps);
        if (factor != U(0)) {
            force[0] = factor * normal[0];
            force[1] = factor * normal[1];
        }
        return force;
    };
    Probe<U> forward{position[0], position[1], normal[0], normal[1]};
    Probe<U> backward{position[0], position[1], -normal[0], -normal[1]};
    bool forwardIsOpen = isInside(forward);
    if (forwardIsOpen && furthest > 0 && forward.mark(marks, stride) == edge)
        return force;
    forward.advance();
    backward.advance();
    bool backwardIsOpen = isInside(backward);
    int k = 1;
    for (; k < furthest && forwardIsOpen && backwardIsOpen; ++k) {
        const unsigned char ahead = forward.mark(marks, stride), behind = backward.mark(marks, stride);
        if ((ahead | behind) != nothing) {
            if (ahead == edge || behind == edge)
                return draw(k, ahead == behind ? U(0) : ahead == edge ? U(0.5) : U(-0.5));
            forwardIsOpen = ahead != outside;
            backwardIsOpen = behind != outside;
        }
        forward.advance();
        backward.advance();
    }
    if (forwardIsOpen != backwardIsOpen) {
        Probe<U>& remaining = forwardIsOpen ? forward : backward;
        for (; k < furthest; ++k) {
            const unsigned char mark = remaining.mark(marks, stride);
            if (mark == edge)
                return draw(k, forwardIsOpen ? U(0.5) : U(-0.5));
            if (mark == outside)
                break;
            remaining.advance();
        }
    }
    return draw(distance, U(0));
}

template <class T, class U>
void Snake<T, U>::allocateArrays() {
    __regularizations.setSize(__curve.getSize());
}

template class Snake<float, float>;
template class Snake<double, double>;

} // namespace vorlen
