#include "ui/viewer/vertexsymbolgl.h"

namespace vorlen {

std::string toString(VertexSymbolGL symbol) {
    switch (symbol) {
    case DotSymbolGL:
        return "Dot";
    case SphereSymbolGL:
        return "Sphere";
    case CubeSymbolGL:
        return "Cube";
    case TetrahedronSymbolGL:
        return "Tetrahedron";
    case DiamondSymbolGL:
        return "Diamond";
    case UndefinedSymbolGL:
        break;
    }
    return "";
}

} // namespace vorlen
