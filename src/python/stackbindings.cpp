#include <cmath>
#include <fstream>
#include <optional>

#include <pybind11/stl.h>

#include "document/model.h"
#include "document/stackreader.h"
#include "document/stackslice.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/modeloperations.h"
#include "editing/operations/slicealignment.h"
#include "editing/operations/sliceoperations.h"
#include "editing/operations/stackoperations.h"
#include "images/files/imagereader.h"
#include "images/rasters/image.h"
#include "images/volumes/voxelmatrix.h"
#include "progress/progresssubject.h"
#include "python/arrays.h"
#include "python/errors.h"
#include "python/outlinearrays.h"
#include "python/stackhandle.h"
#include "reconstruction/stackreconstruction.h"
#include "values/lengthunit.h"

namespace py = pybind11;

namespace vorlen {

namespace {

using Handle = std::shared_ptr<StackHandle>;
using Triple = std::tuple<double, double, double>;

LengthUnit unitOf(const std::string& word) {
    const std::vector<std::string> symbols = LengthUnit::availableSymbols();
    const std::string wanted = word == "um" ? "\302\265m" : word;
    for (std::size_t k = 0; k < symbols.size(); ++k)
        if (symbols[k] == wanted)
            return LengthUnit(LengthUnit::availableScales()[k]);
    std::string names;
    for (const std::string& symbol : symbols)
        names += (names.empty() ? "" : ", ") + symbol;
    fail("There is no length unit '" + word + "', only " + names + ", and um");
}

MPrimitive geometryOf(const std::string& word) {
    for (const MPrimitive geometry : {PolygonPrimitive, PolylinePrimitive, PolypointPrimitive})
        if (word == ModelProperties::toString(geometry))
            return geometry;
    fail("A geometry is Polygon, Polyline or Polypoint, not '" + word + "'");
}

Handle opened(const std::string& file, const py::object& progress) {
    auto stack = std::make_unique<VRLStack>();
    StackReader reader;
    bool good = false;
    watched(reader, progress, [&] { good = reader.read(*stack, file); });
    if (!good)
        failOnFile(file, "Cannot open file for reading");
    stack->setFilename(file);
    stack->fileGuard().note(file);
    if (!reader.isWhole())
        stack->setReadOnly("This stack is read-only, as its file was not read whole. Save it under another name to "
                           "work on it.");
    stack->setModified(false);
    return std::make_shared<StackHandle>(std::move(stack), reader.getMessages());
}

Handle newStack(const std::string& name, const std::vector<std::string>& images, double spacing,
                const std::pair<double, double>& pixelSize, const std::string& unit) {
    for (const double size : {spacing, pixelSize.first, pixelSize.second})
        if (!(size > 0) || !std::isfinite(size))
            fail("Spacing and pixel size are numbers above 0");
    NewStack description;
    description.name = name;
    description.sliceSpacing = spacing;
    description.calibration.setPixelWidth(float(pixelSize.first));
    description.calibration.setPixelHeight(float(pixelSize.second));
    description.calibration.setLengthUnit(unitOf(unit));
    description.calibration.compute();
    description.images = images;
    std::vector<UnreadableImage> unreadable;
    std::unique_ptr<VRLStack> stack = makeStack(description, unreadable);
    if (!unreadable.empty())
        failOnFile(unreadable.front().file, unreadable.front().reason);
    if (stack == nullptr)
        fail("A stack needs images");
    return std::make_shared<StackHandle>(std::move(stack));
}

void save(StackHandle& handle, const std::optional<std::string>& file) {
    VRLStack& stack = handle.stack();
    const std::string target = file.value_or(stack.getFilename());
    if (target.empty())
        fail("This stack was never saved: name a file");
    if (stack.isReadOnly() && target == stack.getFilename())
        fail("This stack is read-only, as its file was not read whole. Save it under another name.");
    if (target == stack.getFilename() && stack.fileGuard().isChanged(target))
        failOnFile(target,
                   "The file has been changed by somebody else since it was opened. Save it under another name, "
                   "or open it again.");
    if (!stack.write(target))
        failOnFile(target, "Cannot open file for writing");
}

int placeOf(const Stack& stack, const py::object& slice) {
    if (py::isinstance<SliceHandle>(slice)) {
        const int place = stack.findSlice(slice.cast<const SliceHandle&>().get());
        if (place >= 0)
            return place;
        fail("The slice is not in this stack");
    }
    if (py::isinstance<py::str>(slice)) {
        const int place = stack.findSlice(slice.cast<std::string>());
        if (place < 0)
            throw py::key_error("There is no slice \"" + slice.cast<std::string>() + "\"");
        return place;
    }
    const int n = stack.getNumSlices();
    const auto index = slice.cast<long long>();
    const long long place = index < 0 ? index + n : index;
    if (place < 0 || place >= n)
        throw py::index_error("There is no slice " + std::to_string(index) + ", only " + std::to_string(n));
    return int(place);
}

SliceHandle sliceOf(const Handle& handle, const py::object& which) {
    VRLStack& stack = handle->stack();
    return {handle, stack.getSlice(placeOf(stack, which))};
}

ModelHandle modelOf(const Handle& handle, const std::string& name) {
    VRLStack& stack = handle->stack();
    const int place = stack.findModel(name);
    if (place < 0)
        throw py::key_error("There is no model \"" + name + "\"");
    return {handle, stack.getModel(place)};
}

std::vector<SliceHandle> slicesOf(const Handle& handle) {
    VRLStack& stack = handle->stack();
    std::vector<SliceHandle> slices;
    slices.reserve(std::size_t(stack.getNumSlices()));
    for (int i = 0; i < stack.getNumSlices(); ++i)
        slices.emplace_back(handle, stack.getSlice(i));
    return slices;
}

std::vector<ModelHandle> modelsOf(const Handle& handle) {
    VRLStack& stack = handle->stack();
    std::vector<ModelHandle> models;
    models.reserve(std::size_t(stack.getNumModels()));
    for (int i = 0; i < stack.getNumModels(); ++i)
        models.emplace_back(handle, stack.getModel(i));
    return models;
}

ModelHandle addModel(const Handle& handle, const std::string& name, const std::string& geometry,
                     const std::optional<std::tuple<int, int, int>>& color) {
    ModelChange change;
    change.name = name;
    change.properties.setGeometry(geometryOf(geometry));
    if (color) {
        const auto [red, green, blue] = *color;
        for (const int part : {red, green, blue})
            if (part < 0 || part > 255)
                fail("A colour is red, green and blue from 0 to 255");
        change.itemProperties.setColor(red, green, blue);
    }
    handle->edit([&](VRLStack& stack) { return createModel(stack, change); });
    return modelOf(handle, name);
}

void deleteModel(StackHandle& handle, const ModelHandle& model) {
    if (&model.handle() != &handle)
        fail("The model is not in this stack");
    Model& own = model.get();
    handle.edit([&](VRLStack& stack) { return deleteModels(stack, {&own}); });
}

bool undo(StackHandle& handle) {
    const bool can = handle.stack().history()->isUndoable();
    handle.edit([](VRLStack& stack) {
        stack.history()->undo();
        return Outcome::done();
    });
    return can;
}

bool redo(StackHandle& handle) {
    const bool can = handle.stack().history()->isRedoable();
    handle.edit([](VRLStack& stack) {
        stack.history()->redo();
        return Outcome::done();
    });
    return can;
}

py::array_t<float> volumeOf(StackHandle& handle, const std::string& channel) {
    const std::vector<std::pair<std::string, ImageColorContent>> channels = {
        {"grey", GrayContent}, {"red", RedContent}, {"green", GreenContent}, {"blue", BlueContent}};
    ImageColorContent content = UndefinedContent;
    for (const auto& [word, value] : channels)
        if (word == channel)
            content = value;
    if (content == UndefinedContent)
        fail("A channel is grey, red, green or blue, not '" + channel + "'");
    const Stack& stack = handle.stack();
    std::vector<float> values;
    py::ssize_t planes = 0, rows = 0, columns = 0;
    handle.study([&] {
        const VoxelMatrix<float> volume = stack.toVoxelMatrix<float>(content);
        planes = volume.getSize3();
        rows = volume.getSize1();
        columns = volume.getSize2();
        values.reserve(std::size_t(planes) * std::size_t(rows) * std::size_t(columns));
        for (int k = 0; k < int(planes); ++k)
            for (int i = 0; i < int(rows); ++i)
                values.insert(values.end(), volume[k][i].begin(), volume[k][i].end());
    });
    return arrayOf(std::move(values), {planes, rows, columns});
}

py::array_t<double> toWorld(StackHandle& handle, const py::object& slice, const Doubles& points) {
    const Stack& stack = handle.stack();
    requireSizes(stack);
    const int place = placeOf(stack, slice);
    const StackReconstruction<double> reconstruction(stack);
    std::vector<double> world;
    const Outline outline = outlineOf(points);
    world.reserve(3 * outline.size());
    for (const OutlinePoint& point : outline) {
        const Vector<double> there = reconstruction.toWorld(place, point.x, point.y);
        world.insert(world.end(), {there[0], there[1], reconstruction.getZMap()[place]});
    }
    const auto n = py::ssize_t(outline.size());
    return arrayOf(std::move(world), {n, 3});
}

AlignmentOptions alignmentOptions(const Stack& stack, const std::string& method, const py::object& reference,
                                  const std::vector<py::object>& locked) {
    AlignmentOptions options;
    const std::vector<std::pair<std::string, AlignmentMethod>> methods = {
        {"auto", AlignmentMethod::Auto},
        {"features", AlignmentMethod::Features},
        {"intensity", AlignmentMethod::Intensity},
        {"mutual-information", AlignmentMethod::MutualInformation},
        {"principal-axes", AlignmentMethod::PrincipalAxes}};
    bool known = false;
    for (const auto& [word, value] : methods)
        if (word == method) {
            options.method = value;
            known = true;
        }
    if (!known)
        fail("A method is auto, features, intensity, mutual-information or principal-axes, not '" + method + "'");
    const std::string word = py::isinstance<py::str>(reference) ? reference.cast<std::string>() : "";
    if (word == "neighbours")
        options.reference = AlignmentReference::Neighbours;
    else if (word == "template")
        options.reference = AlignmentReference::Template;
    else if (word == "path")
        options.reference = AlignmentReference::SmoothedPath;
    else {
        options.reference = AlignmentReference::FixedSlice;
        options.fixedSlice = placeOf(stack, reference);
    }
    for (const py::object& slice : locked)
        options.locked.push_back(placeOf(stack, slice));
    return options;
}

py::tuple tupleOf(const Registration& registration) {
    return py::make_tuple(registration.getHorShift(), registration.getVerShift(),
                          double(registration.getRotationAngle()));
}

/// Looks without the interpreter's lock, and sets what was found, in one step, with it.
py::list registered(StackHandle& handle, const std::string& method, const py::object& reference,
                    const std::vector<py::object>& locked, const py::object& progress) {
    const VRLStack& stack = handle.editable();
    const AlignmentOptions options = alignmentOptions(stack, method, reference, locked);
    ProgressSubject subject;
    RegistrationReport report;
    handle.study(subject, progress, [&] { report = findAlignment(stack, options, subject); });
    std::vector<Registration> registrations;
    bool changes = false;
    py::list told;
    for (const SliceAlignment& one : report.slices) {
        registrations.push_back(one.after);
        changes = changes || !(one.before == one.after);
        py::dict entry;
        entry["slice"] = one.name;
        entry["state"] = one.stateWord();
        entry["reason"] = one.reason;
        entry["before"] = tupleOf(one.before);
        entry["after"] = tupleOf(one.after);
        entry["score_before"] = one.onto < 0 ? py::none() : py::object(py::float_(one.scoreBefore));
        entry["score_after"] = one.onto < 0 ? py::none() : py::object(py::float_(one.scoreAfter));
        told.append(entry);
    }
    if (changes)
        handle.edit([&](VRLStack& own) { return setRegistrations(own, registrations); });
    return told;
}

py::array readImage(const std::string& file, int page, int channel) {
    Image image;
    {
        const py::gil_scoped_release released;
        ImageReader reader;
        reader.read(image, file, page, channel);
    }
    return imageArray(image);
}

void rename(StackHandle& handle, const std::string& name) {
    StackChange change;
    change.name = name;
    handle.edit([&](VRLStack& stack) { return changeStack(stack, change); });
}

std::string described(StackHandle& handle) {
    const VRLStack& stack = handle.stack();
    return "<vorlen.Stack \"" + stack.getName() + "\": " + std::to_string(stack.getNumSlices()) + " slices, " +
           std::to_string(stack.getNumModels()) + " models>";
}

std::vector<std::string> undoDescriptions(StackHandle& handle) {
    std::vector<std::string> texts;
    const VRLActionHistory& history = *handle.stack().history();
    for (const QString& text : history.getUndoDescriptions(history.getNumUndoSteps()))
        texts.push_back(text.toStdString());
    return texts;
}

} // namespace

void requireSizes(const Stack& stack) {
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const StackSlice& slice = stack.getSlice(i);
        if (!slice.hasImageSource() || slice.getImageSource().getSize1() < 1 || slice.getImageSource().getSize2() < 1)
            fail("The image of slice \"" + slice.getName() +
                 "\" is missing, and nobody knows its size: where the outlines lie is not known");
    }
}

