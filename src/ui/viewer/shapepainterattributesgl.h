#pragma once

#include "numerics/vector.h"
#include "ui/viewer/displaymodegl.h"
#include "ui/viewer/vertexsymbolgl.h"

#include <iosfwd>
#include <optional>
#include <string>

namespace vorlen {

/// How a shape is drawn: eleven values, each of which may be undefined.
///
/// A new record defines display mode 0, line width 1, transparency 255, shininess 32, symbol size 10, the dot and
/// visible; colour, smoothing and the cap flags are undefined. The getter of a value that is undefined throws
/// ProgramError; its use or has operation tells beforehand.
class ShapePainterAttributesGL {
public:
    /// Red, green, blue from 0 to 255. Throws SizeError unless there are three.
    void setColor(const Vector<int>& color);
    const Vector<int>& getColor() const;
    bool useColor() const { return __color.has_value(); }

    void setDisplayMode(DisplayModeGL mode) { __displayMode = mode; }
    DisplayModeGL getDisplayMode() const;
    bool useDisplayMode() const { return __displayMode.has_value(); }

    /// In pixels.
    void setLineWidth(float width) { __lineWidth = width; }
    float getLineWidth() const;
    bool useLineWidth() const { return __lineWidth.has_value(); }

    /// From 0, not seen at all, to 255, opaque.
    void setTransparency(float transparency) { __transparency = transparency; }
    float getTransparency() const;
    bool useTransparency() const { return __transparency.has_value(); }

    /// Exponent of the highlight, 0 to 128: the greater, the smaller the spot.
    void setShininess(float shininess) { __shininess = shininess; }
    float getShininess() const;
    bool useShininess() const { return __shininess.has_value(); }

    /// Passes of TriMesh::smoothNormals().
    void setSmoothing(int passes) { __smoothing = passes; }
    int getSmoothing() const;
    bool useSmoothing() const { return __smoothing.has_value(); }

    /// Radius of the sphere of the symbols' volume, in world units; of dots the diameter in pixels.
    void setSymbolSize(float size) { __symbolSize = size; }
    float getSymbolSize() const;
    bool useSymbolSize() const { return __symbolSize.has_value(); }

    void setVertexSymbol(VertexSymbolGL symbol) { __vertexSymbol = symbol; }
    VertexSymbolGL getVertexSymbol() const;
    bool useVertexSymbol() const { return __vertexSymbol.has_value(); }

    void setVisibility(bool visible) { __visibility = visible; }
    bool getVisibility() const;
    bool useVisibility() const { return __visibility.has_value(); }

    void setBeginCapFlag(bool flag) { __beginCapFlag = flag; }
    bool getBeginCapFlag() const;
    bool hasBeginCapFlag() const { return __beginCapFlag.has_value(); }

    void setEndCapFlag(bool flag) { __endCapFlag = flag; }
    bool getEndCapFlag() const;
    bool hasEndCapFlag() const { return __endCapFlag.has_value(); }

    /// Alpha of the colour: the transparency without its fraction, within 0 to 255; 255 if undefined.
    unsigned char alpha() const;
    /// Transparency undefined or 255.
    bool isOpaque() const;

    /// Sets in OpenGL what is defined of colour, highlight, point size and line width; sizes not above 0, which OpenGL
    /// refuses, are left out.
    void glApply() const;
    /// Lets materials no longer follow the colour, if glApply() has set one.
    void glRelease() const;

    /// Makes all values undefined.
    void clear();
    /// Takes every value that the other record defines.
    void update(const ShapePainterAttributesGL& other);
    /// The values that both records define, and with equal value.
    ShapePainterAttributesGL intersection(const ShapePainterAttributesGL& other) const;

    bool operator==(const ShapePainterAttributesGL& other) const = default;

    /// The title, unless empty, then a line for each value, "(none)" where it is undefined.
    void print(const std::string& title, std::ostream& stream) const;

private:
    /// Applies f to each value of this record and the same one of the other.
    template <class F>
    void __forEach(const ShapePainterAttributesGL& other, F f);

    std::optional<Vector<int>> __color;
    std::optional<DisplayModeGL> __displayMode = UndefinedDisplayGL;
    std::optional<float> __lineWidth = 1.0f;
    std::optional<float> __transparency = 255.0f;
    std::optional<float> __shininess = 32.0f;
    std::optional<int> __smoothing;
    std::optional<float> __symbolSize = 10.0f;
    std::optional<VertexSymbolGL> __vertexSymbol = DotSymbolGL;
    std::optional<bool> __visibility = true;
    std::optional<bool> __beginCapFlag;
    std::optional<bool> __endCapFlag;
};

} // namespace vorlen
