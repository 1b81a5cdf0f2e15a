#pragma once

#include <QObject>
#include <QTimer>

#include "numerics/vector.h"

namespace vorlen {

class Pose;

/// Turns a scene step by step on a timer. It goes on from wherever the rotation was set to meanwhile.
class ViewerMotion : public QObject {
    Q_OBJECT

public:
    explicit ViewerMotion(QObject* parent = nullptr);

    void setActive(bool active);
    bool isActive() const { return __timer.isActive(); }
    void toggle() { setActive(!isActive()); }

    /// Degrees of a step, from the next one on.
    void setAngle(int angle) { __angle = angle; }
    int getAngle() const { return __angle; }
    /// Milliseconds between steps, at once.
    void setTimeout(int timeout);
    int getTimeout() const { return __timer.interval(); }

    /// In degrees.
    const Vector<float>& getRotation() const { return rotation; }

public slots:
    /// Throws SizeError unless there are three angles.
    void setRotation(const Vector<float>& rotation);
    void setRotation(const Pose& pose);
    virtual void step() = 0;

signals:
    void rotationChanged(const Vector<float>& rotation);

protected:
    Vector<float> rotation;

private:
    QTimer __timer;
    int __angle = 1;
};

} // namespace vorlen
