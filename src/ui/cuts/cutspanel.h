#pragma once

#include <optional>
#include <vector>

#include <QImage>
#include <QTimer>
#include <QWidget>

#include "editing/bus/vrleventclient.h"
#include "reconstruction/spaceplace.h"
#include "ui/cuts/cutplane.h"
#include "ui/cuts/sectioncuts.h"
#include "ui/cuts/sectionpictures.h"

namespace vorlen {

class ModelViews;
class StackSlice;
class VRLStack;

/// Two cuts across the slices of a stack, as it is registered and calibrated: from left to right (XZ) and from top to
/// bottom (YZ), both through the place that the windows of the stack point at, or through the middle as long as there
/// is none. Lines show where the other cut and the current slice run, points where outlines are crossed.
///
/// A press, and a drag, chooses the place and the slice under it.
///
/// Decisions: the images are read reduced, on a thread of its own, and only while the panel is seen; from them a cut is
/// made in about a millisecond. Both cuts have one scale, and lengths along the stack the same one unless the cuts are
/// stretched, which a thin stack may need. Changes of the document are followed some moments later, so that a vertex
/// that is dragged does not wait for them.
class CutsPanel : public QWidget, public VRLEventClient {
    Q_OBJECT

public:
    /// Which models are hidden; seen, not owned.
    explicit CutsPanel(const ModelViews& views, QWidget* parent = nullptr);
    ~CutsPanel() override;

    /// Null for none.
    void setStack(VRLStack* stack);
    void setSlice(const StackSlice* slice);

    /// Whether the stack is as tall as is, or as the panel. Off at first.
    void setStretched(bool stretched);
    bool isStretched() const { return __stretched; }

    /// Whether all pictures are there.
    bool isComplete() const;

    /// Of cut 0 across x or 1 across y: where it stands, what it shows, and the crossings with outlines.
    QRect cutRect(int which) const;
    const QImage& cut(int which) const { return __cuts[which]; }
    const std::vector<CutPoint>& crossings(int which) const { return __crossings[which]; }

    /// Where a place of a slice lies on a cut, and the place under a position, on a slice; none beside the cuts. Of the
    /// direction across the cut it has what the cut was made at.
    QPointF positionOf(int which, const SpacePlace& place) const;
    std::optional<SpacePlace> placeAt(const QPoint& position) const;

    QSize sizeHint() const override;

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void stackRegistrationEvent(VRLStackRegistrationEvent& event) override;
    void stackSliceSpacingEvent(VRLStackSliceSpacingEvent& event) override;
    void stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;
    void sliceImageSourceEvent(VRLSliceImageSourceEvent& event) override;
    void modelCreateEvent(VRLModelCreateEvent& event) override;
    void modelDeleteEvent(VRLModelDeleteEvent& event) override;
    void modelPropertiesEvent(VRLModelPropertiesEvent& event) override;
    void modelItemCreateEvent(VRLModelItemCreateEvent& event) override;
    void modelItemDeleteEvent(VRLModelItemDeleteEvent& event) override;
    void modelItemVertexEvent(VRLModelItemVertexEvent& event) override;
    void modelItemAttributeEvent(VRLModelItemAttributeEvent& event) override;
    void modelItemConvertEvent(VRLModelItemConvertEvent& event) override;

signals:
    void placeChosen(const vorlen::SpacePlace& place);
    void stretchedChanged(bool stretched);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    void readMissing();
    void changeLater();
    void forgetPictures();
    void refresh();
    void updateCuts();
    void layOut();
    void choose(const QPoint& position);
    void paintCut(QPainter& painter, int which) const;
    SpacePlace place() const;
    double along(int which, const SpacePlace& place) const { return which == 0 ? place.x : -place.y; }

    const ModelViews& __views;
    VRLStack* __stack = nullptr;
    const StackSlice* __slice = nullptr;
    SectionPictures __pictures;
    QTimer __later;
    bool __stretched = false;
    bool __old = true; // the cuts
    CutFrame __frame;
    CutHeights __heights;
    QRect __rects[2];
    QImage __cuts[2];
    std::vector<CutPoint> __crossings[2];
    double __at[2] = {0, 0}; // of the frame, at which the cuts were made
};

} // namespace vorlen
