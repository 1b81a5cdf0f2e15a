#pragma once

#include <vector>

class QColor;
class QPolygonF;
class QRect;
class QSize;
class QTransform;

namespace vorlen {

/// Lines of many colours and widths as triangles, to be drawn by one call: a painter asks the driver for each of them,
/// which a slice with hundreds of outlines makes felt.
///
/// Lines are opaque, a later one covers an earlier one. Joins are round; open lines end half their width behind their
/// ends; what has no length is a square of the line's width. Places that are no number or beyond all screens are left
/// to the driver, which draws nothing of them.
class OutlineBatch {
public:
    /// A corner of triangles: its place in pixels of the screen from the upper left corner, and its colour.
    struct Corner {
        float x, y;
        unsigned char red, green, blue, opacity;
    };

    /// The points and the width are in units of their own, which the transformation, without a turn, brings to pixels
    /// of the screen.
    void add(const QPolygonF& points, bool closed, double width, const QTransform& toPixels, const QColor& color);

    bool isEmpty() const { return __indexes.empty(); }

    /// Draws all within a rectangle of a buffer of this size, both in pixels of the screen, and forgets it. A context
    /// of the compatibility profile must be current, and no painter open on it. The matrices stay as they are.
    void draw(const QSize& buffer, const QRect& within);

    /// Three indexes for each triangle.
    const std::vector<Corner>& corners() const { return __corners; }
    const std::vector<unsigned int>& indexes() const { return __indexes; }

private:
    class Stroke;

    std::vector<Corner> __corners;
    std::vector<unsigned int> __indexes;
};

} // namespace vorlen
