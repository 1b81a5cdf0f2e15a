#include <array>
#include <fstream>
#include <sstream>

#include <pybind11/stl.h>

#include "document/model.h"
#include "files/safefile.h"
#include "python/arrays.h"
#include "python/errors.h"
#include "python/stackhandle.h"
#include "reconstruction/modelsurface.h"
#include "reconstruction/stackreconstruction.h"
#include "shapes/quadmesh.h"
#include "shapes/surfacecertificate.h"
#include "shapes/trimesh.h"

namespace py = pybind11;

namespace vorlen {

namespace {

/// A surface that Python holds, with its numbers in rows so that arrays see them in place.
struct PythonSurface {
    TriMesh<double> mesh;
    std::vector<double> vertices;
    std::vector<std::uint32_t> faces;
    SurfaceCertificate certificate;

    void fill() {
        vertices.reserve(3 * std::size_t(mesh.getNumVertices()));
        for (int i = 0; i < mesh.getNumVertices(); ++i)
            vertices.insert(vertices.end(), mesh[i].begin(), mesh[i].end());
        faces.reserve(3 * std::size_t(mesh.getNumTriangles()));
        for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i) {
            const Vector<unsigned int>& corners = mesh.getTriangleIndexes(i);
            faces.insert(faces.end(), corners.begin(), corners.end());
        }
        certificate = SurfaceCertificate::of(mesh);
    }
};

SurfaceEnds endsOf(const std::string& word, const ModelProperties& properties) {
    const std::array<std::pair<const char*, SurfaceEnd>, 4> ends = {{{"open", SurfaceEnd::Open},
                                                                     {"flat", SurfaceEnd::Flat},
                                                                     {"half", SurfaceEnd::HalfSection},
                                                                     {"next", SurfaceEnd::NextSection}}};
    if (word == "model")
        return ModelSurface<double>::getEnds(properties);
    for (const auto& [name, end] : ends)
        if (word == name)
            return {end, end};
    fail("Ends are model, open, flat, half or next, not '" + word + "'");
}

TriMesh<double> meshOf(const ModelSurface<double>& surface, int rows, int columns, const SurfaceEnds& ends) {
    if (rows > 0)
        return surface.close(*surface.resample(rows, columns), ends);
    return surface.closed(ends);
}

void save(const PythonSurface& surface, const std::string& file, const std::string& name) {
    const bool isStl = file.size() > 4 && file.compare(file.size() - 4, 4, ".stl") == 0;
    const bool isTm = file.size() > 3 && file.compare(file.size() - 3, 3, ".tm") == 0;
    if (!isStl && !isTm)
        failOnFile(file, "A surface is saved as .stl or .tm");
    const py::gil_scoped_release released;
    std::ostringstream text;
    if (isTm) {
        surface.mesh.save(file, true);
        return;
    }
    surface.mesh.export2AsciiSTL(text, name);
    if (!SafeFile::save(file, text.str())) {
        const py::gil_scoped_acquire locked;
        failOnFile(file, "Cannot open file for writing");
    }
}

} // namespace

py::object surfaceOf(const ModelHandle& model, int rows, int columns, const std::string& ends) {
    constexpr int most = 1 << 22; // vertices
    const Model& own = model.get();
    const Stack& stack = model.handle().stack();
    requireSizes(stack);
    if (rows < 0 || columns < 0 || (rows > 0) != (columns > 0) || (rows > 0 && columns > most / rows))
        fail("Rows and columns of a mesh are given together, above 0, and for at most 4 million vertices");
    const SurfaceEnds wanted = endsOf(ends, own.getProperties());
    auto made = std::make_unique<PythonSurface>();
    model.handle().study([&] {
        const StackReconstruction<double> reconstruction(stack);
        const ModelSurface<double> surface(own, reconstruction);
        made->mesh = meshOf(surface, rows, columns, wanted);
        made->fill();
    });
    return py::cast(std::move(made));
}

void bindSurfaces(py::module_& module) {
    py::class_<PythonSurface>(module, "Surface", "A surface of triangles in world coordinates.")
        .def(
            "__repr__",
            [](const PythonSurface& surface) {
                return "<vorlen.Surface: " + std::to_string(surface.vertices.size() / 3) + " vertices, " +
                       std::to_string(surface.faces.size() / 3) + " faces, " + surface.certificate.toText() + ">";
            })
        .def_property_readonly(
            "vertices",
            [](const py::object& self) {
                const auto& surface = self.cast<const PythonSurface&>();
                return viewOf(surface.vertices, {py::ssize_t(surface.vertices.size() / 3), 3}, self);
            },
            "M x 3 float64, X, Y and Z in the stack's unit; seen in place, not to be written.")
        .def_property_readonly(
            "faces",
            [](const py::object& self) {
                const auto& surface = self.cast<const PythonSurface&>();
                return viewOf(surface.faces, {py::ssize_t(surface.faces.size() / 3), 3}, self);
            },
            "K x 3 uint32, numbers of vertices, counter-clockwise as seen from outside; not to be written.")
        .def_property_readonly(
            "certificate", [](const PythonSurface& surface) { return certificateOf(&surface.certificate); },
            "What holds of it: closed, oriented, outward, manifold, parts, eulerNumber, genus (or None), volume.")
        .def_property_readonly(
            "area", [](const PythonSurface& surface) { return surface.mesh.area(); }, "In the square of the unit.")
        .def_property_readonly(
            "volume",
            [](const PythonSurface& surface) {
                if (!surface.certificate.closed || !surface.certificate.oriented)
                    fail("The surface is not closed: it encloses no volume");
                return surface.certificate.volume;
            },
            "In the cube of the unit.")
        .def("save", &save, py::arg("path"), py::kw_only(), py::arg("name") = "surface",
             "Writes a file that ends with .stl or .tm, in place of an old one when it is complete.");
}

} // namespace vorlen
