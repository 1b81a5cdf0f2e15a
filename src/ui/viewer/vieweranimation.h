#pragma once

#include <functional>
#include <vector>

#include <QObject>
#include <QTimer>

#include "ui/viewer/paintergl.h"

namespace vorlen {

/// Shows a row of painters one group after the other. Circular, it begins again behind the last; otherwise it turns
/// back at both ends.
class ViewerAnimation : public QObject {
    Q_OBJECT

public:
    /// How a painter is shown or hidden. The default changes the visibility of the shape of a ShapeViewerPainterGL.
    using Show = std::function<void(PainterGL<float>& painter, bool shown)>;

    explicit ViewerAnimation(QObject* parent = nullptr);

    void setCircular(bool circular) { __circular = circular; }
    bool isCircular() const { return __circular; }
    bool isRunning() const { return __timer.isActive(); }
    /// Milliseconds, at once.
    void setTimeout(int timeout);
    int getTimeout() const { return __timer.interval(); }
    /// Painters in a group, and how far a step goes.
    void setStepSize(int size) { __stepSize = size; }
    int getStepSize() const { return __stepSize; }
    /// Seen, not owned; what they show stays as it is.
    void setPainters(const std::vector<PainterGL<float>*>& painters) { __painters = painters; }
    void setShow(Show show) { __show = std::move(show); }
    int getCurrentIndex() const { return __index; }
    /// Shows the group that begins here; beyond the ends as the class says.
    void setCurrentIndex(int index);
    /// Starts with the first group, or stops; the group that is shown then stays.
    void toggle();

public slots:
    void makeOneStep();

signals:
    void currentIndexChanged(int index);

private:
    std::vector<PainterGL<float>*> __painters;
    Show __show;
    int __index = 0;
    int __stepSize = 2;
    bool __circular = false;
    bool __forward = false;
    QTimer __timer;
};

} // namespace vorlen
