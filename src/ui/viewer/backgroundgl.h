#pragma once

#include "numerics/vector.h"

namespace vorlen {

/// The ground of a scene: one colour, or a gradient that falls from the colour at the upper edge to a third of it.
class BackgroundGL {
public:
    /// (85, 170, 255, 255) with a gradient.
    BackgroundGL();

    /// Red, green, blue and, if there is a fourth component, alpha, from 0 to 255. Fewer components leave the others as
    /// they are. Throws SizeError for more than four.
    void setColor(const Vector<int>& color);
    const Vector<int>& getColor() const { return __color; }

    void setGradientEnabled(bool enabled) { __gradient = enabled; }
    bool isGradientEnabled() const { return __gradient; }

    /// Clears the depth buffer and covers the viewport.
    void glDraw() const;

private:
    Vector<int> __color;
    bool __gradient = true;
};

} // namespace vorlen
