#include "export/stackexporter.h"

#include <locale>
#include <memory>
#include <sstream>

#include "document/model.h"
#include "document/stack.h"
#include "files/fileinfo.h"
#include "files/safefile.h"
#include "numerics/exception.h"
#include "reconstruction/emptylevels.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/curvestack.h"
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

void StackExporter::export2AsciiSTL(const Model& model, StackReconstruction<float>& reconstruction,
                                    const std::string& directory, const std::string& prefix, bool overwrite) {
    const ModelProperties& properties = model.getProperties();
    if (properties.getGeometry() == PolypointPrimitive)
        return;
    const std::string file = (prefix.empty() ? std::string() : prefix + "-") + model.getName();
    const std::string base = (directory.empty() ? std::string() : directory + "/") + file;
    const std::string stlName = base + ".stl", meshName = base + ".qm";
    if (file.find('/') != std::string::npos)
        throw FileWriteError(where, "The name of the stack or of the model holds a \"/\"", stlName);
    if (!overwrite)
        FileInfo::requireFree(stlName, where, stlName + " : file exists");

    const std::unique_ptr<Shape<float>> shape = reconstruction.apply(model);
    auto* curves = dynamic_cast<CurveStack<float>*>(shape.get());
    if (curves == nullptr)
        return;
    removeEmptyLevels(*curves);
    if (curves->getHeight() == 0 || curves->isBranching())
        return;
    const long long rows = curves->getHeight() > 1 ? properties.getQuadMeshHeight() : 1;
    const long long columns = properties.getQuadMeshWidth();
    if (rows == 0 || columns == 0)
        return;
    if (rows > maxNumVertices || columns > maxNumVertices || rows * columns > maxNumVertices)
        throw FileWriteError(where, "The mesh is to have too many vertices", stlName);
    if (!overwrite)
        FileInfo::requireFree(meshName, where, meshName + " : file exists");

    QuadMesh<float> mesh(3, static_cast<int>(rows), static_cast<int>(columns), 0, 0, curves->isOpen());
    curves->resample(mesh);
    TriMesh<float> surface = mesh.toTriMesh(false);
    surface.setName(model.getName());
    std::ostringstream text;
    text.imbue(std::locale::classic());
    surface.export2AsciiSTL(text);
    mesh.save(meshName, overwrite);
    if (!SafeFile::save(stlName, text.str()))
        throw FileWriteError(where, "The file cannot be opened for writing", stlName);
}

} // namespace vorlen
