#include "ui/session/crosshair.h"

#include <QCoreApplication>
#include <QPointer>

#include "editing/stacks/vrlstack.h"

namespace vorlen {

Crosshair::Crosshair(QObject* parent) : QObject(parent) {
}

Crosshair& Crosshair::crosshair() {
    static QPointer<Crosshair> one;
    if (!one)
        one = new Crosshair(QCoreApplication::instance()); // a child
    return *one;
}

void Crosshair::setShown(bool shown) {
    if (shown == __shown)
        return;
    __shown = shown;
    emit shownChanged(shown);
}

std::optional<SpacePlace> Crosshair::placeIn(const VRLStack& stack) const {
    const auto found = __places.find(&stack);
    return found == __places.end() ? std::nullopt : std::optional<SpacePlace>(found->second);
}

void Crosshair::setPlace(const VRLStack& stack, const SpacePlace& place, const QObject* source) {
    const VRLStack* const key = &stack;
    if (__places.insert_or_assign(key, place).second)
        connect(key, &QObject::destroyed, this, [this, key] { __places.erase(key); });
    emit placeChanged(key, source);
}

} // namespace vorlen
