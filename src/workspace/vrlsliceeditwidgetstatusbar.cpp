#include "workspace/vrlsliceeditwidgetstatusbar.h"

#include <QLabel>

VRLSliceEditWidgetStatusBar::VRLSliceEditWidgetStatusBar(QWidget* parent) : VRLSliceWidgetStatusBar(parent) {
    __editMode = addField(int(QFrame::Panel) | int(QFrame::Sunken), "Edit mode");
}

void VRLSliceEditWidgetStatusBar::setEditModeInfo(const QString& text) {
    __editMode->setText(text);
}

QString VRLSliceEditWidgetStatusBar::getEditModeInfo() const {
    return __editMode->text();
}
