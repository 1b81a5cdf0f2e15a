#include "ui/widgets/placedwindow.h"

#include <algorithm>

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QSettings>
#include <QTimer>
#include <QWidget>

namespace vorlen {

namespace {

constexpr int rest = 300; // milliseconds

/// Keeps where a window is, as its child: its place when it does not fill the screen, and whether it is maximized.
///
/// The size of a window that is being maximized may come before the news that it is: what it had at rest counts.
class PlaceKeeper : public QObject {
public:
    PlaceKeeper(QWidget& window, const QString& name)
        : QObject(&window), __window(window), __name(name), __place(window.pos(), window.size()) {
        window.installEventFilter(this);
        __atRest.setSingleShot(true);
        __atRest.setInterval(rest);
        connect(&__atRest, &QTimer::timeout, this, [this] {
            if (!fillsScreen())
                __place = QRect(__window.pos(), __window.size());
        });
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if ((event->type() == QEvent::Move || event->type() == QEvent::Resize) && !fillsScreen()) {
            keep(QRect(__window.pos(), __window.size()));
            __atRest.start();
        } else if (event->type() == QEvent::WindowStateChange) {
            QSettings().setValue(__name + "/maximized", __window.isMaximized());
            if (fillsScreen())
                keep(__place);
        }
        return QObject::eventFilter(watched, event);
    }

private:
    bool fillsScreen() const { return __window.isMaximized() || __window.isFullScreen(); }

    void keep(const QRect& place) const {
        QSettings settings;
        settings.setValue(__name + "/pos", place.topLeft());
        settings.setValue(__name + "/size", place.size());
    }

    QWidget& __window;
    QString __name;
    QRect __place; // the last one at which it rested
    QTimer __atRest;
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
    if (settings.value(name + "/maximized", false).toBool())
        window.setWindowState(window.windowState() | Qt::WindowMaximized);
    new PlaceKeeper(window, name); // the window's
}

} // namespace vorlen
