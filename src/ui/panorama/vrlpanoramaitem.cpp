#include "ui/panorama/vrlpanoramaitem.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QVBoxLayout>

#include "document/stack.h"
#include "document/stackslice.h"
#include "ui/panorama/vrlpanoramacanvas.h"
#include "ui/panorama/vrlpanoramalabel.h"

namespace vorlen {

VRLPanoramaItem::VRLPanoramaItem(QWidget* parent) : QFrame(parent) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(5, 5, 5, 5);
    layout->setSpacing(10);
    __canvas = new VRLPanoramaCanvas(this);
    __label = new VRLPanoramaLabel(this);
    for (QWidget* part : {static_cast<QWidget*>(__canvas), static_cast<QWidget*>(__label)}) {
        layout->addWidget(part);
        part->installEventFilter(this);
    }
    connect(__canvas, &VRLPanoramaCanvas::imageSettled, this, &VRLPanoramaItem::showToolTip);
    setSelected(false);
}

void VRLPanoramaItem::setSlice(StackSlice& slice) {
    __canvas->setSlice(slice);
    __label->setSlice(slice);
    setAccessibleName(QString::fromStdString(slice.getName()));
    showToolTip();
}

StackSlice* VRLPanoramaItem::getSlice() const {
    return __canvas->getSlice();
}

void VRLPanoramaItem::clear() {
    __canvas->clear();
    __label->clear();
    setToolTip(QString());
}

void VRLPanoramaItem::setCanvasMode(CanvasMode mode) {
    __canvas->setCanvasMode(mode);
}

void VRLPanoramaItem::setThumbnailSize(const QSize& size) {
    __canvas->setThumbnailSize(size);
    __label->setMaximumWidth(__canvas->width());
    adjustSize();
}

void VRLPanoramaItem::setLabelEnabled(bool enabled) {
    __label->setVisible(enabled);
    adjustSize();
}

void VRLPanoramaItem::setSelected(bool selected) {
    __selected = selected;
    setFrameStyle(int(QFrame::WinPanel) | int(selected ? QFrame::Sunken : QFrame::Raised));
    __label->setSelected(selected);
}

QString VRLPanoramaItem::toolTipOf(const StackSlice& slice) {
    const Stack* const stack = slice.getStack();
    const auto number = [](double value) { return QString::number(value, 'g', 6); };
    const QString unit = stack != nullptr ? QString::fromStdString(stack->getLengthUnit().symbol()) : QString();
    QStringList lines;
    lines += QString("#%1 - %2")
                 .arg(stack != nullptr ? stack->findSlice(slice) + 1 : 0)
                 .arg(QString::fromStdString(slice.getName()));
    if (slice.hasImageSource()) {
        const int width = slice.getImageSource().getSize2();
        const int height = slice.getImageSource().getSize1();
        const PixelCalibration& calibration = slice.getPixelCalibration();
        lines += QString("%1 x %2 pixels").arg(width).arg(height);
        lines += QString("%1 x %2 %3")
                     .arg(number(width * double(calibration.getPixelWidth())),
                          number(height * double(calibration.getPixelHeight())), unit);
    }
    lines += "Depth = " + QString::number(slice.getAbsolutePosition(), 'g', 10) + ' ' + unit;
    return lines.join('\n');
}

bool VRLPanoramaItem::eventFilter(QObject* object, QEvent* event) {
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        mousePressEvent(static_cast<QMouseEvent*>(event));
        return true;
    case QEvent::MouseButtonDblClick:
        mouseDoubleClickEvent(static_cast<QMouseEvent*>(event));
        return true;
    case QEvent::KeyPress:
        keyPressEvent(static_cast<QKeyEvent*>(event));
        return true;
    default:
        return QFrame::eventFilter(object, event);
    }
}

void VRLPanoramaItem::mousePressEvent(QMouseEvent* event) {
    if (event->buttons() != Qt::LeftButton)
        return;
    if (event->modifiers() & (Qt::ShiftModifier | Qt::ControlModifier))
        emit extended(*this, event->modifiers());
    else
        emit selected(*this);
}

void VRLPanoramaItem::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->buttons() == Qt::LeftButton)
        emit activated(*this);
}

void VRLPanoramaItem::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        emit activated(*this);
    else if (event->key() == Qt::Key_Escape)
        emit deactivated(*this);
    else
        QFrame::keyPressEvent(event);
}

void VRLPanoramaItem::showToolTip() {
    if (getSlice() == nullptr)
        return;
    const QString failure = __canvas->failure();
    setToolTip(toolTipOf(*getSlice()) + (failure.isEmpty() ? QString() : '\n' + failure));
}

} // namespace vorlen
