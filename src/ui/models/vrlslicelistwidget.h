#pragma once

#include <vector>

#include <QIcon>
#include <QString>
#include <QWidget>

#include "document/stackslice.h"
#include "editing/bus/vrleventclient.h"

class QLabel;
class QListWidget;
class QSlider;

namespace vorlen {

class VRLStack;

/// The slices of a stack by name, the last one on top, with their number above and a slider below that goes through
/// them from the first to the last.
///
/// "R" marks a slice that is registered, a grey icon one whose spacing or pixel calibration is not the stack's default.
/// Names, marks and icons follow changes by themselves. Slices that enter the stack are the owner's to add; one that is
/// taken out leaves the list, and the list empties itself when its stack is closed. What is done from outside is not
/// told by selectionChanged().
class VRLSliceListWidget : public QWidget, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLSliceListWidget(QWidget* parent = nullptr);

    /// Lists all slices of the stack; none is selected.
    void setStack(VRLStack& stack);

    /// Takes its place by the order of the stack; on top, if it is in none. Nothing for a slice that is listed.
    void addSlice(StackSlice& slice);
    void removeSlice(StackSlice& slice);

    /// Selects this slice alone; none, when it is not listed.
    void setSelectedSlice(const StackSlice& slice);

    /// From the top of the list.
    std::vector<StackSlice*> selectedSlices() const;

    void clear();

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;
    void sliceNameEvent(VRLSliceNameEvent& event) override;
    void sliceSpacingEvent(VRLSliceSpacingEvent& event) override;
    void sliceImageCalibrationEvent(VRLSliceImageCalibrationEvent& event) override;
    void stackRegistrationEvent(VRLStackRegistrationEvent& event) override;
    void stackSliceSpacingEvent(VRLStackSliceSpacingEvent& event) override;
    void stackImageCalibrationEvent(VRLStackImageCalibrationEvent& event) override;
    void atEventBatchEnd() override;
    void changeEvent(QEvent* event) override;

signals:
    /// The user has selected something else.
    void selectionChanged();

private:
    void insertRow(int row, StackSlice& slice);
    StackSlice* sliceAt(int row) const;
    int findRow(const StackSlice* slice) const;
    static QString buildSliceText(const StackSlice& slice);
    QIcon buildSliceIcon(const StackSlice& slice) const;
    QIcon squareIcon(const QColor& filling) const;
    void drawIcons();
    void updateRow(int row);
    void sliceChange(const StackSlice* slice);
    void stackChange(const VRLStack* stack);
    void updateAllRows();
    void rowChange(int row);
    void sliderChange(int value);
    void showCount();

    QLabel* __label;
    QListWidget* __list;
    QSlider* __slider;
    QIcon __defaultIcon;
    QIcon __ownIcon;
    VRLStack* __stack = nullptr;
    bool __updatePending = false; // of all rows, at the end of the batch
};

} // namespace vorlen

Q_DECLARE_METATYPE(vorlen::StackSlice*)
