#pragma once

#include <optional>
#include <string>

#include "reconstruction/surfaceends.h"
#include "shapes/surfacecertificate.h"

namespace vorlen {

class Model;
class Stack;
template <class T>
class StackReconstruction;

/// Writes the models of a stack as surfaces: an ASCII STL file and the quadrangular mesh it was made of, "qm", each.
///
/// The STL file holds a closed surface that faces outward, with the ends that the model asks for (ModelSurface), or
/// those of setEnds(); the mesh file, and an open model, end at the first and the last contour.
///
/// A branching model, which has no rows and columns, gets the STL file alone, through its contours' own vertices.
///
/// Files are named by the directory, the prefix with a "-" if it is not empty, and the model's name. A model of points
/// and a model without items have no such surface and are skipped without a word, and so is one that is to be resampled
/// to no vertices. Two models of one name would get one file: with overwrite the second replaces the
/// first. A name with a "/" would lead to another directory and is refused with FileWriteError. So is a mesh that asks
/// for more than maxNumVertices.
class StackExporter {
public:
    StackExporter() = default;

    /// The ends of all closed surfaces, whatever the models ask for.
    void setEnds(const SurfaceEnds& ends) { __ends = ends; }

    /// Exports the models in order, with the stack's name as prefix. A failure ends the export; what was written stays.
    void export2AsciiSTL(const Stack& stack, const std::string& directory, bool overwrite);

    /// Exports one model of the reconstruction's stack. The mesh has as many columns as the model's quad mesh width and
    /// as many rows as its quad mesh height, but one row for a model of one item. An empty directory stands for the
    /// current one. Throws FileWriteError when a file exists and overwrite is false, before anything is written, and
    /// when a file cannot be written; the old file is whole then. What was written of the model, or nothing.
    std::optional<SurfaceCertificate> export2AsciiSTL(const Model& model, StackReconstruction<float>& reconstruction,
                                                      const std::string& directory, const std::string& prefix,
                                                      bool overwrite);

    static constexpr long long maxNumVertices = 100000000;

private:
    std::optional<SurfaceEnds> __ends;
};

} // namespace vorlen
