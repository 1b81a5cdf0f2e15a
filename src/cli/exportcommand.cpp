#include "cli/commands.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <map>
#include <optional>

#include "cli/commandline.h"
#include "cli/memoryneed.h"
#include "cli/stackfile.h"
#include "document/model.h"
#include "export/gltfwriter.h"
#include "export/stackexporter.h"
#include "export/surfaceformat.h"
#include "files/fileinfo.h"
#include "files/safestream.h"
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
    const ModelSurface<float> surface(model, reconstruction);
    return surface.isPath() ? "it is a path, which has no surface" : surface.reason();
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

void tellCertificate(const std::optional<SurfaceCertificate>& certificate, const Stack& stack) {
    if (!certificate)
        return;
    std::cout << "  " << certificate->toText();
    if (certificate->closed)
        std::cout << ", volume " << shortNumber(certificate->volume) << ' ' << stack.getLengthUnit().symbol() << "^3";
    std::cout << '\n';
}

/// What is to be done with each stack.
struct ExportJob {
    StackExporter exporter;
    std::optional<SurfaceFormat> format; ///< none for ASCII STL with the mesh beside it
    std::string directory;
    bool overwrite = false;
};

/// Models that are left out are a problem: who asked for the stack's surfaces has not got them all.
int forEachSurface(const StackFile& file, const std::function<void(const Model&, StackReconstruction<float>&)>& work) {
    const Stack& stack = file.getStack();
    StackReconstruction<float> reconstruction(stack);
    int status = ExitGood;
    for (int i = 0; i < stack.getNumModels(); ++i) {
        const Model& model = stack.getModel(i);
        const std::string reason = obstacle(model, reconstruction);
        if (reason.empty()) {
            work(model, reconstruction);
            continue;
        }
        std::cerr << "vorlen-cli: model \"" << model.getName() << "\" of " << file.getName()
                  << " is left out: " << reason << '\n';
        status = ExitProblems;
    }
    return status;
}

/// All models in one file, which is named after the stack, or after its file.
int exportScene(const StackFile& file, ExportJob& job) {
    const Stack& stack = file.getStack();
    const std::string name =
        job.directory + "/" + (stack.getName().empty() ? FileInfo::baseName(file.getName()) : stack.getName()) + ".glb";
    if (!mayWrite(name, job.overwrite))
        return ExitFileError;
    int status = ExitGood;
    const bool opened = saveStreamed(name, [&](std::ostream& stream) {
        GltfWriter writer(stream, std::size_t(stack.getNumModels()));
        std::cout << name << '\n';
        status = forEachSurface(file, [&](const Model& model, StackReconstruction<float>& reconstruction) {
            const auto certificate = job.exporter.addTo(writer, model, reconstruction, stack.getLengthUnit().symbol());
            std::cout << "  " << model.getName() << '\n';
            tellCertificate(certificate, stack);
        });
        writer.finish();
    });
    if (!opened)
        throw FileWriteError("int exportCommand(const QStringList&)", "The file cannot be opened for writing", name);
    return status;
}

int exportStack(const StackFile& file, ExportJob& job) {
    const Stack& stack = file.getStack();
    if (stack.getName().find('/') != std::string::npos) {
        std::cerr << "vorlen-cli: " << file.getName() << ": the stack's name holds a '/', which a file name can't\n";
        return ExitProblems;
    }
    if (job.format == SurfaceFormat::Glb)
        return exportScene(file, job);
    const std::string prefix = job.directory + "/" + (stack.getName().empty() ? "" : stack.getName() + "-");
    return forEachSurface(file, [&](const Model& model, StackReconstruction<float>& reconstruction) {
        const std::string base = prefix + model.getName();
        std::optional<SurfaceCertificate> certificate;
        if (job.format) {
            certificate = job.exporter.exportModel(model, reconstruction, job.directory, stack.getName(), *job.format,
                                                   stack.getLengthUnit().symbol(), job.overwrite);
            std::cout << base << '.' << infoOf(*job.format).suffix << '\n';
        } else {
            certificate =
                job.exporter.export2AsciiSTL(model, reconstruction, job.directory, stack.getName(), job.overwrite);
            std::cout << base << ".stl\n";
            if (ModelSurface<float>(model, reconstruction).isGrid())
                std::cout << base << ".qm\n";
        }
        tellCertificate(certificate, stack);
    });
}

/// The format that the command line asks for; false, and a word about it, for one that there is not.
bool readFormat(const CommandLine& line, ExportJob& job) {
    if (!line.isSet("format"))
        return true;
    job.format = toSurfaceFormat(line.value("format").toStdString());
    if (job.format)
        return true;
    QStringList words;
    for (const SurfaceFormatInfo& info : surfaceFormats())
        words += QString::fromUtf8(info.word.data(), qsizetype(info.word.size()));
    line.usageError("unknown format '" + line.value("format") + "'; there are " + words.join(", "));
    return false;
}

} // namespace

int exportCommand(const QStringList& arguments) {
    CommandLine line("export", "Writes the surfaces of the models to files that other programs read.", "STACK.sdf...",
                     "Stack description files (.sdf).");
    line.addOutputOptions();
    line.addOption(
        {"ends"},
        "How closed surfaces end: open, at the outermost contours; flat, by lids on them; half, half a section on, "
        "in tips where the contours shrink; next, in tips on the next section. By default flat where the model has a "
        "cap, else half.",
        "ends");
    line.addOption(
        {"f", "format"},
        "stl and stl-ascii, obj, ply and ply-ascii, vtk: a file for each model; glb: glTF 2.0, all models of "
        "a stack in one file. By default stl-ascii, with the mesh (.qm) that it was made of.",
        "format");
    line.addFlag("resampled", "For the formats: through the rows and columns that the models ask for, in place of the "
                              "outlines' own vertices. The default form is always resampled.");
    if (const std::optional<int> status = line.parse(arguments))
        return *status;

    ExportJob job;
    job.exporter.setResampled(line.isSet("resampled"));
    if (!readEnds(line, job.exporter) || !readFormat(line, job))
        return ExitUsage;
    if (line.isSet("dry-run"))
        return tellMemory(
            line.files(),
            {.ofDescription = 60, .ofPixel = 40, .ofMeshVertex = job.format && !line.isSet("resampled") ? 0. : 250.});
    const std::optional<std::string> directory = line.outputDirectory();
    if (!directory)
        return ExitFileError;
    job.directory = *directory;
    job.overwrite = line.isSet("overwrite");
    int status = ExitGood;
    for (const std::string& name : line.files()) {
        const StackFile file(name);
        status = std::max(status, file.report());
        if (!file.isOpened())
            continue;
        status =
            std::max(status, !file.isMeasurable() ? int(ExitProblems)
                                                  : guarded("export " + name, [&] { return exportStack(file, job); }));
        if (!file.hasOrderedPositions())
            status = std::max(status, int(ExitProblems));
    }
    return status;
}

} // namespace vorlen
