#pragma once

#include <QFrame>

namespace vorlen {

/// Row of buttons for going through the slices of a stack. The last slice is the uppermost.
class VRLNavigationToolBar : public QFrame {
    Q_OBJECT

public:
    explicit VRLNavigationToolBar(QWidget* parent = nullptr);

signals:
    void lastClicked();
    void nextClicked();
    void previousClicked();
    void firstClicked();
};

} // namespace vorlen
