#pragma once

#include <array>
#include <optional>
#include <string>
#include <tuple>

#include "numerics/vector.h"

namespace vorlen {

/// How a vertex is drawn in space.
enum VertexSymbol {
    CubeSymbol = 0,
    DotSymbol = 1,
    DiamondSymbol = 2,
    SphereSymbol = 3,
    TetrahedronSymbol = 4,
    UnknownSymbol = 5
};

/// Look of the items of a model, or of one item where it differs from its model; each property may be undefined.
///
/// A getter of an undefined property throws ProgramError with a text such as "Line width: undefined attribute".
class ModelItemProperties {
public:
    /// Red, green and blue, 0 to 255. Throws SizeError for a vector of another size than 3.
    void setColor(const Vector<int>& color);
    void setColor(int red, int green, int blue);
    Vector<int> getColor() const;
    bool definesColor() const { return __color.has_value(); }

    /// In screen pixels.
    void setLineWidth(float width);
    float getLineWidth() const;
    bool definesLineWidth() const { return __lineWidth.has_value(); }

    /// In screen pixels.
    void setPointSize(float size);
    float getPointSize() const;
    bool definesPointSize() const { return __pointSize.has_value(); }

    void setVertexSymbol(VertexSymbol symbol);
    VertexSymbol getVertexSymbol() const;
    bool definesVertexSymbol() const { return __vertexSymbol.has_value(); }

    void setVertexSymbolFilling(bool filling);
    bool getVertexSymbolFilling() const;
    bool definesVertexSymbolFilling() const { return __vertexSymbolFilling.has_value(); }

    /// Whether the item is drawn in space.
    void setRenderingVisibility(bool visible);
    bool getRenderingVisibility() const;
    bool definesRenderingVisibility() const { return __renderingVisibility.has_value(); }

    bool definesAny() const;

    /// Leaves all properties undefined.
    void clear();

    /// Red, line width 1, point size 1, filled spheres, visible.
    void setDefaults();

    /// Copies every property that other defines.
    void update(const ModelItemProperties& other);

    /// The properties that both define with the same value.
    ModelItemProperties intersection(const ModelItemProperties& other) const;

    /// The properties of this that other leaves undefined or gives another value.
    ModelItemProperties operator-(const ModelItemProperties& other) const;

    /// The properties of this, and those that only other defines.
    ModelItemProperties operator+(const ModelItemProperties& other) const;

    /// Every property undefined in both, or defined in both and equal.
    bool operator==(const ModelItemProperties& other) const;

    /// "Cube", "Dot", "Diamond", "Sphere", "Tetrahedron"; "Unknown" for anything else.
    static std::string toString(VertexSymbol symbol);

    /// The inverse of toString(), by exact spelling; the unknown value for any other text.
    static VertexSymbol toVertexSymbol(const std::string& text);

private:
    static constexpr auto __members() {
        using P = ModelItemProperties;
        return std::make_tuple(&P::__color, &P::__lineWidth, &P::__pointSize, &P::__vertexSymbol,
                               &P::__vertexSymbolFilling, &P::__renderingVisibility);
    }

    std::optional<std::array<int, 3>> __color; // in the least room: a stack has half a million of these
    std::optional<float> __lineWidth;
    std::optional<float> __pointSize;
    std::optional<VertexSymbol> __vertexSymbol;
    std::optional<bool> __vertexSymbolFilling;
    std::optional<bool> __renderingVisibility;
};

} // namespace vorlen
