#include "ui/tools/outlinepicking.h"

#include <cmath>
#include <cstddef>

#include <QPointF>

#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/operations/outlineediting.h"
#include "ui/models/modelviews.h"
#include "ui/tools/toolhost.h"

namespace vorlen {

namespace {

/// Twice the area, for a comparison.
double extentOf(const Outline& outline) {
    double sum = 0;
    for (std::size_t k = 0; k < outline.size(); ++k) {
        const OutlinePoint& next = outline[(k + 1) % outline.size()];
        sum += outline[k].x * next.y - next.x * outline[k].y;
    }
    return std::abs(sum);
}

/// Whether the place is in the box of the item, or within the tolerance of it: most items of a slice are not looked at
/// more closely.
bool isInReach(const ModelItem& item, const QPointF& place, double tolerance) {
    const BoundingBox<double> box = item.extent();
    const auto lies = [&](int axis, double at) {
        return at >= box.getVertex1()[axis] - tolerance && at <= box.getVertex2()[axis] + tolerance;
    };
    return lies(0, place.x()) && lies(1, place.y());
}

} // namespace

ModelItem* itemMeantAt(const ToolHost& host, const QPointF& place, double tolerance) {
    const ItemVertex point = itemVertex({place.x(), place.y()});
    StackSlice& slice = *host.slice();
    ModelItem* best = nullptr;
    double least = 0;
    for (int i = 0; i < slice.getNumItems(); ++i) {
        ModelItem& item = slice.getItem(i);
        if (!host.modelViews().isTouchable(item) || item.getSize() == 0 || !isInReach(item, place, tolerance))
            continue;
        const Outline outline = outlineOf(item.getVertices());
        const double distance = item.distanceTo(point);
        const bool near = distance <= tolerance;
        const bool inside = item.isClosed() && isInside(outline, {place.x(), place.y()});
        if (!near && !inside)
            continue;
        const bool selected = !item.getSelection().isEmpty();
        // Those that are selected, those whose line is near by how near, the others by their size.
        const double measure = selected ? -1e18 : near ? distance - 1e9 : extentOf(outline);
        if (best == nullptr || measure < least) {
            best = &item;
            least = measure;
        }
    }
    return best;
}

void selectAlone(ToolHost& host, ModelItem& item) {
    for (ModelItem* const other : host.slice()->getSelectedItems())
        other->getSelection().set(false);
    item.getSelection().set(true);
    host.selectionChanged();
}

} // namespace vorlen
