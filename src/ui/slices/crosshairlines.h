#pragma once

class QPainter;
class QPointF;
class QRectF;

namespace vorlen {

/// Two lines across the area through a place of the painter's coordinates, open around it so that it is seen itself;
/// dashed where the place lies on another slice or cut than the one in the area. Only what lies in the area is painted.
void paintCrosshair(QPainter& painter, const QRectF& area, const QPointF& at, bool dashed);

} // namespace vorlen
