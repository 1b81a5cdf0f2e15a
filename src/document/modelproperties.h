#pragma once

#include <optional>
#include <string>
#include <tuple>

namespace vorlen {

/// Geometry of the items of a model.
enum MPrimitive { PolygonPrimitive = 0, PolylinePrimitive = 1, PolypointPrimitive = 2, UnknownPrimitive = 3 };

/// The fewest vertices that make an item: 3 for polygons, 2 for polylines, 1 for points and where it is unknown.
int leastNumVertices(MPrimitive geometry);

/// How a model is drawn in space.
enum RenderingMode {
    DotRendering = 0,
    CurveRendering = 1,
    WireframeRendering = 2,
    SurfaceRendering = 3,
    UnknownRendering = 4
};

/// Properties of a model as a whole, each of which may be undefined.
///
/// A getter of an undefined property throws ProgramError with a text such as "Begin cap flag: undefined attribute".
class ModelProperties {
public:
    void setGeometry(MPrimitive geometry);
    MPrimitive getGeometry() const;
    bool definesGeometry() const { return __geometry.has_value(); }

    void setRenderingMode(RenderingMode mode);
    RenderingMode getRenderingMode() const;
    bool definesRenderingMode() const { return __renderingMode.has_value(); }

    /// From 0, invisible, to 255, opaque.
    void setSurfaceOpacity(float opacity);
    float getSurfaceOpacity() const;
    bool definesSurfaceOpacity() const { return __surfaceOpacity.has_value(); }

    /// Exponent of the specular highlight.
    void setSurfaceShininess(float shininess);
    float getSurfaceShininess() const;
    bool definesSurfaceShininess() const { return __surfaceShininess.has_value(); }

    /// Vertices on a level of the model's resampled surface.
    void setQuadMeshWidth(unsigned int width);
    unsigned int getQuadMeshWidth() const;
    bool definesQuadMeshWidth() const { return __quadMeshWidth.has_value(); }

    /// Levels of the model's resampled surface.
    void setQuadMeshHeight(unsigned int height);
    unsigned int getQuadMeshHeight() const;
    bool definesQuadMeshHeight() const { return __quadMeshHeight.has_value(); }

    void setEconomicRendering(bool economic);
    bool getEconomicRendering() const;
    bool definesEconomicRendering() const { return __economicRendering.has_value(); }

    /// Whether the surface is closed at its first level.
    void setBeginCapFlag(bool cap);
    bool getBeginCapFlag() const;
    bool hasBeginCapFlag() const { return __beginCapFlag.has_value(); }

    /// Whether the surface is closed at its last level.
    void setEndCapFlag(bool cap);
    bool getEndCapFlag() const;
    bool hasEndCapFlag() const { return __endCapFlag.has_value(); }

    /// The group under which the model is listed; empty for none, as where it is undefined.
    void setGroup(const std::string& group);
    const std::string& getGroup() const;
    bool definesGroup() const { return __group.has_value(); }

    /// Leaves all properties undefined.
    void clear();

    /// Polygon, Surface, opacity 255, shininess 32, 100 by 100, not economic, no caps. The group stays as it is.
    void setDefaults();

    /// Copies every property that other defines.
    void update(const ModelProperties& other);

    /// The properties that both define with the same value.
    ModelProperties intersection(const ModelProperties& other) const;

    /// Every property undefined in both, or defined in both and equal.
    bool operator==(const ModelProperties& other) const = default;

    /// "Polygon", "Polyline", "Polypoint"; "Unknown" for anything else.
    static std::string toString(MPrimitive geometry);

    /// "Dot", "Curve", "Wireframe", "Surface"; "Unknown" for anything else.
    static std::string toString(RenderingMode mode);

    /// The inverse of toString(), by exact spelling; the unknown value for any other text.
    static MPrimitive toPrimitive(const std::string& text);
    static RenderingMode toRenderingMode(const std::string& text);

private:
    static constexpr auto __members() {
        using P = ModelProperties;
        return std::make_tuple(&P::__geometry, &P::__renderingMode, &P::__surfaceOpacity, &P::__surfaceShininess,
                               &P::__quadMeshWidth, &P::__quadMeshHeight, &P::__economicRendering, &P::__beginCapFlag,
                               &P::__endCapFlag, &P::__group);
    }

    std::optional<MPrimitive> __geometry;
    std::optional<RenderingMode> __renderingMode;
    std::optional<float> __surfaceOpacity;
    std::optional<float> __surfaceShininess;
    std::optional<unsigned int> __quadMeshWidth;
    std::optional<unsigned int> __quadMeshHeight;
    std::optional<bool> __economicRendering;
    std::optional<bool> __beginCapFlag;
    std::optional<bool> __endCapFlag;
    std::optional<std::string> __group;
};

} // namespace vorlen
