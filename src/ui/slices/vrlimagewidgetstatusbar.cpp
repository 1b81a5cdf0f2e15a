#include "ui/slices/vrlimagewidgetstatusbar.h"

#include <QLabel>

namespace vorlen {

VRLImageWidgetStatusBar::VRLImageWidgetStatusBar(QWidget* parent) : QStatusBar(parent) {
    setMinimumWidth(1); // no text widens the window
    __imageType = addField("Type of the image");
    __imageSize = addField("Size of the image in pixels and bytes");
    for (QLabel* const first : {__imageType, __imageSize})
        first->setMinimumWidth(1); // the first to go where there is no room
    __zoom = addField("Zoom");
    __pixel = addField("Pixel under the pointer");
}

QLabel* VRLImageWidgetStatusBar::addField(const QString& name) {
    auto* const label = new QLabel(this);
    label->setContentsMargins(6, 0, 6, 0);
    label->setTextFormat(Qt::PlainText);
    label->setAccessibleName(name);
    label->setToolTip(name);
    addPermanentWidget(label, 0);
    return label;
}

void VRLImageWidgetStatusBar::setField(QLabel& field, const QString& text) {
    field.setText(text);
    field.setToolTip(text.isEmpty() ? field.accessibleName() : field.accessibleName() + ": " + text);
}

void VRLImageWidgetStatusBar::setImageTypeInfo(const QString& text) {
    setField(*__imageType, text);
}

void VRLImageWidgetStatusBar::setImageSizeInfo(const QString& text) {
    setField(*__imageSize, text);
}

void VRLImageWidgetStatusBar::setZoomInfo(const QString& text) {
    setField(*__zoom, text);
}

void VRLImageWidgetStatusBar::setPixelInfo(const QString& text) {
    setField(*__pixel, text);
}

QString VRLImageWidgetStatusBar::getImageTypeInfo() const {
    return __imageType->text();
}

QString VRLImageWidgetStatusBar::getImageSizeInfo() const {
    return __imageSize->text();
}

QString VRLImageWidgetStatusBar::getZoomInfo() const {
    return __zoom->text();
}

QString VRLImageWidgetStatusBar::getPixelInfo() const {
    return __pixel->text();
}

} // namespace vorlen
