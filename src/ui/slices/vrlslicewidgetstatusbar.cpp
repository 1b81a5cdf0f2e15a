#include "ui/slices/vrlslicewidgetstatusbar.h"

#include <QLabel>

namespace vorlen {

VRLSliceWidgetStatusBar::VRLSliceWidgetStatusBar(QWidget* parent) : VRLImageWidgetStatusBar(parent) {
    __slice = addField(int(QFrame::WinPanel) | int(QFrame::Sunken), "Contours and points on the slice");
}

void VRLSliceWidgetStatusBar::setSliceInfo(const QString& text) {
    __slice->setText(text);
}

QString VRLSliceWidgetStatusBar::getSliceInfo() const {
    return __slice->text();
}

} // namespace vorlen
