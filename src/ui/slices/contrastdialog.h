#pragma once

#include <QDialog>
#include <QPointer>

#include "editing/bus/vrleventclient.h"
#include "images/rasters/greyscale.h"

class QDoubleSpinBox;
class QLabel;
class QPushButton;

namespace vorlen {

class BlackWhiteDoubleSlider;
class HistogramView;
class Image;
class VRLSliceWidget;
class VRLStack;

/// The contrast of a slice view: a histogram of the slice's image, and the values that are shown as black and as white,
/// to be dragged, typed or found.
///
/// For images beyond bytes these are the window of the stack: alike on all slices, kept with the stack, changed in one
/// step of the history when a drag ends. No number of an image changes, and no result. For images of bytes they are the
/// discs of the view's contrast slider, which are not kept.
///
/// Blocks nothing, and follows the view to other slices. Widget and slider are seen, not owned.
class ContrastDialog : public QDialog, public VRLEventClient {
    Q_OBJECT

public:
    ContrastDialog(VRLSliceWidget& widget, BlackWhiteDoubleSlider& slider, QWidget* parent);

    void sliceLockEvent(VRLSliceLockEvent& event) override;
    void stackModifyEvent(VRLStackModifyEvent& event) override;

private:
    /// The image that is seen; null without one.
    const Image* image() const;
    VRLStack* stack() const;
    bool isOfStack() const;
    void imageChanged();
    void showWindow();
    void preview(double black, double white);
    void settle();
    void setWindow(double black, double white);
    void spinChanged();
    void findWindow();
    void takeAll();
    void showNumbers(double black, double white);

    QPointer<VRLSliceWidget> __widget;
    QPointer<BlackWhiteDoubleSlider> __slider;
    HistogramView* __histogram;
    QDoubleSpinBox* __black;
    QDoubleSpinBox* __white;
    QPushButton* __automatic;
    QPushButton* __all;
    QLabel* __notice;
    bool __locked = false;
    bool __previewing = false;
};

} // namespace vorlen
