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
    return slice.isEmpty() ? "" : slice.getImageSource().getName();
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
        const bool empty = slice.isEmpty();
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
        const bool empty = slice.isEmpty();
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

int checkCommand(const QStringList& arguments) {
    CommandLine line("check", "Tells what is wrong with stacks; exit status 1 when something is.", "STACK.sdf...",
                     "Stack description files (.sdf).");
    line.addFormatOption();
    TextTable table({"File", "Opened", "Fatal", "Message"});
    bool csv = false;
    const auto report = [&table, &csv](const StackFile& file, OutputFormat format, JsonWriter& json) {
        const bool clean = file.getLog().empty() && file.getNumFatalErrors() == 0;
        if (format == OutputFormat::Json) {
            json.beginObject();
            json.member("file", file.getName());
            json.member("opened", file.isOpened());
            json.member("fatal", file.getNumFatalErrors());
            json.key("log");
            json.beginArray();
            for (const std::string& message : file.getLog())
                json.value(message);
            json.endArray();
            json.endObject();
        } else if (format == OutputFormat::Csv) {
            csv = true;
            const std::string opened = file.isOpened() ? "true" : "false";
            for (const std::string& message : file.getLog())
                table.addRow({file.getName(), opened, std::to_string(file.getNumFatalErrors()), message});
            if (file.getLog().empty())
                table.addRow({file.getName(), opened, std::to_string(file.getNumFatalErrors()), ""});
        } else if (!file.isOpened()) {
            std::cout << file.getName() << ": cannot be read\n";
        } else {
            std::cout << file.getName() << ": ";
            if (clean)
                std::cout << "no problems\n";
            else
                std::cout << file.getLog().size() << " problems, " << file.getNumFatalErrors() << " fatal\n";
            for (const std::string& message : file.getLog())
                std::cout << "  " << message << '\n';
        }
        return int(!file.isOpened() ? ExitFileError : clean ? ExitGood : ExitProblems);
    };
    const int status = reportOnFiles(line, arguments, report);
    if (csv)
        table.printCsv(std::cout);
    return status;
}

} // namespace vorlen
