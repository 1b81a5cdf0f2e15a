#include "ui/panorama/vrlpanoramalabel.h"

#include <QLabel>
#include <QVBoxLayout>

#include "document/stackslice.h"

namespace vorlen {

QColor VRLPanoramaLabel::__plainBackground;

VRLPanoramaLabel::VRLPanoramaLabel(QWidget* parent) : QFrame(parent) {
    if (!__plainBackground.isValid())
        __plainBackground = palette().color(QPalette::Window);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    __name = new QLabel(this);
    __depth = new QLabel(this);
    for (QLabel* label : {__name, __depth}) {
        label->setTextFormat(Qt::PlainText);
        label->setIndent(3);
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
        layout->addWidget(label);
    }
    setMaximumWidth(256);
    setAutoFillBackground(true);
    setSelected(false);
}

void VRLPanoramaLabel::setSlice(const StackSlice& slice) {
    __nameText = "Slice: " + QString::fromStdString(slice.getName());
    __depthText = "Depth: " + QString::number(slice.getAbsolutePosition(), 'g', 10);
    elide();
}

void VRLPanoramaLabel::clear() {
    __nameText.clear();
    __depthText.clear();
    elide();
}

// The dots of a bold text need the width of the bold one.
void VRLPanoramaLabel::setSelected(bool selected) {
    QPalette colours = palette();
    const QColor background = selected ? QColor(Qt::darkGray) : __plainBackground;
    colours.setColor(QPalette::Window, background);
    colours.setColor(QPalette::WindowText, qGray(background.rgb()) < 110 ? Qt::white : Qt::black);
    setPalette(colours);
    for (QLabel* label : {__name, __depth}) {
        QFont font = label->font();
        font.setWeight(selected ? QFont::Bold : QFont::Normal);
        label->setFont(font);
    }
    elide();
}

void VRLPanoramaLabel::resizeEvent(QResizeEvent* event) {
    QFrame::resizeEvent(event);
    elide();
}

void VRLPanoramaLabel::elide() {
    const int room = width() - 6;
    __name->setText(__name->fontMetrics().elidedText(__nameText, Qt::ElideMiddle, room));
    __depth->setText(__depth->fontMetrics().elidedText(__depthText, Qt::ElideRight, room));
}

} // namespace vorlen
