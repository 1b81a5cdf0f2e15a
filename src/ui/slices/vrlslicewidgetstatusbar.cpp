#include "ui/slices/vrlslicewidgetstatusbar.h"

#include <QLabel>

namespace vorlen {

VRLSliceWidgetStatusBar::VRLSliceWidgetStatusBar(QWidget* parent) : VRLImageWidgetStatusBar(parent) {
    __slice = addField("Contours and points on the slice");
}

void VRLSliceWidgetStatusBar::setSliceInfo(const QString& text) {
    setField(*__slice, text);
}

QString VRLSliceWidgetStatusBar::getSliceInfo() const {
    return __slice->text();
}

} // namespace vorlen
