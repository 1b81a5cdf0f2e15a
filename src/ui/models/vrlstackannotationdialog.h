#pragma once

#include <QDialog>

#include "editing/bus/vrleventclient.h"

class QPlainTextEdit;

namespace vorlen {

class StackSlice;
class VRLStack;

/// Edits the note on a stack or on a slice. Closes when the slice is taken out.
class VRLStackAnnotationDialog : public QDialog, public VRLEventClient {
    Q_OBJECT

public:
    explicit VRLStackAnnotationDialog(QWidget* parent = nullptr);

    /// Only the latest of the two counts. It must stay open while the dialog is in use.
    void setStack(VRLStack& stack);
    void setSlice(StackSlice& slice);

    /// Stores the text, without blanks and empty lines around it, and closes the dialog.
    void apply();

    void stackCloseEvent(VRLStackCloseEvent& event) override;
    void stackModifyEvent(VRLStackModifyEvent& event) override;
    void processSliceInsertionDeletionAction(VRLSliceInsertionDeletionAction& action) override;

private:
    VRLStack* __stack = nullptr;
    StackSlice* __slice = nullptr;
    QPlainTextEdit* __text;
};

} // namespace vorlen
