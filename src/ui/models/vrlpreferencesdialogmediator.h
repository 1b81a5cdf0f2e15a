#pragma once

#include <QObject>

#include "editing/bus/vrleventclient.h"

class QPushButton;

namespace vorlen {

class VRLPreferencesDialog;
class VRLPreferencesEditor;

/// What the buttons of the preferences dialog do. "Apply" and "Cancel" are enabled while something is changed.
class VRLPreferencesDialogMediator : public QObject, public VRLEventClient {
    Q_OBJECT

public:
    VRLPreferencesDialogMediator(VRLPreferencesDialog& dialog, VRLPreferencesEditor& editor, QPushButton& apply,
                                 QPushButton& cancel, QPushButton& ok);

    void preferencesChange();
    void apply();
    void ok();
    void cancel();

private:
    void enableButtons(bool enable);

    VRLPreferencesDialog& __dialog;
    VRLPreferencesEditor& __editor;
    QPushButton& __applyButton;
    QPushButton& __cancelButton;
};

} // namespace vorlen
