#pragma once

#include <QFrame>

#include "ui/slices/canvasmode.h"

namespace vorlen {

/// Row of buttons for what a canvas shows: images, items, or both, which is chosen at first.
class VRLModeToolBar : public QFrame {
    Q_OBJECT

public:
    explicit VRLModeToolBar(QWidget* parent = nullptr);

signals:
    void modeClicked(CanvasMode mode);
};

} // namespace vorlen
