#include "ui/slices/vrlimagewidgetstatusbar.h"

#include <QLabel>

namespace vorlen {

VRLImageWidgetStatusBar::VRLImageWidgetStatusBar(QWidget* parent) : QStatusBar(parent) {
    constexpr int style = int(QFrame::WinPanel) | int(QFrame::Sunken);
    __imageType = addField(style, "Type of the image");
    __imageSize = addField(style, "Size of the image in pixels and bytes");
    __zoom = addField(style, "Zoom");
    __pixel = addField(style, "Pixel under the pointer");
}

QLabel* VRLImageWidgetStatusBar::addField(int frameStyle, const QString& name) {
    auto* const label = new QLabel(this);
    label->setFrameStyle(frameStyle);
    label->setContentsMargins(3, 0, 3, 0);
    label->setTextFormat(Qt::PlainText);
    label->setAccessibleName(name);
    label->setToolTip(name);
    addPermanentWidget(label, 0);
    return label;
}

void VRLImageWidgetStatusBar::setImageTypeInfo(const QString& text) {
    __imageType->setText(text);
}

void VRLImageWidgetStatusBar::setImageSizeInfo(const QString& text) {
    __imageSize->setText(text);
}

void VRLImageWidgetStatusBar::setZoomInfo(const QString& text) {
    __zoom->setText(text);
}

void VRLImageWidgetStatusBar::setPixelInfo(const QString& text) {
    __pixel->setText(text);
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
