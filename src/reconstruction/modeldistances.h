#pragma once

#include <memory>
#include <string>
#include <vector>

#include "progress/progresssubject.h"
#include "shapes/surfacedistances.h"

namespace vorlen {

class MeshDistance;
class Stack;

/// How far the surfaces of a stack's models lie from each other, in world coordinates.
///
/// Keeps the surfaces as they were when it was made; the stack is not needed afterwards. Closed outlines have the
/// closed surface that exports have, half a section beyond its outermost contours; open lines one that ends with its
/// lines. Outlines are taken as drawn. Who measures many pairs tells how far that is, and looks whether to go on.
class ModelDistances : public ProgressSubject {
public:
    /// A model without a surface, and why, as a clause for a sentence.
    struct LeftOut {
        std::string model, reason;
    };

    explicit ModelDistances(const Stack& stack);
    ~ModelDistances() override;

    /// Models that have a surface, in the order of the stack.
    int getNumSurfaces() const { return int(__surfaces.size()); }
    const std::string& getName(int surface) const;
    bool isClosed(int surface) const;

    /// Those that have none, in the order of the stack.
    const std::vector<LeftOut>& getLeftOut() const { return __leftOut; }

    /// Symbol of the stack's length unit.
    const std::string& getUnit() const { return __unit; }

    /// Distances of two of the surfaces. Throws RangeError when there is no such surface.
    SurfaceDistances measure(int first, int second) const;

private:
    struct Surface;

    const Surface& surface(int place) const;

    std::vector<std::unique_ptr<Surface>> __surfaces;
    std::vector<LeftOut> __leftOut;
    std::string __unit;
};

} // namespace vorlen
