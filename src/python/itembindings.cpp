#include <cmath>
#include <optional>

#include <pybind11/stl.h>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/operations/contouroperations.h"
#include "editing/operations/itemoperations.h"
#include "editing/operations/modeloperations.h"
#include "editing/operations/outlineediting.h"
#include "editing/operations/sliceoperations.h"
#include "editing/operations/vertexoperations.h"
#include "images/rasters/image.h"
#include "python/errors.h"
#include "python/outlinearrays.h"
#include "python/stackhandle.h"
#include "reconstruction/stackreconstruction.h"

namespace py = pybind11;

namespace vorlen {

namespace {

std::vector<ItemHandle> itemsOf(const std::shared_ptr<StackHandle>& handle, ModelItemOwner& owner) {
    std::vector<ItemHandle> items;
    items.reserve(std::size_t(owner.getNumItems()));
    for (int i = 0; i < owner.getNumItems(); ++i)
        items.emplace_back(handle, owner.getItem(i));
    return items;
}

void requireSameStack(const StackHandle& first, const StackHandle& second) {
    if (&first != &second)
        fail("Slice and model are of different stacks");
}

/// The item of the model on the slice that was listed last.
ItemHandle addItem(const ModelHandle& model, const SliceHandle& slice, const Doubles& vertices) {
    requireSameStack(model.handle(), slice.handle());
    Model& own = model.get();
    StackSlice& there = slice.get();
    const ItemVertices made = itemVerticesOf(vertices);
    model.handle().edit([&](VRLStack& stack) { return createItem(stack, there, own, made); });
    for (int i = there.getNumItems() - 1; i >= 0; --i)
        if (there.getItem(i).getModel() == &own)
            return {model.shared(), there.getItem(i)};
    fail("The item was not made");
}

BrushStroke strokeOf(const StackSlice& slice, const Doubles& points, double radius) {
    BrushStroke stroke;
    stroke.points = outlineOf(points);
    stroke.radius = radius;
    const auto aspect = double(slice.getPixelCalibration().getAspectRatio());
    if (aspect > 0)
        stroke.aspect = aspect;
    return stroke;
}

void paint(const ModelHandle& model, const SliceHandle& slice, const Doubles& points, double radius, bool erase) {
    requireSameStack(model.handle(), slice.handle());
    Model& own = model.get();
    StackSlice& there = slice.get();
    const BrushStroke stroke = strokeOf(there, points, radius);
    model.handle().edit([&](VRLStack& stack) {
        return erase ? eraseOutline(stack, there, own, stroke) : paintOutline(stack, there, own, stroke);
    });
}

ItemVertex vertexOf(const std::pair<double, double>& point) {
    for (const double coordinate : {point.first, point.second})
        if (!(std::abs(coordinate) <= 1e9))
            fail("A point has a coordinate that is no number, or far beyond any place");
    return itemVertex({point.first, point.second});
}

int placeOf(const ModelItem& item, int index, int end) {
    const int place = index < 0 ? index + item.getSize() : index;
    if (place < 0 || place >= end)
        throw py::index_error("There is no vertex " + std::to_string(index) + ", only " +
                              std::to_string(item.getSize()));
    return place;
}

/// An edit of the item by a function of stack and item.
template <class Operation>
void edit(const ItemHandle& handle, Operation operation) {
    ModelItem& item = handle.get();
    handle.handle().edit([&](VRLStack& stack) { return operation(stack, item); });
}

py::array_t<double> worldOf(const ItemHandle& handle) {
    const ModelItem& item = handle.get();
    const Stack& stack = handle.handle().stack();
    requireSizes(stack);
    Vertices<double> there;
    StackReconstruction<double>(stack).map(there, item);
    std::vector<double> world;
    world.reserve(3 * std::size_t(there.getNumVertices()));
    for (int i = 0; i < there.getNumVertices(); ++i)
        world.insert(world.end(), there[i].begin(), there[i].end());
    return arrayOf(std::move(world), {py::ssize_t(there.getNumVertices()), 3});
}

py::array loadImage(const SliceHandle& handle) {
    const StackSlice& slice = handle.get();
    Image image;
    handle.handle().study([&] { slice.load(image); });
    return imageArray(image);
}

int indexOf(const SliceHandle& handle) {
    const StackSlice& slice = handle.get();
    return handle.handle().stack().findSlice(slice);
}

void setRegistration(const SliceHandle& handle, const std::tuple<double, double, double>& values) {
    StackSlice& slice = handle.get();
    SliceChange change;
    change.registration = Registration(std::get<0>(values), std::get<1>(values), float(std::get<2>(values)));
    handle.handle().edit([&](VRLStack& stack) { return changeSlice(stack, slice, change); });
}

std::tuple<double, double, double> registrationOf(const SliceHandle& handle) {
    const Registration& registration = handle.get().getRegistration();
    return {registration.getHorShift(), registration.getVerShift(), double(registration.getRotationAngle())};
}

void setSliceName(const SliceHandle& handle, const std::string& name) {
    StackSlice& slice = handle.get();
    SliceChange change;
    change.name = name;
    handle.handle().edit([&](VRLStack& stack) { return changeSlice(stack, slice, change); });
}

void setModelName(const ModelHandle& handle, const std::string& name) {
    Model& model = handle.get();
    handle.handle().edit([&](VRLStack& stack) { return renameModel(stack, model, name); });
}

/// What all parts have: equality, and whether they are still there.
template <class Class>
void bindPart(Class& bound) {
    using Part = typename Class::type;
    bound.def("__eq__", [](const Part& part, const Part& other) { return part == other; })
        .def("__eq__", [](const Part&, const py::object&) { return false; })
        .def("__hash__", &Part::hash)
        .def_property_readonly("gone", &Part::isGone, "Whether it has left its stack: then nothing else works.")
        .def_property_readonly("stack", &Part::shared);
}

void bindSlice(py::class_<SliceHandle>& bound) {
    bindPart(bound);
    bound.def("__repr__", [](const SliceHandle& handle) { return "<vorlen.Slice \"" + handle.get().getName() + "\">"; })
        .def_property(
            "name", [](const SliceHandle& handle) { return handle.get().getName(); }, &setSliceName)
        .def_property_readonly("index", &indexOf, "Its place in the stack, from 0.")
        .def_property_readonly(
            "position", [](const SliceHandle& handle) { return double(handle.get().getAbsolutePosition()); },
            "Along the cutting axis, in the stack's unit.")
        .def_property_readonly(
            "shape",
            [](const SliceHandle& handle) {
                const StackSlice& slice = handle.get();
                return std::pair(slice.height(), slice.width());
            },
            "Rows and columns.")
        .def_property_readonly(
            "pixel_size",
            [](const SliceHandle& handle) {
                const PixelCalibration& calibration = handle.get().getPixelCalibration();
                return std::pair(double(calibration.getPixelWidth()), double(calibration.getPixelHeight()));
            },
            "Width and height of a pixel, in the stack's unit.")
        .def_property("registration", &registrationOf, &setRegistration,
                      "How it lies on the slice before: (shift of columns, shift of rows, degrees), in pixels.")
        .def_property_readonly("items",
                               [](const SliceHandle& handle) { return itemsOf(handle.shared(), handle.get()); })
        .def("image", &loadImage,
             "The pixels: rows x columns of uint8, uint16 or float32, with a last axis of 3 or 4 for colours.");
}

void bindModel(py::class_<ModelHandle>& bound) {
    bindPart(bound);
    bound.def("__repr__", [](const ModelHandle& handle) { return "<vorlen.Model \"" + handle.get().getName() + "\">"; })
        .def_property(
            "name", [](const ModelHandle& handle) { return handle.get().getName(); }, &setModelName)
        .def_property_readonly(
            "geometry",
            [](const ModelHandle& handle) {
                const ModelProperties& properties = handle.get().getProperties();
                return ModelProperties::toString(properties.definesGeometry() ? properties.getGeometry()
                                                                              : UnknownPrimitive);
            },
            "Polygon, Polyline or Polypoint.")
        .def_property_readonly("items",
                               [](const ModelHandle& handle) { return itemsOf(handle.shared(), handle.get()); })
        .def("add_item", &addItem, py::arg("slice"), py::arg("vertices"),
             "An outline, or points, on the slice: N x 2 pixels (column, row). Points go to the item that the model\n"
             "has there, if it has one. Closed outlines become counter-clockwise.")
        .def(
            "paint",
            [](const ModelHandle& model, const SliceHandle& slice, const Doubles& points, double radius) {
                paint(model, slice, points, radius, false);
            },
            py::arg("slice"), py::arg("points"), py::kw_only(), py::arg("radius"),
            "Adds what a round brush covers along N x 2 points to the model's outlines on the slice; radius in pixels.")
        .def(
            "erase",
            [](const ModelHandle& model, const SliceHandle& slice, const Doubles& points, double radius) {
                paint(model, slice, points, radius, true);
            },
            py::arg("slice"), py::arg("points"), py::kw_only(), py::arg("radius"),
            "Takes what the brush covers out of the model's outlines on the slice.")
        .def("surface", &surfaceOf, py::kw_only(), py::arg("rows") = 0, py::arg("columns") = 0,
             py::arg("ends") = "model",
             "The surface through the outlines, in world coordinates. With rows and columns it is resampled to them.\n"
             "ends: model (as the model has it), open, flat, half (half a section on) or next (a tip on the next\n"
             "section).");
}

void bindItem(py::class_<ItemHandle>& bound) {
    bindPart(bound);
    bound
        .def("__repr__",
             [](const ItemHandle& handle) {
                 const ModelItem& item = handle.get();
                 return "<vorlen.Item of \"" + item.getModel()->getName() + "\" on \"" + item.getSlice()->getName() +
                        "\": " + std::to_string(item.getSize()) + " vertices>";
             })
        .def("__len__", [](const ItemHandle& handle) { return handle.get().getSize(); })
        .def_property_readonly(
            "model", [](const ItemHandle& handle) { return ModelHandle(handle.shared(), *handle.get().getModel()); })
        .def_property_readonly(
            "slice", [](const ItemHandle& handle) { return SliceHandle(handle.shared(), *handle.get().getSlice()); })
        .def_property(
            "vertices", [](const ItemHandle& handle) { return pixelsOf(handle.get().getVertices()); },
            [](const ItemHandle& handle, const Doubles& points) {
                const ItemVertices vertices = itemVerticesOf(points);
                edit(handle, [&](VRLStack& stack, ModelItem& item) { return changeVertices(stack, item, vertices); });
            },
            "N x 2 pixels (column, row). A copy: set it to change the item.")
        .def("world", &worldOf, "The vertices in space: N x 3, in the stack's unit.")
        .def(
            "delete", [](const ItemHandle& handle) { edit(handle, &deleteItem); }, "Takes the item out.")
        .def(
            "move_vertex",
            [](const ItemHandle& handle, int index, const std::pair<double, double>& point) {
                const int place = placeOf(handle.get(), index, handle.get().getSize());
                edit(handle,
                     [&](VRLStack& stack, ModelItem& item) { return moveVertex(stack, item, place, vertexOf(point)); });
            },
            py::arg("index"), py::arg("point"))
        .def(
            "insert_vertex",
            [](const ItemHandle& handle, int index, const std::pair<double, double>& point) {
                const int place = placeOf(handle.get(), index, handle.get().getSize() + 1);
                edit(handle, [&](VRLStack& stack, ModelItem& item) {
                    return insertVertex(stack, item, place, vertexOf(point));
                });
            },
            py::arg("index"), py::arg("point"), "In front of the vertex of this number, or at the end.")
        .def(
            "remove_vertex",
            [](const ItemHandle& handle, int index) {
                const int place = placeOf(handle.get(), index, handle.get().getSize());
                edit(handle, [&](VRLStack& stack, ModelItem& item) { return removeVertex(stack, item, place); });
            },
            py::arg("index"))
        .def(
            "resample",
            [](const ItemHandle& handle, int count) {
                edit(handle, [&](VRLStack& stack, ModelItem& item) { return resampleContour(stack, item, count); });
            },
            py::arg("count"), "Vertices at even distances along the closed outline, at most so many.")
        .def(
            "smooth",
            [](const ItemHandle& handle, int descriptors) {
                edit(handle, [&](VRLStack& stack, ModelItem& item) { return smoothContour(stack, item, descriptors); });
            },
            py::arg("descriptors"), "Keeps so many Fourier descriptors of the closed outline.");
}

} // namespace

void bindItems(py::module_& module) {
    py::class_<SliceHandle> slice(module, "Slice", "A section: an image at a place along the cutting axis.");
    py::class_<ModelHandle> model(module, "Model", "A structure: its outlines over the slices.");
    py::class_<ItemHandle> item(module, "Item", "An outline, or points, of a model on a slice.");
    bindSlice(slice);
    bindModel(model);
    bindItem(item);
}

} // namespace vorlen
