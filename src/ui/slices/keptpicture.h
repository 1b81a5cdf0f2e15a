#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <QColor>
#include <QPoint>
#include <QRect>
#include <QRegion>
#include <QSize>
#include <QString>

#include "document/modelitemproperties.h"
#include "document/modelitemselection.h"
#include "document/modelproperties.h"
#include "ui/slices/canvasmode.h"

class QOpenGLFramebufferObject;

namespace vorlen {

class Image;

/// A picture of a slice with its items that was painted once, and what it shows: so that a canvas paints anew only
/// where something else is to be seen now.
///
/// What a picture depends on is compared by value at each paint, never told by messages: no change can be missed.
class KeptPicture {
public:
    /// What all of the picture depends on.
    struct View {
        QSize size;
        double density = 1;
        QPoint origin;
        float zoom = 0;
        float betaWidth = 1;
        float betaHeight = 1;
        CanvasMode mode = AllgroundMode;
        QColor background;
        const void* slice = nullptr;
        const Image* image = nullptr; // the level that is shown
        std::uint64_t imageRevision = 0;
        QRect view; // in pixels of the full image
        float black = 0;
        float white = 1;
        QString notice;
        bool visible = true;

        bool operator==(const View&) const = default;
    };

    /// What an item's share of the picture depends on.
    struct Item {
        std::uint64_t revision = 0; // of the vertices
        ModelItemProperties look;
        MPrimitive geometry = UnknownPrimitive;
        double opacity = 1;
        ModelItemSelection selection;
        QRect area; // all that the item paints on, within the canvas

        bool operator==(const Item&) const = default;
    };

    KeptPicture();
    ~KeptPicture();

    /// Where a canvas of this view with these items, in the order of painting, differs from the picture: some
    /// rectangles, or all of the canvas.
    QRegion staleRegion(const View& view, const std::vector<Item>& items) const;

    /// Whether there is a picture of a canvas of this size.
    bool fits(const QSize& size, double density) const;

    /// With the context of the canvas current: puts the picture on the canvas.
    void show() const;

    /// Takes a rectangle over from the canvas, which has size pixels of the screen, density of them for a unit.
    void take(const QRect& area, const QSize& size, double density);

    /// What the picture shows now. Where the graphics system has refused anything, there is no picture.
    void remember(const View& view, std::vector<Item> items);

    /// The next region is all of the canvas. The context of the canvas must be current.
    void clear();

private:
    std::unique_ptr<QOpenGLFramebufferObject> __pixels;
    View __view;
    std::vector<Item> __items;
};

} // namespace vorlen
