#include "cli/commands.h"

#include <algorithm>
#include <iostream>
#include <limits>

#include "cli/csvtables.h"
#include "cli/jsonwriter.h"
#include "cli/outputformat.h"
#include "cli/pixelcheck.h"
#include "cli/stackfile.h"
#include "cli/texttable.h"
#include "document/model.h"
#include "document/modelproperties.h"
#include "document/pose.h"
#include "document/stackslice.h"
#include "editing/operations/modeloperations.h"

namespace vorlen {

namespace {

/// Of a position, as a stage may count nanometres from its corner.
constexpr int positionDigits = 10;

std::string imageText(const StackSlice& slice) {
    return slice.hasImageSource() ? slice.getImageSource().getName() : "";
}

/// A member for the values and an array with the numbers of each channel; of no values they are null.
void writePixels(JsonWriter& json, const SlicePixels& pixels) {
    json.member("values", pixels.statistics ? pixels.statistics->values : "");
    json.key("pixels");
    json.beginArray();
    for (const ChannelStatistics& channel : pixels.statistics.value_or(PixelStatistics()).channels) {
        const double none = std::numeric_limits<double>::quiet_NaN();
        json.beginObject();
        json.member("name", channel.name);
        json.member("min", channel.numValues > 0 ? channel.min : none);
        json.member("max", channel.numValues > 0 ? channel.max : none);
        json.member("mean", channel.mean());
        json.endObject();
    }
    json.endArray();
    if (!pixels.problem.empty())
        json.member("problem", pixels.problem);
}

/// The values of the columns of pixels; those of several channels with blanks between them.
std::vector<std::string> pixelCells(const SlicePixels& pixels, std::string (*number)(double)) {
    std::string names, least, greatest, means;
    const PixelStatistics statistics = pixels.statistics.value_or(PixelStatistics());
    for (const ChannelStatistics& channel : statistics.channels) {
        const char* const gap = names.empty() ? "" : " ";
        names += gap + channel.name;
        least += gap + (channel.numValues > 0 ? number(channel.min) : "NA");
        greatest += gap + (channel.numValues > 0 ? number(channel.max) : "NA");
        means += gap + number(channel.mean());
    }
    return {statistics.values, names, least, greatest, means};
}

/// The pixels of all slices, where they are asked for; what can't be read is told on the standard error stream.
std::vector<SlicePixels> pixelsOf(const Stack& stack, bool asked) {
    std::vector<SlicePixels> pixels;
    for (int i = 0; asked && i < stack.getNumSlices(); ++i) {
        pixels.push_back(readPixels(stack.getSlice(i)));
        for (const std::string& sentence : {pixels.back().problem, furtherPages(stack.getSlice(i))})
            if (!sentence.empty())
                std::cerr << "vorlen-cli: " << sentence << '\n';
    }
    return pixels;
}

void writeJson(JsonWriter& json, const StackFile& file, const std::vector<SlicePixels>& pixels) {
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
        json.member("position", slice.getAbsolutePosition());
        json.member("pixelWidth", double(slice.getPixelCalibration().getPixelWidth()));
        json.member("pixelHeight", double(slice.getPixelCalibration().getPixelHeight()));
        json.key("registration");
        json.beginArray();
        json.value(slice.getRegistration().getHorShift());
        json.value(slice.getRegistration().getVerShift());
        json.value(double(slice.getRegistration().getRotationAngle()));
        json.endArray();
        if (!pixels.empty())
            writePixels(json, pixels[std::size_t(i)]);
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

void printTables(const StackFile& file, OutputFormat format, const std::vector<SlicePixels>& pixels,
                 CsvTables& collected) {
    const Stack& stack = file.getStack();
    std::vector<std::string> columns = {"Slice",    "Image",      "Width",       "Height", "Depth",
                                        "Position", "PixelWidth", "PixelHeight", "Shift",  "Rotation"};
    if (!pixels.empty())
        columns.insert(columns.end(), {"Values", "Name", "Min", "Max", "Mean"});
    TextTable slices(columns);
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const StackSlice& slice = stack.getSlice(i);
        const bool empty = !slice.hasImageSource();
        const Registration& registration = slice.getRegistration();
        std::string image = imageText(slice);
        if (format == OutputFormat::Table)
            image = image.substr(image.rfind('/') == std::string::npos ? 0 : image.rfind('/') + 1);
        std::vector<std::string> cells = {slice.getName(),
                                          image,
                                          std::to_string(empty ? 0 : slice.getImageSource().getSize2()),
                                          std::to_string(empty ? 0 : slice.getImageSource().getSize1()),
                                          std::to_string(empty ? 0 : slice.getImageSource().getDepth()),
                                          roundedNumber(slice.getAbsolutePosition(), positionDigits),
                                          shortNumber(slice.getPixelCalibration().getPixelWidth()),
                                          shortNumber(slice.getPixelCalibration().getPixelHeight()),
                                          shortNumber(registration.getHorShift()) + " " +
                                              shortNumber(registration.getVerShift()),
                                          shortNumber(registration.getRotationAngle())};
        if (!pixels.empty()) {
            const std::vector<std::string> more =
                pixelCells(pixels[std::size_t(i)], format == OutputFormat::Csv ? fullNumber : shortNumber);
            cells.insert(cells.end(), more.begin(), more.end());
        }
        slices.addRow(cells);
    }
    if (format == OutputFormat::Csv)
        return collected.add("Slices", file, slices);
    std::cout << file.getName() << ": stack \"" << stack.getName() << "\", unit " << stack.getLengthUnit().symbol()
              << ", " << stack.getNumSlices() << " slices, " << stack.getNumModels() << " models, "
              << stack.getNumPoses() << " poses\n\n";
    slices.print(std::cout);
    const bool grouped = !groupsOf(stack).empty();
    std::vector<std::string> titles = {"Model", "Geometry", "Items"};
    if (grouped)
        titles.emplace_back("Group");
    TextTable models(titles);
    for (int i = 0; i < stack.getNumModels(); ++i) {
        const Model& model = stack.getModel(i);
        std::vector<std::string> cells = {model.getName(),
                                          ModelProperties::toString(model.getProperties().getGeometry()),
                                          std::to_string(model.getNumItems())};
        if (grouped)
            cells.push_back(model.getGroup());
        models.addRow(cells);
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
    line.addFlag("pixels", "Read all pixels: type of the values, and least, greatest and mean value of each channel.");
    CsvTables collected;
    const auto report = [&](const StackFile& file, OutputFormat format, JsonWriter& json) {
        const std::vector<SlicePixels> pixels = pixelsOf(file.getStack(), line.isSet("pixels"));
        if (format == OutputFormat::Json)
            writeJson(json, file, pixels);
        else
            printTables(file, format, pixels, collected);
        const bool good =
            std::all_of(pixels.begin(), pixels.end(), [](const auto& each) { return each.problem.empty(); });
        return int(good ? ExitGood : ExitProblems);
    };
    const int status = reportOnStacks(line, arguments, report);
    collected.print(std::cout, line.files().size() > 1, false);
    return status;
}

} // namespace vorlen
