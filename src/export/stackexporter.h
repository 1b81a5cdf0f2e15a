#pragma once

#include <optional>
#include <string>

#include "export/surfaceformat.h"
#include "reconstruction/surfaceends.h"
#include "shapes/surfacecertificate.h"

namespace vorlen {

class GltfWriter;
class Model;
class Stack;
template <class T>
class StackReconstruction;

/// Writes the models of a stack as surfaces: a file for each in one of the formats, or one file for all as glTF; or, as
/// the older way has it, an ASCII STL file and the quadrangular mesh it was made of, "qm", each.
///
/// A surface is closed and faces outward, with the ends that the model asks for (ModelSurface), or those of setEnds();
/// the mesh file, and an open model, end at the first and the last contour.
///
/// The surfaces of the formats go through the contours' own vertices, as those that are measured do, unless they are to
/// be resampled to the rows and columns that the models ask for, which rounds corners and loses some tenths of a
/// percent of volume. The older way always resamples. A branching model has no rows and columns, and gets the STL file
/// alone.
///
/// Files are named by the directory, the prefix with a "-" if it is not empty, and the model's name. A model of points,
/// a path, and a model without items have no such surface and are skipped without a word, and so is one that is to be
/// resampled to no vertices. Two models of one name would get one file: with overwrite the second replaces the first. A
/// name with a "/" would lead to another directory and is refused with FileWriteError. So is a mesh that asks for more
/// than maxNumVertices.
///
/// Files are written surface by surface and piece by piece: what is held is one mesh and its certificate.
class StackExporter {
public:
    StackExporter() = default;

    /// The ends of all closed surfaces, whatever the models ask for.
    void setEnds(const SurfaceEnds& ends) { __ends = ends; }

    /// Lets the surfaces of the formats be resampled to the models' rows and columns.
    void setResampled(bool resampled) { __resampled = resampled; }

    /// Exports the models in order, with the stack's name as prefix. A failure ends the export; what was written stays.
    void export2AsciiSTL(const Stack& stack, const std::string& directory, bool overwrite);

    /// Exports one model of the reconstruction's stack. The mesh has as many columns as the model's quad mesh width and
    /// as many rows as its quad mesh height, but one row for a model of one item. An empty directory stands for the
    /// current one. Throws FileWriteError when a file exists and overwrite is false, before anything is written, and
    /// when a file cannot be written; the old file is whole then. What was written of the model, or nothing.
    std::optional<SurfaceCertificate> export2AsciiSTL(const Model& model, StackReconstruction<float>& reconstruction,
                                                      const std::string& directory, const std::string& prefix,
                                                      bool overwrite);

    /// The same for a surface in one of the formats but glTF, without a mesh file; an OBJ file has its materials beside
    /// it (".mtl"). The unit is that of the stack's coordinates.
    std::optional<SurfaceCertificate> exportModel(const Model& model, StackReconstruction<float>& reconstruction,
                                                  const std::string& directory, const std::string& prefix,
                                                  SurfaceFormat format, const std::string& unit, bool overwrite);

    /// The models of a stack in one format, as the operations above do for each; all in one file for glTF, which has
    /// the stack's name, or "stack" without one.
    void exportStack(const Stack& stack, const std::string& directory, SurfaceFormat format, bool overwrite);

    /// Hands a model's surface to the writer of a glTF file, if it has one.
    std::optional<SurfaceCertificate> addTo(GltfWriter& writer, const Model& model,
                                            StackReconstruction<float>& reconstruction, const std::string& unit);

    static constexpr long long maxNumVertices = 100000000;

private:
    std::optional<SurfaceEnds> __ends;
    bool __resampled = false;
};

} // namespace vorlen
