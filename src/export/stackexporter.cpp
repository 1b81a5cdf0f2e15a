#include "export/stackexporter.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <ostream>
#include <utility>

#include "document/model.h"
#include "document/stack.h"
#include "export/gltfwriter.h"
#include "export/surfacewriter.h"
#include "files/fileinfo.h"
#include "files/safestream.h"
#include "numerics/exception.h"
#include "reconstruction/modelsurface.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/quadmesh.h"
#include "shapes/trimesh.h"

namespace vorlen {

namespace {

const char* const where = "void StackExporter::export2AsciiSTL(...)";

using Mesh = std::unique_ptr<QuadMesh<float>>;
using Surface = std::unique_ptr<TriMesh<float>>;

/// A model's surface in space; null for a model that has none. The rows and columns that it is made of, where it is of
/// some, are shown to onMesh and then dropped, so that there are never two meshes beside each other. Throws
/// FileWriteError, with the file, for a mesh too large.
Surface surfaceOf(const Model& model, const StackReconstruction<float>& reconstruction,
                  const std::optional<SurfaceEnds>& wanted, bool resampled, const std::string& file,
                  const std::function<void(const QuadMesh<float>&)>& onMesh = nullptr) {
    if (model.getProperties().getGeometry() == PolypointPrimitive)
        return nullptr;
    const ModelSurface<float> contours(model, reconstruction);
    if (contours.isPath() || !contours.exists())
        return nullptr;
    const SurfaceEnds ends = wanted.value_or(ModelSurface<float>::getEnds(model.getProperties()));
    Surface surface;
    if (!resampled || !contours.isGrid()) {
        surface.reset(new TriMesh<float>(contours.closed(ends))); // in its place: a copy would take as much again
    } else {
        const ModelSurface<float>::MeshSize size = contours.getMeshSize(model.getProperties());
        if (size.isEmpty())
            return nullptr;
        if (size.exceeds(StackExporter::maxNumVertices))
            throw FileWriteError(where, "The mesh is to have too many vertices", file);
        Mesh mesh = contours.resample(static_cast<int>(size.rows), static_cast<int>(size.columns));
        if (onMesh)
            onMesh(*mesh);
        surface.reset(new TriMesh<float>(contours.close(std::move(mesh), ends)));
    }
    surface->setName(model.getName());
    return surface;
}

SurfaceDescription describe(const Model& model, const TriMesh<float>& surface, const std::string& unit) {
    SurfaceDescription description;
    description.name = model.getName();
    description.unit = unit;
    const ModelItemProperties& look = model.getItemProperties();
    for (int k = 0; look.definesColor() && k < 3; ++k)
        description.color[std::size_t(k)] = static_cast<unsigned char>(std::clamp(look.getColor()[k], 0, 255));
    if (model.getProperties().definesSurfaceOpacity())
        description.opacity = std::clamp(double(model.getProperties().getSurfaceOpacity()) / 255, 0.0, 1.0);
    description.certificate = SurfaceCertificate::of(surface);
    return description;
}

/// Directory and name of a model's files, without suffix. Throws FileWriteError.
std::string baseOf(const std::string& directory, const std::string& prefix, const std::string& name) {
    const std::string file = prefix.empty() ? name : prefix + "-" + name;
    const std::string base = (directory.empty() ? std::string() : directory + "/") + file;
    if (file.find('/') != std::string::npos)
        throw FileWriteError(where, "The name of the stack or of the model holds a \"/\"", base);
    return base;
}

void save(const std::string& file, const std::function<void(std::ostream&)>& work) {
    try {
        if (!saveStreamed(file, work))
            throw FileWriteError(where, "The file cannot be opened for writing", file);
    } catch (FileError& error) {
        error.setFile(file);
        throw;
    }
}

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
    const std::string base = baseOf(directory, prefix, model.getName());
    const std::string stlName = base + ".stl", meshName = base + ".qm";
    if (!overwrite)
        FileInfo::requireFree(stlName, where, stlName + " : file exists");
    const Surface surface = surfaceOf(model, reconstruction, __ends, true, stlName, [&](const QuadMesh<float>& mesh) {
        if (!overwrite)
            FileInfo::requireFree(meshName, where, meshName + " : file exists");
        mesh.save(meshName, overwrite);
    });
    if (!surface)
        return std::nullopt;
    const SurfaceDescription description = describe(model, *surface, "");
    save(stlName, [&](std::ostream& stream) { writeSurface(stream, *surface, description, SurfaceFormat::StlAscii); });
    return description.certificate;
}

std::optional<SurfaceCertificate>
StackExporter::exportModel(const Model& model, StackReconstruction<float>& reconstruction, const std::string& directory,
                           const std::string& prefix, SurfaceFormat format, const std::string& unit, bool overwrite) {
    if (model.getProperties().getGeometry() == PolypointPrimitive)
        return std::nullopt;
    const std::string base = baseOf(directory, prefix, model.getName());
    const std::string name = base + "." + std::string(infoOf(format).suffix), materials = base + ".mtl";
    const bool hasMaterials = format == SurfaceFormat::Obj;
    if (!overwrite)
        FileInfo::requireFree(name, where, name + " : file exists");
    const Surface surface = surfaceOf(model, reconstruction, __ends, __resampled, name);
    if (!surface)
        return std::nullopt;
    if (!overwrite && hasMaterials)
        FileInfo::requireFree(materials, where, materials + " : file exists");
    const SurfaceDescription description = describe(model, *surface, unit);
    if (hasMaterials)
        save(materials, [&](std::ostream& stream) { writeMaterial(stream, description); });
    save(name, [&](std::ostream& stream) {
        writeSurface(stream, *surface, description, format, hasMaterials ? FileInfo::fileName(materials) : "");
    });
    return description.certificate;
}

void StackExporter::exportStack(const Stack& stack, const std::string& directory, SurfaceFormat format,
                                bool overwrite) {
    StackReconstruction<float> reconstruction(stack);
    const std::string unit = stack.getLengthUnit().symbol();
    if (format != SurfaceFormat::Glb) {
        for (int i = 0; i < stack.getNumModels(); ++i)
            exportModel(stack.getModel(i), reconstruction, directory, stack.getName(), format, unit, overwrite);
        return;
    }
    const std::string name = baseOf(directory, "", stack.getName().empty() ? "stack" : stack.getName()) + ".glb";
    if (!overwrite)
        FileInfo::requireFree(name, where, name + " : file exists");
    save(name, [&](std::ostream& stream) {
        GltfWriter writer(stream, std::size_t(stack.getNumModels()));
        for (int i = 0; i < stack.getNumModels(); ++i)
            addTo(writer, stack.getModel(i), reconstruction, unit);
        writer.finish();
    });
}

std::optional<SurfaceCertificate> StackExporter::addTo(GltfWriter& writer, const Model& model,
                                                       StackReconstruction<float>& reconstruction,
                                                       const std::string& unit) {
    const Surface surface = surfaceOf(model, reconstruction, __ends, __resampled, model.getName());
    if (!surface)
        return std::nullopt;
    const SurfaceDescription description = describe(model, *surface, unit);
    writer.add(*surface, description);
    return description.certificate;
}

} // namespace vorlen
