#pragma once

#include <memory>
#include <vector>

#include "numerics/vector.h"
#include "reconstruction/modelitemanalysis.h"
#include "shapes/vertices.h"

namespace vorlen {

/// Measures one item in its own slice, in the slice's calibrated coordinates; the registration does not enter. An
/// object keeps its memory from item to item.
class ModelItemGeometry : public ModelItemAnalysis {
public:
    ModelItemGeometry();

    void clear() override;

    /// Throws UsageError when no item has been set or the item is on no slice or of no model.
    void run() override;
    /// The same where the position of the item's slice is known: asking the slice walks along its stack.
    void run(double position);

    /// Number of vertices; 0 before run().
    int getNumVertices() const;

    /// The vertices in slice coordinates (column times pixel width, row times pixel height), space 2: a curve, or plain
    /// vertices for points. Throws UsageError before run().
    const Vertices<double>& getVertices() const;

    /// Mean of the vertices, with the slice's absolute position as third coordinate. Zero for an item without vertices.
    const Vector<double>& getIsobarycenter() const { return __isobarycenter; }

    /// Perimeter of a polygon, length of a polyline, 0 for points.
    double getLength() const { return __length; }

    /// The same without the steps of the pixel grid (withoutPixelSteps()).
    double getLengthWithoutSteps() const { return __lengthWithoutSteps; }

    /// Area that a polygon encloses, by even-odd rule where it crosses itself; positive when it turns from the column
    /// axis towards the row axis on the whole. 0 otherwise.
    double getArea() const { return __area; }

private:
    void findCentre(double position);

    bool __isDone = false;
    bool __isConnected = false, __isClosed = false;
    std::vector<double> __places;                         // x and y of the vertices in slice coordinates
    std::vector<double> __pixels, __smooth;               // working memory
    mutable std::unique_ptr<Vertices<double>> __vertices; // made when they are asked for
    Vector<double> __isobarycenter;
    double __length = 0;
    double __lengthWithoutSteps = 0;
    double __area = 0;
};

} // namespace vorlen
