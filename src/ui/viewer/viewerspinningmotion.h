#pragma once

#include "ui/viewer/viewermotion.h"

namespace vorlen {

/// Spins the scene about the vertical axis of the screen, however it is turned.
class ViewerSpinningMotion : public ViewerMotion {
    Q_OBJECT

public:
    explicit ViewerSpinningMotion(QObject* parent = nullptr) : ViewerMotion(parent) {}

    /// The rotation, in degrees, spun so many degrees about that axis.
    static Vector<float> spun(const Vector<float>& rotation, float degrees);

public slots:
    void step() override;
};

} // namespace vorlen
