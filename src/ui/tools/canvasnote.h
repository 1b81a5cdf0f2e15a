#pragma once

#include <vector>

#include <QPointF>
#include <QString>

namespace vorlen {

/// A line over a slice, and what is said of it at its end. Points are pixels (column, row) of the image, with the
/// centre of the first one at (0, 0).
struct CanvasNote {
    std::vector<QPointF> line;
    QString text;
};

} // namespace vorlen
