#pragma once

#include <memory>
#include <vector>

#include <QString>

#include "images/volumes/voxelmatrix.h"
#include "normalization/groupcomparison.h"
#include "shapes/trimesh.h"
#include "ui/comparison/vrlcomparisondialog.h"
#include "ui/density/densityslicepaintergl.h"
#include "ui/viewer/shapepaintergl.h"

namespace vorlen {

/// A map of a comparison that a plane can show.
enum class ComparedMap { P, Statistic, Difference };

/// What is drawn of a comparison that has been run: the surfaces around the significant places, of the one sign and of
/// the other; a plane through one of the maps; the surfaces around, which shine through; of forms the mean surface in
/// the colours of p.
///
/// The colours of p go by its logarithm, so that small ones can be told apart; the brightest is the least p. All
/// painters and what they draw belong to the object, which sees the comparison.
class ComparisonPictures {
public:
    ComparisonPictures(const GroupComparison& comparison, const std::vector<ComparedShape>& around);
    ~ComparisonPictures();

    /// Of those places where the statistic is above 0 (1) and below (-1); null where there are none. Statistics without
    /// a sign are all above.
    PainterGL<float>* significant(int sign) const { return sign > 0 ? __above.painter.get() : __below.painter.get(); }
    /// Null for forms.
    DensitySlicePainterGL* plane() const { return __plane.get(); }
    const std::vector<std::unique_ptr<ShapePainterGL<float>>>& around() const { return __around; }
    /// All painters, the transparent ones last.
    std::vector<PainterGL<float>*> painters() const;

    bool hasMap(ComparedMap map) const;
    /// Shows another map on a plane that lies where the old one did. The old plane's painter is gone afterwards.
    void showMap(ComparedMap map);
    ComparedMap getMap() const { return __map; }

    /// What the ends and the middle of the colours stand for, in the map that is shown.
    QString scaleText(double share) const;

private:
    struct Surface {
        std::unique_ptr<TriMesh<float>> mesh;
        std::unique_ptr<ShapePainterGL<float>> painter;
    };

    void addAround(const Shape<float>& shape);
    void buildForm();
    static Surface surfaceOf(std::unique_ptr<TriMesh<float>> mesh, const Vector<int>& color);

    const GroupComparison& __comparison;
    std::vector<std::unique_ptr<Shape<float>>> __shapes; ///< around, and the mean of forms
    std::vector<std::unique_ptr<ShapePainterGL<float>>> __around;
    Surface __above, __below;
    std::unique_ptr<ShapePainterGL<float>> __form;
    ComparedMap __map = ComparedMap::P;
    VoxelMatrix<float> __matrix; ///< that the plane shows
    std::unique_ptr<DensitySlicePainterGL> __plane;
    double __least = 0, __greatest = 0; ///< of what the colours stand for, of p its negative logarithm
};

} // namespace vorlen
