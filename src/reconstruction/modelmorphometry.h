#pragma once

#include <string>

#include "numerics/squarematrix.h"
#include "numerics/vector.h"
#include "shapes/curvestack.h"

namespace vorlen {

class Model;

/// Measures a whole model in world coordinates, in double precision, from the document as it stands at run().
///
/// The area of a polygon or polyline model is that of the surface tiled between successive contours, without caps; it
/// is -1, not available, where ModelSurface finds none. The volume of a polygon model is that of a stack of
/// flat cylinders: the signed area of a slice's contours reaches up to the next slice that has some, the last one by
/// that slice's relative position. It needs no tiling, so it is reported for models with several contours on a slice
/// as well.
class ModelMorphometry {
public:
    ModelMorphometry();

    /// Another model than the present one clears the results. The model is seen, not owned.
    void setModel(const Model& model);
    const Model* getModel() const { return __model; }

    /// Throws UsageError when no model has been set.
    void run();
    void clear();

    int getNumVertices() const { return __numVertices; }
    int getNumContours() const { return __numContours; }
    double getArea() const { return __area; }
    double getVolume() const { return __volume; }

    /// Why there is no area, as a clause for a sentence; empty when there is one.
    const std::string& getReason() const { return __reason; }

    /// Radius of the sphere of the same volume.
    double getEquivRadius() const;

    /// Mean of all vertices.
    const Vector<double>& getIsobarycenter() const { return __isobarycenter; }

    /// Standard deviations of the vertices along the main axes, largest first.
    const Vector<double>& getMainAxesLengths() const { return __mainAxesLengths; }

    /// One main axis in each column.
    const SquareMatrix<double>& getMainAxes() const { return __mainAxes; }

    /// For each main axis the coordinate axis (0, 1, 2) along which its component is largest.
    const Vector<int>& getMatchingCoordinateAxes() const { return __matchingCoordinateAxes; }

    /// True when the stack is not branching.
    bool simpleCurveStack(const CurveStack<double>& stack) const;

private:
    const Model* __model = nullptr;
    int __numVertices = 0;
    int __numContours = 0;
    Vector<double> __isobarycenter;
    double __area = 0;
    double __volume = 0;
    std::string __reason;
    Vector<double> __mainAxesLengths;
    SquareMatrix<double> __mainAxes;
    Vector<int> __matchingCoordinateAxes;
};

} // namespace vorlen