void bindStacks(py::module_& module) {
    module.def("open", &opened, py::arg("path"), py::kw_only(), py::arg("progress") = py::none(),
               "The stack of a stack description file (.sdf). What is wrong with the file is in its problems.");
    module.def("new", &newStack, py::arg("name"), py::arg("images"), py::kw_only(), py::arg("spacing"),
               py::arg("pixel_size"), py::arg("unit") = "um",
               "A new stack with a slice for each picture of the image files, in their order. spacing: distance of\n"
               "slices; pixel_size: (width, height) of a pixel; both in the unit, such as mm, um or nm.");
    module.def("read_image", &readImage, py::arg("path"), py::kw_only(), py::arg("page") = 0, py::arg("channel") = 0,
               "The pixels of an image file: rows x columns of uint8, uint16 or float32, with a last axis of 3 or 4\n"
               "for colours. page counts from 0; channel from 1, and 0 means all.");

    py::class_<StackHandle, Handle>(module, "Stack",
                                    "An open stack of section images. Each change is a step that undo() takes back.")
        .def("__repr__", &described)
        .def_property(
            "name", [](StackHandle& handle) { return handle.stack().getName(); }, &rename)
        .def_property_readonly(
            "path", [](StackHandle& handle) { return handle.stack().getFilename(); },
            "The file; empty for a stack that was never saved.")
        .def_property_readonly("problems", &StackHandle::getProblems,
                               "What was wrong with the file when it was opened, as sentences.")
        .def_property_readonly("modified", [](StackHandle& handle) { return handle.stack().isModified(); })
        .def_property_readonly(
            "unit", [](StackHandle& handle) { return handle.stack().getLengthUnit().symbol(); },
            "Symbol of the length unit of positions and world coordinates.")
        .def_property_readonly("slices", &slicesOf, "The slices in their order.")
        .def_property_readonly("models", &modelsOf, "The models in their order.")
        .def("slice", &sliceOf, py::arg("which"), "The slice of this name, or of this number, from 0.")
        .def("model", &modelOf, py::arg("name"))
        .def("save", &save, py::arg("path") = py::none(),
             "Writes the description; without a path into its own file. The old file is whole until the new one is.")
        .def("add_model", &addModel, py::arg("name"), py::kw_only(), py::arg("geometry") = "Polygon",
             py::arg("color") = py::none(),
             "A new model. geometry: Polygon, Polyline or Polypoint; color: red, green, blue from 0 to 255.")
        .def("delete_model", &deleteModel, py::arg("model"), "Takes the model out, with its items.")
        .def("undo", &undo, "Takes the last step back. False when there was none.")
        .def("redo", &redo, "Makes the step again that was taken back last. False when there was none.")
        .def_property_readonly("steps", &undoDescriptions, "What can be undone, in the order in which it was done.")
        .def("volume", &volumeOf, py::arg("channel") = "grey",
             "The images as float32, planes x rows x columns. channel: grey, red, green or blue.")
        .def("to_world", &toWorld, py::arg("slice"), py::arg("points"),
             "N x 2 pixels (column, row) of a slice as N x 3 world coordinates in the stack's unit, Y up.")
        .def("measure", &measurementsOf, py::kw_only(), py::arg("errors") = false,
             "What 'vorlen-cli measure --format json' tells: a dictionary with lists of models, items and slices.")
        .def("register", &registered, py::kw_only(), py::arg("method") = "auto", py::arg("reference") = "neighbours",
             py::arg("locked") = std::vector<py::object>(), py::arg("progress") = py::none(),
             "Brings the slices onto each other by their images, in one step. method: auto, features, intensity,\n"
             "mutual-information or principal-axes; reference: neighbours, template, path, or a slice that stays; "
             "locked: slices that keep\n"
             "their registration. Returns a dictionary for each slice.");
}

} // namespace vorlen
