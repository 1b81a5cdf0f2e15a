#include "ui/widgets/placedwindow.h"

#include <algorithm>

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QSettings>
#include <QWidget>

namespace vorlen {

namespace {

/// Keeps where a window is, as its child.
class PlaceKeeper : public QObject {
public:
    PlaceKeeper(QWidget& window, const QString& name) : QObject(&window), __window(window), __name(name) {
        window.installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Move)
            QSettings().setValue(__name + "/pos", __window.pos());
        else if (event->type() == QEvent::Resize)
            QSettings().setValue(__name + "/size", __window.size());
        return QObject::eventFilter(watched, event);
    }

private:
    QWidget& __window;
    QString __name;
};

} // namespace

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

void keepPlace(QWidget& window, const QString& name, const QSize& size) {
    const QSettings settings;
    const QRect place = placedOnScreen(
        QRect(settings.value(name + "/pos", QPoint(0, 0)).toPoint(), settings.value(name + "/size", size).toSize()));
    window.move(place.topLeft());
    window.resize(place.size());
    new PlaceKeeper(window, name); // the window's
}

} // namespace vorlen
