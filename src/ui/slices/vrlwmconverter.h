#pragma once

#include <string>

#include <QPoint>
#include <QRect>

#include "ui/slices/wmconverter.h"

namespace vorlen {

/// The converter with the points and rectangles of the user interface.
///
/// Rectangles are converted corner by corner, the last pixels within them being their right and bottom sides.
class VRLWMConverter : public WMConverter {
public:
    using WMConverter::setModel;
    using WMConverter::setWorld;
    using WMConverter::toModel;
    using WMConverter::toWorld;

    void setWorld(const QRect& rectangle);
    void setModel(const QRect& rectangle);
    QRect getWorld() const;
    QRect getModel() const;

    QPoint toModel(const QPoint& point) const;
    QPoint toWorld(const QPoint& point) const;
    QRect toModel(const QRect& rectangle) const;
    QRect toWorld(const QRect& rectangle) const;

    /// As the base class, then the world turned to the model, and the model turned to the world.
    void print(const std::string& title) const;
};

} // namespace vorlen
