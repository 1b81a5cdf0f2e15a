#include "cli/commands.h"

#include <algorithm>
#include <iostream>
#include <map>

#include "cli/commandline.h"
#include "cli/stackfile.h"
#include "document/model.h"
#include "export/stackexporter.h"
#include "numerics/exception.h"
#include "reconstruction/modelsurface.h"
#include "reconstruction/stackreconstruction.h"

namespace vorlen {

namespace {

/// Why a model is left out, or an empty text. Names become parts of file names, so a name with a directory separator
/// must not lead out of the directory.
std::string obstacle(const Model& model, const StackReconstruction<float>& reconstruction) {
    if (model.getName().find('/') != std::string::npos)
        return "its name holds a '/', which a file name can't";
    return ModelSurface<float>(model, reconstruction).reason();
}

/// The ends that the command line asks for, or nothing to leave them to the models.
bool readEnds(const CommandLine& line, StackExporter& exporter) {
    const std::map<QString, SurfaceEnd> ends = {{"open", SurfaceEnd::Open},
                                                {"flat", SurfaceEnd::Flat},
                                                {"half", SurfaceEnd::HalfSection},
                                                {"next", SurfaceEnd::NextSection}};
    if (!line.isSet("ends"))
        return true;
    const auto end = ends.find(line.value("ends"));
    if (end == ends.end()) {
        line.usageError("unknown ends '" + line.value("ends") + "'");
        return false;
    }
    exporter.setEnds({end->second, end->second});
    return true;
}

/// Models that are left out are a problem: who asked for the stack's surfaces has not got them all.
int exportStack(const StackFile& file, StackExporter& exporter, const std::string& directory, bool overwrite) {
    const Stack& stack = file.getStack();
    if (stack.getName().find('/') != std::string::npos) {
        std::cerr << "vorlen-cli: " << file.getName() << ": the stack's name holds a '/', which a file name can't\n";
        return ExitProblems;
    }
    StackReconstruction<float> reconstruction(stack);
    int status = ExitGood;
    for (int i = 0; i < stack.getNumModels(); ++i) {
        const Model& model = stack.getModel(i);
        const std::string reason = obstacle(model, reconstruction);
        if (!reason.empty()) {
            std::cerr << "vorlen-cli: model \"" << model.getName() << "\" of " << file.getName()
                      << " is left out: " << reason << '\n';
            status = ExitProblems;
            continue;
        }
        const auto certificate = exporter.export2AsciiSTL(model, reconstruction, directory, stack.getName(), overwrite);
        const std::string base = directory + "/" + (stack.getName().empty() ? "" : stack.getName() + "-");
        std::cout << base << model.getName() << ".stl\n";
        if (ModelSurface<float>(model, reconstruction).isGrid())
            std::cout << base << model.getName() << ".qm\n";
        if (!certificate)
            continue;
        std::cout << "  " << certificate->toText();
        if (certificate->closed)
            std::cout << ", volume " << shortNumber(certificate->volume) << ' ' << stack.getLengthUnit().symbol()
                      << "^3";
        std::cout << '\n';
    }
    return status;
}

} // namespace

int exportCommand(const QStringList& arguments) {
    CommandLine line("export", "Writes the surfaces of the models as STL and mesh files.", "STACK.sdf...",
                     "Stack description files (.sdf).");
    line.addOutputOptions();
    line.addOption(
        {"ends"},
        "How closed surfaces end: open, at the outermost contours; flat, by lids on them; half, half a section on, "
        "in tips where the contours shrink; next, in tips on the next section. By default flat where the model has a "
        "cap, else half.",
        "ends");
    if (const std::optional<int> status = line.parse(arguments))
        return *status;

    const std::optional<std::string> directory = line.outputDirectory();
    if (!directory)
        return ExitFileError;
    StackExporter exporter;
    if (!readEnds(line, exporter))
        return ExitUsage;
    int status = ExitGood;
    for (const std::string& name : line.files()) {
        const StackFile file(name);
        status = std::max(status, file.report());
        if (!file.isOpened())
            continue;
        status = std::max(status, !file.isMeasurable() ? int(ExitProblems) : guarded("export " + name, [&] {
                              return exportStack(file, exporter, *directory, line.isSet("overwrite"));
                          }));
    }
    return status;
}

} // namespace vorlen
