#include "cli/commands.h"

#include <cmath>
#include <iostream>

#include <QFile>
#include <QFileInfo>

#include "cli/commandline.h"
#include "cli/memoryneed.h"
#include "cli/stackfile.h"
#include "editing/operations/stackoperations.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

namespace {

constexpr double smallestSize = 1e-30;
constexpr double greatestSize = 1e30;

/// The unit of a symbol or name; nothing for another word.
std::optional<LengthUnit> unitOf(const QString& word) {
    if (word == "um" || word == "micron")
        return LengthUnit(-6);
    for (const int scale : LengthUnit::availableScales()) {
        const LengthUnit unit(scale);
        if (word.toStdString() == unit.symbol() || word.toStdString() == unit.name())
            return unit;
    }
    return std::nullopt;
}

/// One number, or two with a comma or an x between them: width and height.
std::optional<std::pair<double, double>> sizesOf(const QString& text) {
    const QStringList parts = text.split(text.contains(',') ? ',' : 'x');
    bool good = !parts.isEmpty() && parts.size() <= 2;
    double sizes[2] = {0, 0};
    for (qsizetype i = 0; good && i < 2; ++i) {
        sizes[i] = parts[std::min(i, parts.size() - 1)].toDouble(&good);
        good = good && std::isfinite(sizes[i]) && sizes[i] >= smallestSize && sizes[i] <= greatestSize;
    }
    return good ? std::optional(std::pair(sizes[0], sizes[1])) : std::nullopt;
}

/// Sizes given by the user, in the unit that the user gave or else in micrometers; the rest comes from the files.
struct Wishes {
    std::optional<LengthUnit> unit;
    std::optional<std::pair<double, double>> pixelSize;
    std::optional<double> spacing;
};

/// The user's sizes before those of the files, all in one unit.
void settleSizes(const Wishes& wishes, const ImageSlices& made, NewStack& description) {
    const LengthUnit filesUnit = made.calibration ? made.calibration->getLengthUnit() : LengthUnit(-6);
    const LengthUnit unit = wishes.unit.value_or(filesUnit);
    const double factor = std::pow(10.0, filesUnit.getScale() - unit.getScale());
    PixelCalibration calibration;
    calibration.setLengthUnit(unit);
    if (wishes.pixelSize) {
        calibration.setPixelWidth(float(wishes.pixelSize->first));
        calibration.setPixelHeight(float(wishes.pixelSize->second));
    } else if (made.calibration) {
        calibration.setPixelWidth(float(double(made.calibration->getPixelWidth()) * factor));
        calibration.setPixelHeight(float(double(made.calibration->getPixelHeight()) * factor));
    } else {
        std::cerr << "vorlen-cli: the images tell no pixel size: 1 " << unit.symbol()
                  << " is taken; --pixel-size gives another\n";
        calibration.setPixelWidth(1);
        calibration.setPixelHeight(1);
    }
    calibration.compute();
    description.calibration = calibration;
    if (wishes.spacing)
        description.sliceSpacing = *wishes.spacing;
    else if (made.spacing)
        description.sliceSpacing = Maths::shortestDecimal(float(double(*made.spacing) * factor));
    else if (made.slices.size() > 1)
        std::cerr << "vorlen-cli: the images tell no distance of the slices: 1 " << unit.symbol()
                  << " is taken; --spacing gives another\n";
}

int makeNewStack(const std::string& output, NewStack description, const Wishes& wishes) {
    ImageSlices made = makeImageSlices(description.images, description.choice);
    for (const std::string& note : made.notes)
        std::cerr << "vorlen-cli: " << note << '\n';
    // A section that is missing in silence would bring its neighbours together.
    if (!made.unreadable.empty()) {
        for (const UnreadableImage& image : made.unreadable)
            std::cerr << "vorlen-cli: cannot read " << image.file << ": " << image.reason << '\n';
        std::cerr << "vorlen-cli: " << output << " is not written\n";
        return ExitFileError;
    }
    settleSizes(wishes, made, description);
    const std::unique_ptr<VRLStack> stack = makeStack(description, std::move(made.slices));
    if (stack == nullptr) {
        std::cerr << "vorlen-cli: the images hold no pictures\n";
        return ExitProblems;
    }
    if (const ExitStatus status = writeStack(*stack, output); status != ExitGood)
        return status;
    const PixelCalibration& calibration = stack->getDefaultPixelCalibration();
    std::cout << output << ": stack \"" << stack->getName() << "\", " << stack->getNumSlices()
              << (stack->getNumSlices() == 1 ? " slice, pixel " : " slices, pixel ")
              << shortNumber(calibration.getPixelWidth()) << " x " << shortNumber(calibration.getPixelHeight()) << ' '
              << stack->getLengthUnit().symbol() << ", spacing " << shortNumber(stack->getDefaultSliceSpacing()) << ' '
              << stack->getLengthUnit().symbol() << '\n';
    return ExitGood;
}

} // namespace

