#include "ui/registration/scorebardelegate.h"

#include <algorithm>

#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <QWidget>

#include "ui/models/vrlslicelistwidget.h"
#include "ui/registration/sectionmarks.h"

namespace vorlen {

namespace {

constexpr int barWidth = 56;
constexpr int marksWidth = barWidth + 22; // with the padlock

void drawPadlock(QPainter& painter, const QRectF& place) {
    QPainterPath shackle;
    const QRectF arc(place.left() + place.width() * 0.2, place.top(), place.width() * 0.6, place.height() * 0.9);
    shackle.arcMoveTo(arc, 0);
    shackle.arcTo(arc, 0, 180);
    painter.setPen(QPen(QColor(90, 90, 90), 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(shackle);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(200, 150, 40));
    painter.drawRoundedRect(place.adjusted(0, place.height() * 0.42, 0, 0), 1, 1);
}

} // namespace

ScoreBarDelegate::ScoreBarDelegate(QObject* parent) : QStyledItemDelegate(parent) {
}

ScoreBarDelegate::~ScoreBarDelegate() = default;

void ScoreBarDelegate::setMarks(SectionMarks* marks) {
    __marks = marks;
}

void ScoreBarDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    // The name ends where the marks begin, and the selection goes on below them.
    QStyleOptionViewItem whole = option, name = option;
    initStyleOption(&whole, index);
    option.widget->style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &whole, painter, option.widget);
    name.rect.setRight(option.rect.right() - marksWidth);
    QStyledItemDelegate::paint(painter, name, index);
    const auto* const slice = index.data(Qt::UserRole).value<StackSlice*>();
    if (__marks == nullptr || slice == nullptr)
        return;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    QRect bar(0, 0, barWidth, option.rect.height() - 4);
    bar.moveCenter(option.rect.center());
    bar.moveRight(option.rect.right() - 4);
    if (__marks->isLocked(*slice)) {
        QRect lock(0, 0, bar.height() * 2 / 3, bar.height() - 2);
        lock.moveCenter(bar.center());
        lock.moveRight(bar.left() - 5);
        drawPadlock(*painter, lock);
    }
    const double score = __marks->score(*slice);
    if (score >= 0) {
        painter->setPen(QPen(QColor(150, 150, 150), 1));
        painter->setBrush(Qt::white);
        painter->drawRect(bar);
        const bool isComparable = score <= 1;
        const double share = isComparable ? std::clamp(score, 0.0, 1.0) : 0;
        painter->setPen(Qt::NoPen);
        painter->setBrush(QColor::fromHsvF(float(share / 3), 0.55f, 0.92f)); // red, yellow, green
        painter->drawRect(QRectF(bar.left() + 1, bar.top() + 1, (bar.width() - 2) * share, bar.height() - 2));
        painter->setPen(Qt::black);
        painter->drawText(bar, Qt::AlignCenter, isComparable ? QString::number(score, 'f', 2) : "-");
    }
    painter->restore();
}

} // namespace vorlen
