#pragma once

#include <memory>
#include <vector>

#include <QLine>

#include "ui/slices/vrlsliceeditwidgetmediatordelegate.h"

namespace vorlen {

template <class T>
class Curve;

/// Cuts the selected contour in pieces along a line that the user draws over it.
///
/// Decisions: the pieces keep the item's own look. A vertex that lies on the line counts as one crossing where the
/// contour changes sides there, and as none where it only touches the line. A line that ends inside the contour, and so
/// crosses it an odd number of times, cuts nothing, like one that crosses it once; the status bar says so. A cut that
/// would leave a piece of fewer than three vertices is refused. Escape and the right button give up.
class VRLSliceEditWidgetMediatorSplitDelegate : public VRLSliceEditWidgetMediatorDelegate {
    Q_OBJECT

public:
    using VRLSliceEditWidgetMediatorDelegate::VRLSliceEditWidgetMediatorDelegate;

    void deactivate() override;
    bool isAbout(const ModelItem& item) const override { return __item == &item; }
    bool isAbout(const Model& model) const override;

    /// Replaces the item by its pieces, in a step of the history. False when the line does not cut it.
    bool splitModelItem(ModelItem& item, const Curve<int>& cut);

    /// Ranks of the edges of a closed contour at which it goes from one side of the line to the other.
    static std::vector<int> crossings(const Curve<int>& contour, const Curve<int>& cut);

public slots:
    void activate() override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    ModelItem* __item = nullptr;
    std::unique_ptr<QLine> __line; // in image coordinates
};

} // namespace vorlen
