#include "ui/widgets/elidedline.h"

#include <QPainter>
#include <QResizeEvent>
#include <QStyle>
#include <QTextLayout>

namespace vorlen {

namespace {

/// How much of the text stands on a line of this width, broken between words.
int firstPart(const QString& text, const QFont& font, int width) {
    QTextLayout layout(text, font);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    if (!line.isValid())
        return 0;
    line.setLineWidth(width);
    const int length = line.textLength();
    layout.endLayout();
    return length;
}

} // namespace

ElidedLine::ElidedLine(QWidget* parent) : QLabel(parent) {
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setTextFormat(Qt::PlainText);
}

void ElidedLine::setLine(const QString& text) {
    setText(text);
    setToolTip(text);
}

void ElidedLine::setRoomFor(int characters) {
    __numCharacters = characters;
    updateGeometry();
    update();
}

int ElidedLine::numLines() const {
    return contentsRect().width() < __numCharacters * fontMetrics().averageCharWidth() ? 2 : 1;
}

QSize ElidedLine::sizeHint() const {
    const QMargins margins = contentsMargins();
    const int height = fontMetrics().height() + (numLines() - 1) * fontMetrics().lineSpacing();
    return {QLabel::sizeHint().width(), height + margins.top() + margins.bottom()};
}

void ElidedLine::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    if (event->size().width() != event->oldSize().width())
        updateGeometry();
}

void ElidedLine::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect room = contentsRect();
    const auto draw = [&](const QRect& line, const QString& words) {
        const QString shown = fontMetrics().elidedText(words, Qt::ElideRight, line.width());
        style()->drawItemText(&painter, line, Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(), shown,
                              foregroundRole());
    };
    const int first = numLines() > 1 ? firstPart(text(), font(), room.width()) : int(text().size());
    if (first >= text().size())
        return draw(room, text());
    QRect line = room;
    line.setHeight(room.height() / 2);
    draw(line, text().left(first).trimmed());
    draw(line.translated(0, line.height()), text().mid(first));
}

} // namespace vorlen
