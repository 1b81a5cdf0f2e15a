#pragma once

#include <memory>
#include <optional>

#include <QPoint>
#include <QPointer>
#include <QRubberBand>

#include "images/sections/imageparts.h"
#include "ui/tools/vrlsliceeditwidgetmediatordelegate.h"

namespace vorlen {

/// Makes a contour of a model from two opposite corners of a box that the user clicks around the edge of a dark
/// structure.
///
/// Decisions: nothing starts on a slice whose image is not there. The first corner is a point of the image: it stays
/// there when the view moves before the second click, after which come two questions that can be cancelled. Another
/// slice ends the waiting. A pen clicks like the mouse.
class VRLSliceEditWidgetMediatorThresholdingDelegate : public VRLSliceEditWidgetMediatorDelegate {
    Q_OBJECT

public:
    explicit VRLSliceEditWidgetMediatorThresholdingDelegate(ToolHost& host);
    ~VRLSliceEditWidgetMediatorThresholdingDelegate() override;

    using VRLSliceEditWidgetMediatorDelegate::activate;

    /// Begins a contour of the model of this name.
    void activate(const QString& modelName);
    void deactivate() override;
    void cancel() override;
    void abandon() override;
    using VRLSliceEditWidgetMediatorDelegate::isAbout;
    bool isAbout(const Model& model) const override { return __model == &model; }

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    void markFirst(const QPoint& position);
    void stretchTo(const QPoint& position);
    void run(const Vector<int>& corner);
    bool ask(const QString& question, int& level, int most, int step);
    std::optional<ImageParts> imageOrWarning() const;

    Model* __model = nullptr;
    Vector<int> __corner;                    // the pixel of the first click
    std::unique_ptr<QPoint> __pressPosition; // where that is on the canvas; null before the first click
    QPointer<QRubberBand> __rubberBand;

    // As chosen last, in any editor.
    static int __smoothingLevel;
    static int __decimationLevel;
};

} // namespace vorlen
