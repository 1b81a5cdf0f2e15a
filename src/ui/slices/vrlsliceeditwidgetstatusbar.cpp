#include "ui/slices/vrlsliceeditwidgetstatusbar.h"

#include <QLabel>

namespace vorlen {

VRLSliceEditWidgetStatusBar::VRLSliceEditWidgetStatusBar(QWidget* parent) : VRLSliceWidgetStatusBar(parent) {
    __editMode = addField("Edit mode");
    // Queued, as the bar is about to show what it has just told of.
    connect(
        this, &QStatusBar::messageChanged, this,
        [this] {
            if (currentMessage().isEmpty() && !__hint.isEmpty())
                showMessage(__hint);
        },
        Qt::QueuedConnection);
}

void VRLSliceEditWidgetStatusBar::setEditModeInfo(const QString& text) {
    setField(*__editMode, text);
}

QString VRLSliceEditWidgetStatusBar::getEditModeInfo() const {
    return __editMode->text();
}

void VRLSliceEditWidgetStatusBar::setHint(const QString& hint, bool pressing) {
    const bool free = currentMessage().isEmpty() || currentMessage() == __hint;
    __hint = hint;
    if (pressing || free)
        showMessage(hint);
}

} // namespace vorlen
