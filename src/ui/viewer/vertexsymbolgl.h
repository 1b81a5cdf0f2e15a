#pragma once

#include <string>

namespace vorlen {

/// How a vertex is marked. All but the dot are bodies with the volume of the sphere whose radius is the symbol size.
enum VertexSymbolGL {
    UndefinedSymbolGL = 0,
    DotSymbolGL = 1,
    SphereSymbolGL = 2,
    CubeSymbolGL = 3,
    TetrahedronSymbolGL = 4,
    DiamondSymbolGL = 5
};

constexpr int numVertexSymbolsGL = 6;

/// The symbol in a word, for lists; empty for anything else.
std::string toString(VertexSymbolGL symbol);

} // namespace vorlen
