#include "ui/viewer/displaymodegl.h"

namespace vorlen {

std::string toString(DisplayModeGL mode) {
    switch (mode) {
    case SymbolDisplayGL:
        return "Symbol";
    case CurveDisplayGL:
        return "Curve";
    case SymbolCurveDisplayGL:
        return "Symbol+Curve";
    case MeshDisplayGL:
        return "Mesh";
    case SurfaceDisplayGL:
        return "Surface";
    case UndefinedDisplayGL:
        break;
    }
    return "";
}

} // namespace vorlen
