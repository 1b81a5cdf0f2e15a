#include "cli/commands.h"

#include <algorithm>
#include <iostream>

#include "cli/jsonwriter.h"
#include "cli/outputformat.h"
#include "cli/stackfile.h"
#include "cli/texttable.h"
#include "document/model.h"
#include "document/modelproperties.h"
#include "document/pose.h"
#include "document/stackslice.h"

namespace vorlen {

namespace {

std::string imageText(const StackSlice& slice) {
    return slice.hasImageSource() ? slice.getImageSource().getName() : "";
}

void writeJson(JsonWriter& json, const StackFile& file) {
    const Stack& stack = file.getStack();
    json.beginObject();
    json.member("file", file.getName());
    json.member("stack", stack.getName());
    json.member("unit", stack.getLengthUnit().symbol());
    json.key("slices");
    json.beginArray();
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const StackSlice& slice = stack.getSlice(i);
        const bool empty = !slice.hasImageSource();
        json.beginObject();
        json.member("name", slice.getName());
        json.member("image", imageText(slice));
        json.member("width", empty ? 0 : slice.getImageSource().getSize2());
        json.member("height", empty ? 0 : slice.getImageSource().getSize1());
        json.member("depth", empty ? 0 : slice.getImageSource().getDepth());
        json.member("position", double(slice.getAbsolutePosition()));
        json.member("pixelWidth", double(slice.getPixelCalibration().getPixelWidth()));
        json.member("pixelHeight", double(slice.getPixelCalibration().getPixelHeight()));
        json.key("registration");
        json.beginArray();
        json.value(slice.getRegistration().getHorShift());
        json.value(slice.getRegistration().getVerShift());
        json.value(double(slice.getRegistration().getRotationAngle()));
        json.endArray();
        json.endObject();
    }
    json.endArray();
    json.key("models");
    json.beginArray();
    for (int i = 0; i < stack.getNumModels(); ++i)
        json.value(stack.getModel(i).getName());
    json.endArray();
    json.key("poses");
    json.beginArray();
    for (int i = 0; i < stack.getNumPoses(); ++i)
        json.value(stack.getPose(i).getName());
    json.endArray();
    json.endObject();
}

void printTables(const StackFile& file, OutputFormat format) {
    const Stack& stack = file.getStack();
    TextTable slices(
        {"Slice", "Image", "Width", "Height", "Depth", "Position", "PixelWidth", "PixelHeight", "Shift", "Rotation"});
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const StackSlice& slice = stack.getSlice(i);
        const bool empty = !slice.hasImageSource();
        const Registration& registration = slice.getRegistration();
        std::string image = imageText(slice);
        if (format == OutputFormat::Table)
            image = image.substr(image.rfind('/') == std::string::npos ? 0 : image.rfind('/') + 1);
        slices.addRow({slice.getName(), image, std::to_string(empty ? 0 : slice.getImageSource().getSize2()),
                       std::to_string(empty ? 0 : slice.getImageSource().getSize1()),
                       std::to_string(empty ? 0 : slice.getImageSource().getDepth()),
                       shortNumber(slice.getAbsolutePosition()),
                       shortNumber(slice.getPixelCalibration().getPixelWidth()),
                       shortNumber(slice.getPixelCalibration().getPixelHeight()),
                       shortNumber(registration.getHorShift()) + " " + shortNumber(registration.getVerShift()),
                       shortNumber(registration.getRotationAngle())});
    }
    if (format == OutputFormat::Csv) {
        slices.printCsv(std::cout);
        return;
    }
    std::cout << file.getName() << ": stack \"" << stack.getName() << "\", unit " << stack.getLengthUnit().symbol()
              << ", " << stack.getNumSlices() << " slices, " << stack.getNumModels() << " models, "
              << stack.getNumPoses() << " poses\n\n";
    slices.print(std::cout);
    TextTable models({"Model", "Geometry", "Items"});
    for (int i = 0; i < stack.getNumModels(); ++i) {
        const Model& model = stack.getModel(i);
        models.addRow({model.getName(), ModelProperties::toString(model.getProperties().getGeometry()),
                       std::to_string(model.getNumItems())});
    }
    if (!models.isEmpty()) {
        std::cout << '\n';
        models.print(std::cout);
    }
    for (int i = 0; i < stack.getNumPoses(); ++i)
        std::cout << (i == 0 ? "\nPoses: " : ", ") << stack.getPose(i).getName();
    std::cout << (stack.getNumPoses() > 0 ? "\n" : "");
}

} // namespace

int infoCommand(const QStringList& arguments) {
    CommandLine line("info", "Tells what stacks hold: slices with images, positions and registrations, models, poses.",
                     "STACK.sdf...", "Stack description files (.sdf).");
    line.addFormatOption();
    return reportOnStacks(line, arguments, [](const StackFile& file, OutputFormat format, JsonWriter& json) {
        if (format == OutputFormat::Json)
            writeJson(json, file);
        else
            printTables(file, format);
        return int(ExitGood);
    });
}

} // namespace vorlen
