#pragma once

#include <QFrame>

#include "ui/slices/canvasmode.h"

namespace vorlen {

/// What the registration window shows, and the way through its slices.
class VRLRegistrationToolBar : public QFrame {
    Q_OBJECT

public:
    explicit VRLRegistrationToolBar(QWidget* parent = nullptr);

signals:
    void modeClicked(CanvasMode mode);
    void firstClicked();
    void nextClicked();
    void previousClicked();
    void lastClicked();
};

} // namespace vorlen
