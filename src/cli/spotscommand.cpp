#include "cli/commands.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include "cli/commandline.h"
#include "cli/consolemonitor.h"
#include "cli/memoryneed.h"
#include "cli/outputformat.h"
#include "cli/stackfile.h"
#include "cli/texttable.h"
#include "document/stackslice.h"
#include "editing/operations/spotoperations.h"
#include "editing/stacks/vrlstack.h"
#include "progress/progresssubject.h"
#include "spots/spotfilters.h"
#include "spots/spotprogress.h"
#include "spots/spotsuggestion.h"
#include "spots/spotthreshold.h"
#include "spots/spotvolume.h"

namespace vorlen {

namespace {

/// What the command line asks for.
struct SpotsRequest {
    std::string directory;
    bool overwrite = false;
    bool dryRun = false;
    OutputFormat format = OutputFormat::Table;
    VRLSpotExtractionConfig config;
    ImageColorContent channel = GrayContent;
    std::optional<double> threshold;
    SpotThresholdRule rule = SpotThresholdRule::Isodata;
};

/// What came of it.
struct SpotsResult {
    double threshold = 0;
    std::string filters; ///< in words
    SpotSuggestion suggestion;
    SpotLabels found;
    Vector<double> resolution;

    double volumeOf(const Spot& spot) const { return spot.numVoxels * resolution[0] * resolution[1] * resolution[2]; }
};

/// Where the word stands among those of the option; -1, and a word about it, for another one.
int choice(const CommandLine& line, const QString& option, const QStringList& words) {
    const qsizetype place = words.indexOf(line.value(option));
    if (place < 0)
        line.usageError("--" + option + " takes " + words.join(", ") + ", not '" + line.value(option) + "'");
    return int(place);
}

/// Rows, columns and planes, with commas between; false, and a word about it, for anything else.
bool readSize(const CommandLine& line, VRLSpotExtractionConfig& config) {
    if (!line.isSet("resize"))
        return true;
    const QStringList words = line.value("resize").split(',');
    Vector<int> size(3);
    bool good = words.size() == 3;
    for (int axis = 0; axis < 3 && good; ++axis) {
        size[axis] = words[axis].toInt(&good);
        good = good && size[axis] >= 1 && size[axis] <= 65536;
    }
    if (!good) {
        line.usageError("--resize takes rows, columns and planes with commas between, not '" + line.value("resize") +
                        "'");
        return false;
    }
    config.setResizeState(true);
    config.setNewSize(size);
    return true;
}

bool readFilters(const CommandLine& line, VRLSpotExtractionConfig& config) {
    const int smoothing = choice(line, "smoothing", {"none", "average", "median", "gaussian"});
    const int tophat = smoothing < 0 ? -1 : choice(line, "tophat", {"none", "flat", "spherical"});
    if (tophat < 0)
        return false;
    const std::optional<int> smoothingRadius = line.integer("smoothing-radius", 1, 50);
    const std::optional<int> tophatRadius = smoothingRadius ? line.integer("tophat-radius", 1, 50) : std::nullopt;
    const std::optional<int> isotropyRadius = tophatRadius ? line.integer("isotropy-radius", 0, 50) : std::nullopt;
    if (!isotropyRadius)
        return false;
    // Who names a filter knows what the others are.
    bool isOwn = false;
    for (const char* option : {"smoothing", "smoothing-radius", "tophat", "tophat-radius", "isotropy-radius"})
        isOwn = isOwn || line.isSet(option);
    const int filters = choice(line, "filters", {"suggested", "standard"});
    if (filters < 0)
        return false;
    if (isOwn && filters == 0 && line.isSet("filters")) {
        line.usageError("--filters suggested leaves no choice of filters");
        return false;
    }
    config.setFiltersSuggested(filters == 0 && !isOwn);
    config.setSmoothingFilterEnabled(smoothing > 0);
    if (smoothing > 0)
        config.setSmoothingFilterType(VRLSpotExtractionSmoothing(smoothing - 1));
    config.setSmoothingFilterRadius(*smoothingRadius);
    config.setTophatFilterEnabled(tophat > 0);
    if (tophat > 0)
        config.setTophatFilterType(VRLSpotExtractionTopHat(tophat - 1));
    config.setTophatFilterRadius(*tophatRadius);
    config.setIsotropyFilterEnabled(*isotropyRadius > 0);
    config.setIsotropyFilterRadius(std::max(1, *isotropyRadius));
    return readSize(line, config);
}

bool readSelection(const CommandLine& line, SpotsRequest& request) {
    constexpr int most = 2147483647;
    const std::optional<int> least = line.integer("least", 1, most);
    const std::optional<int> greatest = least ? line.integer("greatest", 0, most) : std::nullopt;
    if (!greatest)
        return false;
    if (*greatest > 0 && *greatest < *least) {
        line.usageError("--greatest is below --least");
        return false;
    }
    request.config.setLeastSize(*least);
    request.config.setGreatestSize(*greatest);
    request.config.setBorderSpotsLeftOut(line.isSet("no-border"));
    request.config.setSplittingEnabled(!line.isSet("no-split"));
    request.config.setSeparateModelsEnabled(!line.isSet("one-model"));
    request.config.setEquivalentSpheresEnabled(line.isSet("spheres"));
    request.config.setBasename(line.value("name").toStdString());
    if (request.config.getBasename().empty()) {
        line.usageError("--name is empty");
        return false;
    }
    if (line.isSet("threshold")) {
        request.threshold = line.number("threshold", -1e30, 1e30);
        return request.threshold.has_value();
    }
    const int rule = choice(line, "rule", {"first-rise", "isodata", "otsu"});
    request.rule = SpotThresholdRule(std::max(0, rule));
    return rule >= 0;
}

TextTable spotTable(const SpotsResult& result, const Stack& stack, const VRLSpotExtractionConfig& config, bool full) {
    const auto number = [full](double value) { return full ? fullNumber(value) : shortNumber(value); };
    const std::string unit = stack.getLengthUnit().symbol();
    TextTable table({"Spot", "Column [pixel]", "Row [pixel]", "Plane", "Slice", "Voxels", "Volume [" + unit + "^3]",
                     "Mean", "Sum", "Max", "Border"});
    for (std::size_t i = 0; i < result.found.spots.size(); ++i) {
        const Spot& spot = result.found.spots[i];
        const int plane = std::clamp(int(std::floor(spot.plane + 0.5)), 0, stack.getNumSlices() - 1);
        table.addRow({spotName(config.getBasename(), i), number(spot.column), number(spot.row), number(spot.plane),
                      stack.getSlice(plane).getName(), std::to_string(spot.numVoxels), number(result.volumeOf(spot)),
                      number(spot.mean()), number(spot.sum), number(spot.maximum), spot.touchesBorder ? "yes" : "no"});
    }
    return table;
}

void writeJson(JsonWriter& json, const std::string& file, const std::string& output, const Stack& stack,
               const SpotsRequest& request, const SpotsResult& result) {
    json.beginObject();
    json.member("file", file);
    json.member("output", output);
    json.member("stack", stack.getName());
    json.member("threshold", result.threshold);
    json.member("rule", request.threshold ? std::string("given") : toString(request.rule));
    json.member("filters", result.filters);
    if (request.config.areFiltersSuggested()) {
        json.member("noise", result.suggestion.noise);
        json.member("radius", result.suggestion.radius);
    }
    json.member("count", int(result.found.spots.size()));
    json.member("tooSmall", result.found.numTooSmall);
    json.member("tooLarge", result.found.numTooLarge);
    json.member("atBorder", result.found.numAtBorder);
    json.key("spots");
    json.beginArray();
    for (std::size_t i = 0; i < result.found.spots.size(); ++i) {
        const Spot& spot = result.found.spots[i];
        json.beginObject();
        json.member("name", spotName(request.config.getBasename(), i));
        json.member("column", spot.column);
        json.member("row", spot.row);
        json.member("plane", spot.plane);
        json.member("voxels", spot.numVoxels);
        json.member("volume", result.volumeOf(spot));
        json.member("mean", spot.mean());
        json.member("sum", spot.sum);
        json.member("max", spot.maximum);
        json.member("border", spot.touchesBorder);
        json.endObject();
    }
    json.endArray();
    json.endObject();
}

std::string countText(const SpotLabels& found) {
    std::string text = std::to_string(found.spots.size()) + (found.spots.size() == 1 ? " spot" : " spots");
    for (const auto& [count, why] : {std::pair(found.numTooSmall, " too small"),
                                     {found.numTooLarge, " too large"},
                                     {found.numAtBorder, " at the border"}})
        if (count > 0)
            text += ", " + std::to_string(count) + why;
    return text;
}

void search(const Stack& stack, const SpotsRequest& request, SpotsResult& result) {
    ConsoleMonitor terminal;
    ProgressSubject subject;
    subject.addMonitor(terminal);
    VoxelMatrix<float> grey;
    readSpotVolume(stack, request.channel, grey, subject);
    VRLSpotExtractionConfig config = request.config;
    if (config.areFiltersSuggested()) {
        SpotProgress looking(subject, 1);
        lookForSpots(grey, result.suggestion, looking);
        setSuggestedFilters(config, result.suggestion, grey.getSize());
    }
    result.filters = filterText(config);
    VoxelMatrix<float> filtered(grey);
    SpotProgress progress(subject, numSpotFilters(config) + 1);
    filterSpotVolume(filtered, config, progress);
    result.threshold = request.threshold.value_or(0);
    if (!request.threshold)
        result.threshold = proposeSpotThreshold(filtered, request.rule, config);
    findSpots(filtered, result.threshold, config, result.found, progress);
    measureSpots(grey, result.found);
    subject.notifyFinished("");
}

int findSpotsOf(const std::string& file, VRLStack& stack, const SpotsRequest& request, JsonWriter& json) {
    if (const std::string fault = spotFault(stack); !fault.empty()) {
        std::cerr << "vorlen-cli: " << file << ": " << fault << '\n';
        return ExitProblems;
    }
    const Vector<int> size = spotVolumeSize(stack);
    if (request.dryRun) {
        std::cout << file << ": " << size[0] << " x " << size[1] << " x " << size[2] << " voxels, takes about "
                  << memoryText(MemoryNeed().own + spotMemory(size, request.config)) << " of memory\n";
        return ExitGood;
    }
    std::string name;
    if (const ExitStatus status = findStackOutput(request.directory, file, request.overwrite, name); status != ExitGood)
        return status;
    SpotsResult result;
    result.resolution = spotResolution(stack);
    search(stack, request, result);
    if (areMostlySpecks(result.found))
        std::cerr << "vorlen-cli: " << file
                  << ": most of the spots have less than 4 voxels, as noise has: --filters suggested "
                     "takes more of it away, --least leaves small spots out\n";
    if (!result.found.spots.empty()) {
        if (const Outcome added = addSpots(stack, result.found, request.config); !added) {
            std::cerr << "vorlen-cli: " << file << ": " << added.getReason() << '\n';
            return ExitProblems;
        }
    }
    if (const ExitStatus status = writeStack(stack, name); status != ExitGood)
        return status;
    switch (request.format) {
    case OutputFormat::Json:
        writeJson(json, file, name, stack, request, result);
        break;
    case OutputFormat::Csv:
        spotTable(result, stack, request.config, true).printCsv(std::cout);
        break;
    case OutputFormat::Table:
        std::cout << file << ": stack \"" << stack.getName() << "\"\n";
        spotTable(result, stack, request.config, false).print(std::cout);
        std::cout << countText(result.found) << "; threshold " << shortNumber(result.threshold) << "; "
                  << result.filters;
        if (request.config.areFiltersSuggested())
            std::cout << " (" << result.suggestion.text() << ')';
        std::cout << '\n' << name << '\n';
        break;
    }
    return ExitGood;
}

void declare(CommandLine& line) {
    line.addOutputOptions();
    line.addFormatOption();
    line.addOption({"channel"}, "What is taken of colours: grey (their mean), red, green or blue.", "channel", "grey");
    line.addOption({"filters"},
                   "suggested: those that suit the noise of the images and the size of their spots; standard: the ones "
                   "below, which hold as soon as one of them is given.",
                   "choice", "suggested");
    line.addOption({"smoothing"}, "none, average, median or gaussian.", "filter", "median");
    line.addOption({"smoothing-radius"}, "In voxels; 1 by default.", "radius", "1");
    line.addOption({"tophat"}, "What takes the ground away: none, flat or spherical.", "filter", "spherical");
    line.addOption({"tophat-radius"}, "In voxels: about that of the largest spots; 3 by default.", "radius", "3");
    line.addOption({"isotropy-radius"},
                   "Of the neighbourhood whose roundness weighs a voxel, in voxels; 0 for none, 4 by default.",
                   "radius", "4");
    line.addOption({"resize"}, "Filter a volume of this size: ROWS,COLUMNS,PLANES.", "size");
    line.addOption({"t", "threshold"}, "Least value of the filtered volume in a spot.", "value");
    line.addOption({"rule"},
                   "How the threshold is found where none is given: isodata, otsu, or first-rise (where the noise "
                   "ends, for whole grey values).",
                   "rule", "isodata");
    line.addOption({"least"}, "The fewest voxels of a spot; 1 by default.", "voxels", "1");
    line.addOption({"greatest"}, "The most voxels of a spot; 0, the default, for any number.", "voxels", "0");
    line.addFlag("no-border", "Leave out spots that reach the border of the volume.");
    line.addFlag("no-split", "Take what touches for one spot.");
    line.addOption({"name"}, "Name of the model, or beginning of the names of the models.", "name", "spot");
    line.addFlag("one-model", "One model for all spots in place of one for each.");
    line.addFlag("spheres", "One point for a spot, as large as the sphere of its volume, in place of all its voxels.");
}

} // namespace

int spotsCommand(const QStringList& arguments) {
    CommandLine line("spots",
                     "Finds the bright spots in the images of a stack, in space, and measures them: volume, mean, sum "
                     "and maximum of the grey values. Writes a new stack with the spots as point models. The slices "
                     "must stand at equal distances; registered ones are laid on the pixels of the first.",
                     "STACK.sdf...", "Stack description files (.sdf).");
    declare(line);
    if (const std::optional<int> status = line.parse(arguments))
        return *status;
    const std::optional<OutputFormat> format = outputFormat(line);
    if (!format)
        return ExitUsage;
    SpotsRequest request;
    request.format = *format;
    const int channel = choice(line, "channel", {"grey", "red", "green", "blue"});
    if (channel < 0 || !readFilters(line, request.config) || !readSelection(line, request))
        return ExitUsage;
    request.channel = ImageColorContent(channel);
    request.dryRun = line.isSet("dry-run");
    request.overwrite = line.isSet("overwrite");
    const std::optional<std::string> directory = request.dryRun ? line.path("output") : line.outputDirectory();
    if (!directory)
        return ExitFileError;
    request.directory = *directory;

    int status = ExitGood;
    JsonWriter json(std::cout);
    const bool isJson = request.format == OutputFormat::Json && !request.dryRun;
    if (isJson)
        json.beginArray();
    for (const std::string& name : line.files()) {
        auto opened = std::make_unique<VRLStack>();
        VRLStack& stack = *opened;
        const StackFile file(name, std::move(opened));
        status = std::max(status, file.report());
        if (file.isOpened())
            status = std::max(
                status, guarded("find spots in " + name, [&] { return findSpotsOf(name, stack, request, json); }));
    }
    if (isJson)
        json.endArray();
    return status;
}

} // namespace vorlen
