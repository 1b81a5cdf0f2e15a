#pragma once

#include <memory>
#include <optional>
#include <vector>

#include <QString>

#include "images/volumes/voxelmatrix.h"
#include "normalization/densitymapping.h"
#include "shapes/grid.h"
#include "shapes/trimesh.h"
#include "ui/viewer/paintergl.h"
#include "ui/viewer/shapepaintergl.h"
#include "values/lengthunit.h"

namespace vorlen {

/// A shape of a window that maps can be made of, by its painter, with the name under which a person knows it.
struct DensityShape {
    QString name;
    ShapePainterGL<float>* painter = nullptr;
    std::optional<LengthUnit> unit = std::nullopt; ///< of its coordinates, where it is known
};

/// The one unit of these shapes of the list; nothing where it is not known of any. Throws UsageError when they are in
/// different units, or one is in a unit and of another it is not known: a map of both would be of neither.
std::optional<LengthUnit> commonUnit(const std::vector<DensityShape>& shapes, const std::vector<int>& places);

/// The number with the unit, "12.5 µm"; the number alone where the unit is not known.
QString lengthText(double length, const std::optional<LengthUnit>& unit);

/// What the mapping dialog asks for. Shapes are named by their places in the list that the dialog was given.
struct VRLDensityMappingConfig {
    QString name = "Density map";
    DensitySettings settings;
    float resolution = 0; ///< 0 takes a hundredth of the longest side
    std::vector<int> patterns;
    std::vector<int> masks;
};

/// How a view shows its map: symbols at the elements, the surface at a density or at a percentile, or a plane.
enum class DensityViewType { Counts, Isosurface, Percentile, Slice };

/// What the view dialog asks for.
struct VRLDensityMapViewConfig {
    QString name = "Density map view";
    DensityViewType viewType = DensityViewType::Percentile;
    float threshold = 0;
    float percentile = 50;
    int axis = 2; ///< that a plane goes across
};

/// One view of a map. The surface is there with the types that have one.
struct DensityMapView {
    VRLDensityMapViewConfig config;
    float level = 0; ///< of a surface
    std::unique_ptr<TriMesh<float>> surface;
    std::unique_ptr<PainterGL<float>> painter;
};

/// One computed map with its views, which it owns.
///
/// It keeps copies of the patterns and masks that it was made of, so that percentiles can be asked for as long as it
/// lives, whatever becomes of the shapes.
class VRLDensityMap {
public:
    /// Copies the shapes, which are all in the unit, where one is known. Throws as the estimators do, also UsageError
    /// without a pattern and, before anything is computed, when a pattern has fewer points than the rank of the
    /// neighbour.
    VRLDensityMap(const VRLDensityMappingConfig& config, const std::vector<const Shape<float>*>& patterns,
                  const std::vector<const Shape<float>*>& masks, const std::optional<LengthUnit>& unit = std::nullopt);

    /// False when a monitor cancelled it; the map is then of no use.
    bool compute(ProgressMonitor& monitor);

    const VRLDensityMappingConfig& getConfig() const { return __config; }
    const VoxelMatrix<float>& getVoxelMatrix() const { return __matrix; }
    const Grid<float>& getGrid() const { return __grid; }
    const DensityReport& getReport() const { return __report; }
    const std::optional<LengthUnit>& getUnit() const { return __unit; }
    /// That of the elements: "per µm³"; of counts "points", and empty where the unit of length is not known.
    QString densityUnit() const;
    MapLattice<float> lattice() const;

    /// The box whose cells have the elements in their middles.
    BoundingBox<float> cellBox() const;
    /// Density below which so many percent of the points lie.
    float percentile(float percent) const;

    /// Makes the view and adds it. Throws UsageError when there is no surface at the density.
    DensityMapView& addView(const VRLDensityMapViewConfig& config);
    void removeView(const DensityMapView& view);
    const std::vector<std::unique_ptr<DensityMapView>>& getViews() const { return __views; }

    /// Writes the volume as .vm, the same beside it with its place in space, both with the unit where it is known, and
    /// the surface of view k as NAME-%02d.tm. The one beside it is .nrrd, or NIfTI for a name that ends in .nii or
    /// .nii.gz; a name with no such ending and without .vm gets it. Volumes are replaced, surfaces are not unless they
    /// are to be: then FileWriteError before anything is written, and also when writing fails. Returns the files.
    std::vector<std::string> save(const std::string& fileName, bool replaceSurfaces = false) const;

    /// The files that save() writes: the two volumes, then the surfaces.
    std::vector<std::string> filesOf(const std::string& fileName) const;

private:
    VRLDensityMappingConfig __config;
    std::optional<LengthUnit> __unit;
    std::vector<std::unique_ptr<Shape<float>>> __patterns;
    std::vector<std::unique_ptr<Shape<float>>> __masks;
    std::unique_ptr<DensityMapping> __mapping;
    Grid<float> __grid;
    VoxelMatrix<float> __matrix;
    DensityReport __report;
    std::vector<std::unique_ptr<DensityMapView>> __views;
};

} // namespace vorlen
