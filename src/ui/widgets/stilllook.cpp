#include "ui/widgets/stilllook.h"

#include <algorithm>
#include <utility>

#include <QEvent>
#include <QGuiApplication>
#include <QWidget>

namespace vorlen {

StillLook::StillLook(QWidget& window) : __window(window) {
    __timer.setSingleShot(true);
    __timer.setInterval(patience);
    connect(&__timer, &QTimer::timeout, this, &StillLook::lookAgain);
}

void StillLook::hold(const std::vector<QWidget*>& panels) {
    if (isHolding())
        return;
    for (QWidget* const panel : panels) {
        if (panel == nullptr || !panel->isVisible() || !panel->updatesEnabled())
            continue;
        panel->setUpdatesEnabled(false);
        panel->installEventFilter(this);
        __panels.emplace_back(panel);
    }
    if (!isHolding())
        return;
    __window.installEventFilter(this);
    __timer.start();
}

void StillLook::release() {
    __timer.stop();
    __window.removeEventFilter(this);
    for (const QPointer<QWidget>& panel : std::exchange(__panels, {})) {
        if (panel == nullptr)
            continue;
        panel->removeEventFilter(this);
        panel->setUpdatesEnabled(true);
    }
}

bool StillLook::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::Resize:
    case QEvent::Move:
    case QEvent::Show:
    case QEvent::Hide:
    case QEvent::WindowStateChange:
    case QEvent::WindowBlocked:
        if (watched != &__window || event->type() != QEvent::Move)
            release();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

/// A stroke takes as long as the button is down; but a hand that has come to one of the panels wants to see it.
void StillLook::lookAgain() {
    const auto isUnderMouse = [](const QPointer<QWidget>& panel) { return panel != nullptr && panel->underMouse(); };
    if (QGuiApplication::mouseButtons() != Qt::NoButton && std::none_of(__panels.begin(), __panels.end(), isUnderMouse))
        __timer.start();
    else
        release();
}

} // namespace vorlen
