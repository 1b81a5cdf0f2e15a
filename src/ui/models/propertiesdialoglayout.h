#pragma once

class QDialog;
class QPushButton;

namespace vorlen {

class VRLStackPropertiesEditor;

/// The buttons of a properties dialog that its owner connects; both are disabled at first.
struct PropertiesDialogButtons {
    QPushButton* apply;
    QPushButton* reset;
};

/// Puts the editor into a frame, with the buttons "Apply", "Reset" and "Close" below it. "Close" accepts the dialog.
PropertiesDialogButtons layOutPropertiesDialog(QDialog& dialog, VRLStackPropertiesEditor& editor);

} // namespace vorlen
