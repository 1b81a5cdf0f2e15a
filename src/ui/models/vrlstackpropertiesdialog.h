#pragma once

#include <vector>

#include <QDialog>
#include <QString>

#include "editing/bus/vrleventclient.h"

class QPushButton;

namespace vorlen {

class StackSlice;
class VRLStack;
class VRLStackPropertiesEditor;

/// Edits what describes a stack. What is applied is one step of its history.
///
/// Slices that have a spacing or a calibration of their own are asked for one by one. All questions come before the
/// first change, so that nobody sees the stack half changed while a question is open; one that is closed without an
/// answer counts as No. A slice that only follows the stack's default spacing goes on following it.
class VRLStackPropertiesDialog : public QDialog, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLStackPropertiesDialog(QWidget* parent = nullptr);

    /// The stack must stay open while the dialog is in use.
    void setStack(VRLStack& stack);

    void propertiesChange();
    void apply();
    void reset();

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void stackModifyEvent(VRLStackModifyEvent& event) override;

private:
    using Slices = std::vector<StackSlice*>;

    Slices slicesToChange(bool (*hasDefault)(const StackSlice&), const QString& title, const QString& difference,
                          const QString& question);

    VRLStack* __stack = nullptr;
    VRLStackPropertiesEditor* __editor;
    QPushButton* __applyButton;
    QPushButton* __resetButton;
};

} // namespace vorlen
