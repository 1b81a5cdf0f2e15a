#include "ui/slices/vrlpainter.h"

#include <algorithm>
#include <cmath>

#include <QColor>
#include <QPen>
#include <QPolygon>

#include "document/model.h"
#include "document/modelitem.h"
#include "ui/slices/itemlook.h"

namespace vorlen {

namespace {

/// A size of the document in whole picture pixels, at least 1. Sizes that are no number or beyond all screens count as
/// the nearest sensible one.
int pictureLength(const VRLWMConverter& converter, float length) {
    constexpr int greatest = 1 << 14;
    const float sensible = length > 0 ? std::min(length, float(greatest)) : 0.0f;
    const unsigned int converted = converter.lengthToModel(static_cast<unsigned int>(sensible));
    return std::clamp(static_cast<int>(std::min(converted, static_cast<unsigned int>(greatest))), 1, greatest);
}

/// A square whose outline runs this many pixels around the vertex; on the vertex itself for 0.
void drawSquare(QPainter& painter, const QPoint& vertex, int distance) {
    if (distance == 0)
        painter.drawPoint(vertex);
    else
        painter.drawRect(vertex.x() - distance, vertex.y() - distance, 2 * distance, 2 * distance);
}

/// Sizes that give the symbols about the area of the circle of the same radius. All coordinates are whole, because an
/// outline between two pixels comes out on one side of the vertex.
void drawSymbol(QPainter& painter, VertexSymbol symbol, const QPoint& vertex, int radius) {
    switch (symbol) {
    case CubeSymbol: {
        const int side = std::max(int(radius * 1.7724538509055159), 1);
        drawSquare(painter, vertex, side / 2);
        break;
    }
    case DiamondSymbol: {
        const int d = int(radius * 1.2533141373155001);
        const QPoint corners[] = {vertex + QPoint(0, -d), vertex + QPoint(d, 0), vertex + QPoint(0, d),
                                  vertex + QPoint(-d, 0)};
        painter.drawPolygon(corners, 4);
        break;
    }
    case TetrahedronSymbol: {
        const int a = int(std::ceil(radius * 0.8660254037844386));
        const int b = int(std::ceil(radius * 0.5));
        const QPoint corners[] = {vertex + QPoint(a, b), vertex + QPoint(-a, b), vertex + QPoint(0, -radius)};
        painter.drawPolygon(corners, 3);
        break;
    }
    default:
        painter.drawEllipse(vertex.x() - radius, vertex.y() - radius, 2 * radius, 2 * radius);
        break;
    }
}

} // namespace

VRLPainter::VRLPainter(QPaintDevice* device) : QPainter(device) {
}

void VRLPainter::setWMConverter(const VRLWMConverter& converter) {
    __converter = converter;
}

void VRLPainter::setTranslation(const QPoint& translation) {
    __translation = translation;
}

void VRLPainter::setRotation(float rotation) {
    __rotation = rotation;
}

void VRLPainter::drawItem(const ModelItem& item) {
    const ModelItemProperties look = lookOf(item);
    const QColor color(std::clamp(look.getColor()[0], 0, 255), std::clamp(look.getColor()[1], 0, 255),
                       std::clamp(look.getColor()[2], 0, 255));
    const int pointSize = pictureLength(__converter, look.getPointSize());
    const int lineWidth = pictureLength(__converter, look.getLineWidth());

    QPolygon polygon;
    polygon.reserve(item.getSize());
    for (int i = 0; i < item.getSize(); ++i) {
        polygon.append(QPoint(__converter.xToModel(int(std::lround(item.getCoordinate(i, 0)))),
                              __converter.yToModel(int(std::lround(item.getCoordinate(i, 1))))));
    }

    save();
    translate(__translation);
    if (__rotation != 0) {
        const QPoint centre = __converter.getModel().center();
        translate(centre);
        rotate(double(__rotation));
        translate(-centre);
    }
    setPen(QPen(color, lineWidth, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    setBrush(Qt::NoBrush);
    switch (drawnGeometryOf(item)) {
    case PolygonPrimitive:
        drawPolygon(polygon);
        break;
    case PolypointPrimitive:
        if (look.getVertexSymbolFilling())
            setBrush(color);
        for (const QPoint& vertex : polygon)
            drawSymbol(*this, look.getVertexSymbol(), vertex, pointSize);
        break;
    default:
        drawPolyline(polygon);
        break;
    }

    setPen(QPen(Qt::black, 1));
    setBrush(Qt::white);
    const ModelItemSelection& selection = item.getSelection();
    const int numBits = std::min(selection.getNumBits(), item.getSize());
    for (int i = 0; i < numBits; ++i)
        if (selection.isSelected(i)) {
            drawSquare(*this, polygon[i], 3);
            drawSquare(*this, polygon[i], 1);
        }
    restore();
}

} // namespace vorlen
