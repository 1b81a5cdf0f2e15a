#include "cli/mapoptions.h"

#include <cmath>
#include <iostream>
#include <utility>

#include "cli/commandline.h"
#include "cli/stackfile.h"
#include "normalization/densitymapping.h"

namespace vorlen {

namespace {

constexpr std::pair<const char*, int> units[] = {{"m", 0}, {"cm", -2}, {"mm", -3}, {"um", -6}, {"nm", -9}};

/// Where the name stands among those of the option; nothing, and a word about it, for another name.
std::optional<int> choice(const CommandLine& line, const QString& option, const QStringList& names) {
    const qsizetype place = names.indexOf(line.value(option));
    if (place < 0) {
        line.usageError("--" + option + " takes " + names.join(", ") + ", not '" + line.value(option) + "'");
        return std::nullopt;
    }
    return int(place);
}

} // namespace

std::optional<std::vector<float>> numbers(const CommandLine& line, const QString& option) {
    std::vector<float> result;
    for (const QString& word : line.values(option)) {
        bool good = false;
        result.push_back(word.toFloat(&good));
        if (!good || !std::isfinite(result.back())) {
            line.usageError("--" + option + " takes a number, not '" + word + "'");
            return std::nullopt;
        }
    }
    return result;
}

void addDensityOptions(CommandLine& line, const QString& method) {
    line.addOption({"m", "method"},
                   "histogram: points in each cell; kernel: every point spread over its neighbourhood; "
                   "poisson: from the distances to the nearest points. These two are corrected at the faces of the box "
                   "and at masks; plain-kernel and plain-poisson are not, and have the first and the last element on "
                   "the faces.",
                   "method", method);
    line.addOption({"r", "resolution"},
                   "Size of a cell, in the unit of the points; a hundredth of the longest side by "
                   "default.",
                   "size");
    line.addOption({"k", "rank"}, "For poisson: which nearest point of each pattern counts, 10 by default.", "number",
                   "10");
    line.addOption({"kernel"}, "For kernel: gaussian (by default), uniform, epanechnikov or biweight.", "kernel",
                   "gaussian");
    line.addOption({"b", "bandwidth"},
                   "For kernel: its width, in the unit of the points. By default that of the data "
                   "for each pattern (normal reference rule); 10 for plain-kernel.",
                   "width", "auto");
}

bool readDensityOptions(const CommandLine& line, DensitySettings& settings, float& resolution) {
    const std::optional<int> method =
        choice(line, "method", {"histogram", "kernel", "poisson", "plain-kernel", "plain-poisson"});
    const std::optional<int> kernel =
        method ? choice(line, "kernel", {"gaussian", "uniform", "epanechnikov", "biweight"}) : std::nullopt;
    const bool given = line.isSet("bandwidth") && line.value("bandwidth") != "auto";
    const std::optional<double> bandwidth = !kernel ? std::nullopt
                                            : given ? line.number("bandwidth", 1e-6, 1e9)
                                                    : std::optional(0.);
    const std::optional<int> rank = bandwidth ? line.integer("rank", 1, 1000000) : std::nullopt;
    const std::optional<double> size = rank && line.isSet("resolution") ? line.number("resolution", 1e-6, 1e9)
                                       : rank                           ? std::optional(0.)
                                                                        : std::nullopt;
    if (!size)
        return false;
    settings.method = *method == 0 ? HistogramMethod : *method % 2 == 1 ? KernelMethod : PoissonMethod;
    settings.corrected = *method < 3;
    settings.kernel = DensityKernel(*kernel);
    settings.bandwidth = float(*bandwidth);
    settings.neighbourRank = *rank;
    resolution = float(*size);
    return true;
}

int readPattern(const std::string& name, std::vector<std::unique_ptr<Shape<float>>>& patterns) {
    std::unique_ptr<Shape<float>> shape(Shape<float>::loadFile(name));
    const ShapeType type = shape->getShapeType();
    if (type != VerticesType && type != VertexStackType) {
        std::cerr << "vorlen-cli: " << name << " is no point pattern\n";
        return ExitProblems;
    }
    if (shape->getNumVertices() == 0 || shape->getSpace() != 3) {
        std::cerr << "vorlen-cli: " << name << " holds no points of space\n";
        return ExitProblems;
    }
    std::cout << name << ": " << shape->getNumVertices() << " points\n";
    patterns.push_back(std::move(shape));
    return ExitGood;
}

bool readUnit(const CommandLine& line, std::optional<LengthUnit>& unit) {
    if (!line.isSet("unit"))
        return true;
    const QString word = line.value("unit");
    for (const auto& [name, scale] : units) {
        const LengthUnit each(scale);
        if (word == name || word.toStdString() == each.symbol() || word.toStdString() == each.name()) {
            unit = each;
            return true;
        }
    }
    line.usageError("--unit takes m, cm, mm, um or nm, not '" + word + "'");
    return false;
}

bool readChunk(const CommandLine& line, std::optional<WorkPart>& part) {
    if (!line.isSet("chunk"))
        return true;
    const QStringList words = line.value("chunk").split('/');
    bool first = false, second = false;
    WorkPart found;
    if (words.size() == 2) {
        found.number = words[0].toUInt(&first);
        found.parts = words[1].toUInt(&second);
    }
    if (!first || !second || found.number < 1 || found.number > found.parts || found.parts > 1000000 ||
        line.isSet("merge")) {
        line.usageError("--chunk takes a part of parts, 2/5 say, and goes without --merge");
        return false;
    }
    part = found;
    return true;
}

} // namespace vorlen
