#pragma once

#include <map>
#include <optional>

#include <QObject>

#include "reconstruction/spaceplace.h"

namespace vorlen {

class VRLStack;

/// The place of each stack that all windows on it point at: slice windows, cuts and 3D view. A window that sets it
/// tells its own part as the source; the others show the place. Nothing of it belongs to a document.
///
/// Decisions: one crosshair for the program, shown or hidden in all windows at once, hidden at first; a place is set
/// and told of also while it is hidden. The place of a stack is forgotten when the stack is closed.
class Crosshair : public QObject {
    Q_OBJECT

public:
    /// The one of the program, which goes with the application.
    static Crosshair& crosshair();

    bool isShown() const { return __shown; }
    void setShown(bool shown);

    /// None as long as none was set.
    std::optional<SpacePlace> placeIn(const VRLStack& stack) const;
    void setPlace(const VRLStack& stack, const SpacePlace& place, const QObject* source = nullptr);

signals:
    void shownChanged(bool shown);
    void placeChanged(const vorlen::VRLStack* stack, const QObject* source);

private:
    explicit Crosshair(QObject* parent);

    bool __shown = false;
    std::map<const VRLStack*, SpacePlace> __places;
};

} // namespace vorlen
