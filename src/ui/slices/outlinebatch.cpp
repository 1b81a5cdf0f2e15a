#include "ui/slices/outlinebatch.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <QColor>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QPolygonF>
#include <QRect>
#include <QTransform>

namespace vorlen {

namespace {

constexpr double smallestError = 0.1; // of a pixel of the screen, which nobody sees

double dot(const QPointF& a, const QPointF& b) {
    return QPointF::dotProduct(a, b);
}

double cross(const QPointF& a, const QPointF& b) {
    return a.x() * b.y() - a.y() * b.x();
}

QPointF normalOf(const QPointF& direction) {
    return QPointF(-direction.y(), direction.x());
}

} // namespace

/// One line on its way into triangles, in its own units.
class OutlineBatch::Stroke {
public:
    Stroke(OutlineBatch& batch, double width, const QTransform& toPixels, const QColor& color)
        : __batch(batch), __half(width / 2), __toPixels(toPixels),
          __scale(std::max(std::abs(toPixels.m11()), std::abs(toPixels.m22()))),
          __corner{0,
                   0,
                   static_cast<unsigned char>(color.red()),
                   static_cast<unsigned char>(color.green()),
                   static_cast<unsigned char>(color.blue()),
                   255} {}

    void run(const QPolygonF& points, bool closed) {
        takePlaces(points, closed);
        if (__places.empty())
            return;
        if (__places.size() == 1)
            return square(__places[0]);
        const std::size_t n = __places.size();
        Sides last = closed ? join(n - 1, __directions[n - 1], __directions[0], 0) : end(0, -1);
        const Sides first = last;
        for (std::size_t i = 0; i + 1 < n; ++i) {
            const bool isLast = i + 2 == n && !closed;
            const Sides next = isLast ? end(i + 1, 1) : join(i, __directions[i], __directions[i + 1], i + 1);
            quad(last.out, next.in);
            last = next;
        }
        if (closed)
            quad(last.out, first.in);
    }

private:
    /// Left and right of the line.
    struct Pair {
        unsigned int left, right;
    };
    /// Where a piece comes in, and where the next one goes out.
    struct Sides {
        Pair in, out;
    };

    /// Without those that repeat the one before, and the directions and lengths from each to the next.
    void takePlaces(const QPolygonF& points, bool closed) {
        for (const QPointF& point : points)
            if (__places.empty() || point != __places.back())
                __places.push_back(point);
        while (closed && __places.size() > 1 && __places.back() == __places.front())
            __places.pop_back();
        const std::size_t n = __places.size();
        for (std::size_t i = 0; i < n; ++i) {
            const QPointF way = __places[(i + 1) % n] - __places[i];
            __lengths.push_back(std::hypot(way.x(), way.y()));
            __directions.push_back(__lengths.back() > 0 ? way / __lengths.back() : QPointF());
        }
    }

    unsigned int corner(const QPointF& place) {
        const QPointF pixel = __toPixels.map(place);
        __corner.x = float(pixel.x());
        __corner.y = float(pixel.y());
        __batch.__corners.push_back(__corner);
        return static_cast<unsigned int>(__batch.__corners.size() - 1);
    }

    Pair pair(const QPointF& place, const QPointF& toLeft) {
        const unsigned int left = corner(place + toLeft);
        return {left, corner(place - toLeft)};
    }

    void triangle(unsigned int a, unsigned int b, unsigned int c) {
        for (const unsigned int index : {a, b, c})
            __batch.__indexes.push_back(index);
    }

    void quad(const Pair& from, const Pair& to) {
        triangle(from.left, from.right, to.left);
        triangle(from.right, to.right, to.left);
    }

    void square(const QPointF& place) {
        const QPointF side(0, __half);
        const QPointF ahead(__half, 0);
        quad(pair(place - ahead, side), pair(place + ahead, side));
    }

    /// At the first place of an open line, with -1, or its last one.
    Sides end(std::size_t i, double side) {
        const QPointF& direction = __directions[side < 0 ? 0 : i - 1];
        const Pair both = pair(__places[i] + side * __half * direction, __half * normalOf(direction));
        return {both, both};
    }

