#pragma once

#include <memory>

#include <QLineF>

#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"

namespace vorlen {

/// Cuts the selected contour in pieces along a line that the user draws over it.
///
/// Decisions: where a line that ends inside the contour, or misses it, cuts nothing, the status bar says so. Escape and
/// the right button give up.
class VRLSliceEditWidgetMediatorSplitDelegate : public VRLSliceEditWidgetMediatorDelegate {
    Q_OBJECT

public:
    using VRLSliceEditWidgetMediatorDelegate::VRLSliceEditWidgetMediatorDelegate;

    void deactivate() override;
    bool isAbout(const ModelItem& item) const override { return __item == &item; }
    bool isAbout(const Model& model) const override;

public slots:
    void activate() override;

protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    QPointF positionOf(const QMouseEvent& event) const;
    void split(ModelItem& item, const QLineF& line);

    ModelItem* __item = nullptr;
    std::unique_ptr<QLineF> __line; // in image coordinates
};

} // namespace vorlen
