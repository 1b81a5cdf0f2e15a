#pragma once

#include "numerics/randomgenerator.h"
#include "ui/viewer/viewermotion.h"

namespace vorlen {

/// Turns about all three axes; each reverses about once in a thousand steps, at random.
class ViewerRandomMotion : public ViewerMotion {
    Q_OBJECT

public:
    /// With a negative seed each motion is another one.
    explicit ViewerRandomMotion(QObject* parent = nullptr, long seed = -1);

public slots:
    void step() override;

private:
    RandomGenerator __random;
    Vector<int> __direction;
};

} // namespace vorlen