    /// From a piece to the one behind it, at a place; the piece before has the length of its own index.
    Sides join(std::size_t before, const QPointF& a, const QPointF& b, std::size_t at) {
        const QPointF& place = __places[at];
        const double cosine = std::sqrt(std::max(0.0, (1 + dot(a, b)) / 2)); // of half the angle of the turn
        const double excess = __half * __scale * (1 - cosine);
        const double reach = __half * std::sqrt(std::max(0.0, 1 - cosine * cosine));
        if (excess < smallestError * cosine && reach < cosine * std::min(__lengths[before], __lengths[at])) {
            const QPointF middle = normalOf(a) + normalOf(b);
            const Pair both = pair(place, middle * (__half / (2 * cosine * cosine)));
            return {both, both};
        }
        const Sides sides{pair(place, __half * normalOf(a)), pair(place, __half * normalOf(b))};
        fan(place, a, b, sides);
        return sides;
    }

    /// The outer side of a turn.
    void fan(const QPointF& place, const QPointF& a, const QPointF& b, const Sides& sides) {
        const double turn = std::atan2(cross(a, b), dot(a, b));
        const double outer = turn > 0 ? -1 : 1;
        const double radius = std::max(__half * __scale, 2 * smallestError);
        const double step = 2 * std::acos(1 - smallestError / radius);
        const int numSteps = std::clamp(int(std::ceil(std::abs(turn) / step)), 1, 64);
        const unsigned int middle = corner(place);
        unsigned int last = turn > 0 ? sides.in.right : sides.in.left;
        for (int k = 1; k <= numSteps; ++k) {
            unsigned int next = turn > 0 ? sides.out.right : sides.out.left;
            if (k < numSteps) {
                const double angle = turn * k / numSteps;
                const QPointF direction = std::cos(angle) * a + std::sin(angle) * normalOf(a);
                next = corner(place + outer * __half * normalOf(direction));
            }
            triangle(middle, last, next);
            last = next;
        }
    }

    OutlineBatch& __batch;
    double __half;
    const QTransform& __toPixels;
    double __scale;
    Corner __corner;
    std::vector<QPointF> __places, __directions;
    std::vector<double> __lengths;
};

void OutlineBatch::add(const QPolygonF& points, bool closed, double width, const QTransform& toPixels,
                       const QColor& color) {
    Stroke(*this, width, toPixels, color).run(points, closed);
}

void OutlineBatch::draw(const QSize& buffer, const QRect& within) {
    if (isEmpty())
        return;
    QOpenGLFunctions& gl = *QOpenGLContext::currentContext()->functions();
    gl.glUseProgram(0);
    gl.glBindBuffer(GL_ARRAY_BUFFER, 0);
    gl.glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    glPushAttrib(GL_ENABLE_BIT | GL_TRANSFORM_BIT | GL_SCISSOR_BIT | GL_CURRENT_BIT | GL_LIGHTING_BIT);
    for (const GLenum state : {GL_DEPTH_TEST, GL_STENCIL_TEST, GL_BLEND, GL_TEXTURE_2D, GL_LIGHTING, GL_CULL_FACE})
        glDisable(state);
    glEnable(GL_MULTISAMPLE);
    glEnable(GL_SCISSOR_TEST);
    glScissor(within.x(), buffer.height() - within.y() - within.height(), within.width(), within.height());
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glOrtho(0, std::max(buffer.width(), 1), std::max(buffer.height(), 1), 0, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_COLOR_ARRAY);
    glVertexPointer(2, GL_FLOAT, sizeof(Corner), &__corners[0].x);
    glColorPointer(4, GL_UNSIGNED_BYTE, sizeof(Corner), &__corners[0].red);
    glDrawElements(GL_TRIANGLES, GLsizei(__indexes.size()), GL_UNSIGNED_INT, __indexes.data());
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glPopAttrib();
    __corners.clear();
    __indexes.clear();
}

} // namespace vorlen
