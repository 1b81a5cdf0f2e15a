#include "ui/widgets/placedwindow.h"

#include <algorithm>

#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QFileDialog>
#include <QLayout>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QTimer>
#include <QVBoxLayout>
#include <QWidget>
#include <QWindow>

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

/// What the screen of a window has to offer.
QRect roomFor(const QWidget& window) {
    return (window.screen() != nullptr ? window.screen() : QGuiApplication::primaryScreen())->availableGeometry();
}

/// What the desktop puts around windows, as one that is there already has it.
QSize usualFrame() {
    for (const QWidget* const window : QApplication::topLevelWidgets())
        if (window->isVisible() && (window->windowType() == Qt::Window || window->windowType() == Qt::Dialog))
            return window->frameGeometry().size() - window->size();
    return {0, 0};
}

/// The fields of a dialog that is larger than the room at least go into a view that scrolls.
void makeScrollable(QDialog& dialog, const QSize& room) {
    QLayout* const fields = dialog.layout();
    const bool isOfQt = dialog.metaObject() != &QDialog::staticMetaObject &&
                        QByteArray(dialog.metaObject()->className()).startsWith('Q');
    if (fields == nullptr || isOfQt || dialog.inherits("QMessageBox"))
        return;
    const QSize least = fields->totalMinimumSize().expandedTo(dialog.minimumSize());
    if (least.width() <= room.width() && least.height() <= room.height())
        return;
    auto* const view = new QScrollArea;
    view->setFrameShape(QFrame::NoFrame);
    view->setWidgetResizable(true);
    auto* const content = new QWidget;
    content->setLayout(fields); // takes it, and what it lays out, from the dialog
    view->setWidget(content);
    auto* const around = new QVBoxLayout(&dialog);
    around->setContentsMargins(0, 0, 0, 0);
    around->addWidget(view);
    dialog.setMinimumSize(0, 0);
    const int bar = view->verticalScrollBar()->sizeHint().width();
    dialog.resize(dialog.size().expandedTo(least + QSize(bar, bar)).boundedTo(room));
}

void settleFrame(QWidget& window) {
    if (!window.isVisible() || window.isMaximized() || window.isFullScreen())
        return;
    QWindow* const handle = window.windowHandle(); // a widget may have asked for its frame too early, and keeps that
    if (handle == nullptr)
        return;
    const QRect room = roomFor(window), frame = handle->frameGeometry();
    const QSize over = (frame.size() - room.size()).expandedTo(QSize(0, 0));
    if (!over.isNull())
        window.resize(window.size() - over);
    const QSize size = (frame.size() - over).boundedTo(room.size());
    const int left = std::clamp(frame.left(), room.left(), room.left() + room.width() - size.width());
    const int top = std::clamp(frame.top(), room.top(), room.top() + room.height() - size.height());
    if (QPoint(left, top) != frame.topLeft())
        // Not by the place of the frame: where the window itself is there now, some desktops take it for no move.
        handle->setPosition(handle->position() + QPoint(left, top) - frame.topLeft());
}

constexpr const char* fileDialogSizeKey = "fileDialogs/size";

/// Keeps the size that the user gives a dialog of files, as its child, for all of them.
class SizeKeeper : public QObject {
public:
    explicit SizeKeeper(QFileDialog& dialog) : QObject(&dialog), __dialog(dialog), __given(dialog.size()) {
        dialog.installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Hide && !event->spontaneous() && __dialog.size() != __given)
            QSettings().setValue(fileDialogSizeKey, __dialog.size());
        return QObject::eventFilter(watched, event);
    }

private:
    QFileDialog& __dialog;
    QSize __given;
};

/// Dialogs of files begin so small that names are cut, and forget their size.
void giveRoom(QFileDialog& dialog, const QSize& room) {
    if (dialog.findChild<QLayout*>() == nullptr || dialog.property("vorlenSized").toBool())
        return; // that of the desktop has its own, and one that comes back keeps it
    dialog.setProperty("vorlenSized", true);
    const QSize kept = QSettings().value(fileDialogSizeKey, QSize(800, 520)).toSize();
    dialog.resize(kept.expandedTo(dialog.minimumSizeHint()).boundedTo(room));
    new SizeKeeper(dialog); // the dialog's
}

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

void fitOnScreen(QWidget& window) {
    if (window.windowType() != Qt::Window && window.windowType() != Qt::Dialog)
        return;
    const QSize frame = usualFrame();
    if (auto* const dialog = qobject_cast<QDialog*>(&window))
        makeScrollable(*dialog, roomFor(window).size() - frame);
    if (auto* const files = qobject_cast<QFileDialog*>(&window))
        giveRoom(*files, roomFor(window).size() - frame);
    const QRect wanted = window.geometry();
    const QRect placed = placedOnScreen(QRect(wanted.topLeft(), wanted.size() + frame));
    if (placed.size() != wanted.size() + frame)
        window.setGeometry(QRect(placed.topLeft(), placed.size() - frame));
    for (const int milliseconds : {100, 400, 1500})
        QTimer::singleShot(milliseconds, &window, [&window] { settleFrame(window); });
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
