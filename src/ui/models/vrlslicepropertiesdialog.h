#pragma once

#include <QDialog>

#include "editing/bus/vrleventclient.h"

class QPushButton;

namespace vorlen {

class StackSlice;
class VRLStackPropertiesEditor;

/// Edits what describes a slice. What is applied is one step of its stack's history. Closes when the slice is taken
/// out.
class VRLSlicePropertiesDialog : public QDialog, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLSlicePropertiesDialog(QWidget* parent = nullptr);

    /// The slice must be in a stack, and stay there while the dialog is in use.
    void setSlice(StackSlice& slice);

    void propertiesChange();
    void apply();
    void reset();

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void stackModifyEvent(VRLStackModifyEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;

private:
    StackSlice* __slice = nullptr;
    VRLStackPropertiesEditor* __editor;
    QPushButton* __applyButton;
    QPushButton* __resetButton;
};

} // namespace vorlen
