#include "ui/models/vrlpreferencesdialogmediator.h"

#include <QPushButton>

#include "editing/bus/vrlpreferencesevent.h"
#include "ui/models/guarded.h"
#include "ui/models/vrlpreferencesdialog.h"
#include "ui/models/vrlpreferenceseditor.h"

namespace vorlen {

VRLPreferencesDialogMediator::VRLPreferencesDialogMediator(VRLPreferencesDialog& dialog, VRLPreferencesEditor& editor,
                                                           QPushButton& apply, QPushButton& cancel, QPushButton& ok)
    : QObject(&dialog), __dialog(dialog), __editor(editor), __applyButton(apply), __cancelButton(cancel) {
    const QString failure = "The preferences cannot be changed.";
    connect(&editor, &VRLPreferencesEditor::preferencesChanged, this, &VRLPreferencesDialogMediator::preferencesChange);
    connect(&apply, &QPushButton::clicked, this,
            [this, failure] { guarded(&__dialog, failure, [this] { this->apply(); }); });
    connect(&cancel, &QPushButton::clicked, this, &VRLPreferencesDialogMediator::cancel);
    connect(&ok, &QPushButton::clicked, this, [this, failure] { guarded(&__dialog, failure, [this] { this->ok(); }); });
    enableButtons(false);
}

void VRLPreferencesDialogMediator::preferencesChange() {
    enableButtons(true);
}

void VRLPreferencesDialogMediator::apply() {
    __editor.store();
    enableButtons(false);
    VRLPreferencesEvent event;
    notifyEvent(event);
}

void VRLPreferencesDialogMediator::ok() {
    apply();
    __dialog.accept();
}

void VRLPreferencesDialogMediator::cancel() {
    __dialog.reject();
}

void VRLPreferencesDialogMediator::enableButtons(bool enable) {
    __applyButton.setEnabled(enable);
    __cancelButton.setEnabled(enable);
}

} // namespace vorlen