int newCommand(const QStringList& arguments) {
    CommandLine line(
        "new",
        "Makes a stack of images: a slice of each picture, of each page of a TIFF file, of each plane of a "
        "hyperstack or a volume. Names are taken in natural order, slice3 before slice10. Sizes that are "
        "not given come from the images.",
        "OUT.sdf IMAGE...",
        "The stack description file (.sdf) to write, and image files; a folder stands for the DICOM series in it.");
    line.addOption({"name"}, "Name of the stack; that of the file by default.", "name");
    line.addOption({"pixel-size"}, "Size of a pixel, or its width and height with a comma between them.", "size");
    line.addOption({"spacing"}, "Distance of a slice to the one before it.", "distance");
    line.addOption({"unit"},
                   "Unit of the two, and of the stack: nm, um, mm, ...; by default that of the images, else um.",
                   "unit");
    line.addOption({"channel"}, "Channel of images that have several, by its number from 1 or its name.", "channel");
    line.addOption({"frame"}, "Point in time of images that have several, from 1.", "number", "1");
    line.addFlag("keep-order", "Take the images in the order in which they are given.");
    line.addFlag("overwrite", "Replace the file if it exists.");
    if (const std::optional<int> status = line.parse(arguments))
        return *status;
    std::vector<std::string> files = line.files();
    const std::string output = files.front();
    files.erase(files.begin());
    if (!QFile::decodeName(output.c_str()).endsWith(".sdf"))
        return line.usageError("the first file is the stack to write, and its name ends in .sdf");
    if (files.empty())
        return line.usageError("no image given");
    if (line.isSet("dry-run")) {
        // Of images only the headers are read.
        std::cout << output << ": takes about " << memoryText(MemoryNeed().own + 4096. * double(files.size()))
                  << " of memory\n";
        return ExitGood;
    }
    Wishes wishes;
    if (line.isSet("unit") && !(wishes.unit = unitOf(line.value("unit"))))
        return line.usageError("--unit takes a unit of length, nm, um or mm say, not '" + line.value("unit") + "'");
    if (line.isSet("pixel-size") && !(wishes.pixelSize = sizesOf(line.value("pixel-size"))))
        return line.usageError("--pixel-size takes a number above 0, or two with a comma between them, not '" +
                               line.value("pixel-size") + "'");
    if (line.isSet("spacing") && !(wishes.spacing = line.number("spacing", smallestSize, greatestSize)))
        return ExitUsage;
    const std::optional<int> frame = line.integer("frame", 1, 1 << 30);
    if (!frame)
        return ExitUsage;
    if (!mayWrite(output, line.isSet("overwrite")))
        return ExitFileError;
    if (!line.isSet("keep-order"))
        sortNaturally(files);
    NewStack description;
    description.name = line.isSet("name")
                           ? line.value("name").toStdString()
                           : QFileInfo(QFile::decodeName(output.c_str())).completeBaseName().toStdString();
    description.images = files;
    description.choice = {line.value("channel").toStdString(), *frame};
    return guarded("make " + output, [&] { return makeNewStack(output, description, wishes); });
}

} // namespace vorlen
