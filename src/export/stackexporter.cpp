#include "export/stackexporter.h"

#include <locale>
#include <memory>
#include <sstream>

#include "document/model.h"
#include "document/stack.h"
#include "files/fileinfo.h"
#include "files/safefile.h"
#include "numerics/exception.h"
#include "reconstruction/modelsurface.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/quadmesh.h"
#include "shapes/trimesh.h"

namespace vorlen {

namespace {

const char* const where = "void StackExporter::export2AsciiSTL(...)";

} // namespace

void StackExporter::export2AsciiSTL(const Stack& stack, const std::string& directory, bool overwrite) {
    StackReconstruction<float> reconstruction(stack);
    for (int i = 0; i < stack.getNumModels(); ++i)
        export2AsciiSTL(stack.getModel(i), reconstruction, directory, stack.getName(), overwrite);
}

std::optional<SurfaceCertificate> StackExporter::export2AsciiSTL(const Model& model,
                                                                 StackReconstruction<float>& reconstruction,
                                                                 const std::string& directory,
                                                                 const std::string& prefix, bool overwrite) {
    if (model.getProperties().getGeometry() == PolypointPrimitive)
        return std::nullopt;
    const std::string file = (prefix.empty() ? std::string() : prefix + "-") + model.getName();
    const std::string base = (directory.empty() ? std::string() : directory + "/") + file;
    const std::string stlName = base + ".stl", meshName = base + ".qm";
    if (file.find('/') != std::string::npos)
        throw FileWriteError(where, "The name of the stack or of the model holds a \"/\"", stlName);
    if (!overwrite)
        FileInfo::requireFree(stlName, where, stlName + " : file exists");

    const ModelSurface<float> contours(model, reconstruction);
    const SurfaceEnds ends = __ends.value_or(ModelSurface<float>::getEnds(model.getProperties()));
    const auto write = [&](TriMesh<float>& surface) {
        surface.setName(model.getName());
        std::ostringstream text;
        text.imbue(std::locale::classic());
        surface.export2AsciiSTL(text);
        if (!SafeFile::save(stlName, text.str()))
            throw FileWriteError(where, "The file cannot be opened for writing", stlName);
        return SurfaceCertificate::of(surface);
    };
    if (contours.exists() && !contours.isGrid()) {
        TriMesh<float> surface = contours.closed(ends);
        return write(surface);
    }
    const ModelSurface<float>::MeshSize size = contours.getMeshSize(model.getProperties());
    if (!contours.exists() || size.isEmpty())
        return std::nullopt;
    if (size.exceeds(maxNumVertices))
        throw FileWriteError(where, "The mesh is to have too many vertices", stlName);
    if (!overwrite)
        FileInfo::requireFree(meshName, where, meshName + " : file exists");

    const std::unique_ptr<QuadMesh<float>> mesh =
        contours.resample(static_cast<int>(size.rows), static_cast<int>(size.columns));
    TriMesh<float> surface = contours.close(*mesh, ends);
    mesh->save(meshName, overwrite);
    return write(surface);
}

} // namespace vorlen
