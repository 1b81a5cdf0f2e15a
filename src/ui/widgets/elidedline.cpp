#include "ui/widgets/elidedline.h"

#include <QPainter>
#include <QStyle>

namespace vorlen {

ElidedLine::ElidedLine(QWidget* parent) : QLabel(parent) {
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setTextFormat(Qt::PlainText);
}

void ElidedLine::setLine(const QString& text) {
    setText(text);
    setToolTip(text);
}

void ElidedLine::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect room = contentsRect();
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, room.width());
    style()->drawItemText(&painter, room, Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(), shown,
                          foregroundRole());
}

} // namespace vorlen
