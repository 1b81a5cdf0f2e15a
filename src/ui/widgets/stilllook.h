#pragma once

#include <vector>

#include <QObject>
#include <QPointer>
#include <QTimer>

class QWidget;

namespace vorlen {

/// Keeps the look of panels while they are disabled for a moment, as for the time of a stroke: they would turn grey and
/// back with each. They take no input meanwhile, as they are disabled.
///
/// Only what lasts is shown: after `patience` the panels are painted as they are, but for a mouse button that is held
/// down elsewhere. At once they are when the window or one of them changes its size, which would leave a part
/// unpainted, and when a dialog blocks the window.
class StillLook : public QObject {
    Q_OBJECT

public:
    /// In milliseconds.
    static constexpr int patience = 500;

    explicit StillLook(QWidget& window);

    /// To be called before the panels change. Nothing while some are held already.
    void hold(const std::vector<QWidget*>& panels);
    /// To be called when they are again as they were. Nothing where none are held.
    void release();
    bool isHolding() const { return !__panels.empty(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void lookAgain();

    QWidget& __window;
    std::vector<QPointer<QWidget>> __panels; // that are not painted now
    QTimer __timer;
};

} // namespace vorlen
