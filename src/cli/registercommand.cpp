#include "cli/commands.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

#include "cli/commandline.h"
#include "cli/consolemonitor.h"
#include "cli/stackfile.h"
#include "cli/texttable.h"
#include "document/stackslice.h"
#include "document/stackwriter.h"
#include "files/fileinfo.h"
#include "images/rasters/image.h"
#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"
#include "registration/matrixprincipalaxesanalysis.h"
#include "registration/principalaxesimageregistration.h"
#include "values/registration.h"

namespace vorlen {

namespace {

PixelMatrix<float> greyValues(const StackSlice& slice, bool invert) {
    Image image;
    slice.load(image);
    image.make8bitsGrayscale();
    PixelMatrix<float> matrix(image);
    if (invert) {
        for (int i = 0; i < matrix.getSize1(); ++i)
            for (float& value : matrix[i])
                value = 255 - value;
    }
    return matrix;
}

bool hasMass(const PixelMatrix<float>& image) {
    MatrixPrincipalAxesAnalysis<float> analysis;
    analysis.apply(image);
    return analysis.hasMass();
}

/// Registers each slice on the one before it. A blank slice lies as the one before it does, and the slice behind it is
/// registered on the last one that was not blank.
TextTable registerSlices(Stack& stack, bool invert) {
    TextTable table({"Slice", "HorShift [pixel]", "VerShift [pixel]", "Rotation [deg]"});
    ConsoleMonitor terminal;
    ProgressSubject progress;
    progress.addMonitor(terminal);
    progress.notifyStarted("Running automatic registration...");
    const int n = stack.getNumSlices();
    PixelMatrix<float> previous = greyValues(stack.getSlice(0), invert);
    std::vector<std::string> unplaced;
    for (int i = 1; i < n; ++i) {
        StackSlice& slice = stack.getSlice(i);
        PixelMatrix<float> current = greyValues(slice, invert);
        PrincipalAxesImageRegistration<float> registration;
        registration.setSource(current);
        registration.setTarget(previous);
        registration.run();
        const Registration result = registration.sliceRegistration();
        slice.setRegistration(result);
        table.addRow({slice.getName(), std::to_string(result.getHorShift()), std::to_string(result.getVerShift()),
                      shortNumber(result.getRotationAngle())});
        if (!registration.isReliable())
            unplaced.push_back(slice.getName());
        if (registration.isReliable() || hasMass(current))
            previous.swap(current);
        progress.notifyProgressed(static_cast<unsigned int>(i + 1), static_cast<unsigned int>(n));
    }
    progress.notifyFinished("");
    for (const std::string& name : unplaced)
        std::cerr << "vorlen-cli: slice \"" << name
                  << "\" has no place of its own: its image, or the one before it, is "
                  << "blank\n";
    return table;
}

/// Two names of one file, whether both exist or not.
bool isSameFile(const std::string& first, const std::string& second) {
    std::error_code error;
    return std::filesystem::equivalent(first, second, error);
}

int registerStack(StackFile& file, const std::string& directory, bool overwrite, bool invert) {
    Stack& stack = file.getStack();
    if (stack.getNumSlices() < 2) {
        std::cerr << "vorlen-cli: " << file.getName() << ": a registration needs at least two slices\n";
        return ExitProblems;
    }
    const std::string name = directory + "/" + FileInfo::baseName(file.getName()) + ".sdf";
    if (isSameFile(name, file.getName())) {
        std::cerr << "vorlen-cli: " << name << " is the stack itself: name another directory with --output\n";
        return ExitUsage;
    }
    if (!mayWrite(name, overwrite))
        return ExitFileError;
    const TextTable table = registerSlices(stack, invert);
    if (!StackWriter().write(stack, name)) {
        std::cerr << "vorlen-cli: cannot write " << name << '\n';
        return ExitFileError;
    }
    std::cout << file.getName() << ": stack \"" << stack.getName() << "\"\n";
    table.print(std::cout);
    std::cout << name << '\n';
    return ExitGood;
}

} // namespace

int registerCommand(const QStringList& arguments) {
    CommandLine line(
        "register",
        "Brings each slice onto the one before it, by the centre and the main axis of its bright parts, and "
        "writes a new stack with the registrations. The images stay as they are.",
        "STACK.sdf...", "Stack description files (.sdf).");
    line.addOutputOptions();
    line.addFlag("invert", "Take dark parts for the tissue: for sections on a white ground.");
    if (const std::optional<int> status = line.parse(arguments))
        return *status;
    const std::optional<std::string> directory = line.outputDirectory();
    if (!directory)
        return ExitFileError;
    int status = ExitGood;
    for (const std::string& name : line.files()) {
        StackFile file(name);
        status = std::max(status, file.report());
        if (file.isOpened())
            status = std::max(status, guarded("register " + name, [&] {
                                  return registerStack(file, *directory, line.isSet("overwrite"), line.isSet("invert"));
                              }));
    }
    return status;
}

} // namespace vorlen
