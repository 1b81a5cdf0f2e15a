#pragma once

#include <QPainter>
#include <QPoint>

#include "ui/slices/vrlwmconverter.h"

namespace vorlen {

class ModelItem;

/// Paints model items into a picture of their slice: vertices go through a converter from slice pixels to picture
/// pixels, then all is turned about the centre of the converter's model and shifted.
///
/// What neither an item nor its model defines is drawn by the defaults of items: red, one pixel, filled spheres. An
/// item without a model is drawn as a polyline. Symbols lie evenly about the pixel of their
/// vertex: a circle of radius r is 2r + 1 pixels wide, outline included, and a square of even side one pixel wider.
class VRLPainter : public QPainter {
public:
    VRLPainter() = default;
    explicit VRLPainter(QPaintDevice* device);

    /// Takes a copy.
    void setWMConverter(const VRLWMConverter& converter);
    const VRLWMConverter& getWMConverter() const { return __converter; }

    /// In picture pixels; none at first.
    void setTranslation(const QPoint& translation);
    const QPoint& getTranslation() const { return __translation; }

    /// In degrees, clockwise on the screen; 0 at first.
    void setRotation(float rotation);
    float getRotation() const { return __rotation; }

    /// Leaves pen, brush and transformation of the painter as they were.
    void drawItem(const ModelItem& item);

private:
    VRLWMConverter __converter;
    QPoint __translation;
    float __rotation = 0;
};

} // namespace vorlen
