#include "ui/widgets/placedwindow.h"

#include <algorithm>

#include <QGuiApplication>
#include <QScreen>

namespace vorlen {

QRect placedOnScreen(const QRect& wanted) {
    const QScreen* screen = QGuiApplication::screenAt(QPoint(wanted.center().x(), wanted.top()));
    const bool isSeen = screen != nullptr;
    if (!isSeen)
        screen = QGuiApplication::primaryScreen();
    if (screen == nullptr)
        return wanted;
    const QRect offered = screen->availableGeometry();
    const QSize size = wanted.size().boundedTo(offered.size());
    if (!isSeen)
        return QRect(offered.topLeft(), size);
    const int left = std::clamp(wanted.left(), offered.left(), offered.left() + offered.width() - size.width());
    const int top = std::clamp(wanted.top(), offered.top(), offered.top() + offered.height() - size.height());
    return QRect(QPoint(left, top), size);
}

} // namespace vorlen
