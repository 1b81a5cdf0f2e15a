#pragma once

#include <optional>

#include <QPointF>
#include <QRect>
#include <QString>

#include "values/lengthunit.h"

class QPainter;

namespace vorlen {

/// A bar as long as a round number of a unit of length.
struct ScaleBar {
    double pixels = 0; // of the screen
    QString text;
};

/// The longest bar of 1, 2 or 5 times a power of ten that is no longer than a quarter of the canvas, nor than 200 units
/// of it; its text is in the unit that makes it 1 to 999. None where the length of a unit of the canvas is not known.
std::optional<ScaleBar> scaleBarFor(double lengthOfUnit, const LengthUnit& unit, int canvasWidth);

/// In the lower right corner of the area; nothing for none.
void paintScaleBar(QPainter& painter, const QRect& area, const std::optional<ScaleBar>& bar);

/// White on a dark ground, with the lower left corner of the text here.
void paintLabel(QPainter& painter, const QPointF& position, const QString& text);

} // namespace vorlen
