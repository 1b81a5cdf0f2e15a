#pragma once

#include <string>

namespace vorlen {

/// What a shape painter draws of its shape. Painters draw modes that mean nothing to them as the nearest one they know.
enum DisplayModeGL {
    UndefinedDisplayGL = 0,
    SymbolDisplayGL = 1, ///< the vertices only
    CurveDisplayGL = 2,
    SymbolCurveDisplayGL = 3,
    MeshDisplayGL = 4, ///< wire frame
    SurfaceDisplayGL = 5
};

constexpr int numDisplayModesGL = 6;

/// The mode in a word, for lists: "Symbol", "Curve", "Symbol+Curve", "Mesh", "Surface"; empty for anything else.
std::string toString(DisplayModeGL mode);

} // namespace vorlen
