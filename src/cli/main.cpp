/// The headless program: looks into stacks, checks, measures and exports them.

#include <clocale>
#include <iostream>
#include <locale>

#include <QCoreApplication>

#include "cli/commands.h"
#include "cli/stackfile.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

struct Command {
    const char* name;
    int (*run)(const QStringList& arguments);
    const char* summary;
};

constexpr Command commands[] = {
    {"info", infoCommand, "what a stack holds: slices, models, poses"},
    {"check", checkCommand, "what is wrong with a stack; exit status 1 when something is"},
    {"new", newCommand, "a stack of images, of the pages of images, of volumes"},
    {"measure", measureCommand, "lengths, areas, volumes of the models, items and slices"},
    {"export", exportCommand, "surfaces of the models as STL and mesh files"},
    {"isosurface", isosurfaceCommand, "the surface of a volume at a level as STL and mesh file"},
    {"render", renderCommand, "a picture or a video of the models in space; needs a display"},
    {"register", registerCommand, "a new stack whose slices are brought onto each other by their images"},
    {"transfer", transferCommand, "models of one stack copied into another"},
    {"filter", filterCommand, "models without what lies outside of a reference model"},
    {"spots", spotsCommand, "the bright spots of a stack's images, measured and as point models in a new stack"},
    {"normalize", normalizeCommand, "several stacks in one space: registered shapes and their means"},
    {"density", densityCommand, "where the points of several specimens concentrate, as volume and surfaces"},
    {"compare", compareCommand, "where groups of specimens differ, by a permutation test"},
};

void printHelp() {
    std::cout << "Usage: vorlen-cli COMMAND [options] FILE...\n"
                 "Works on stacks of serial sections without a window.\n\nCommands:\n";
    for (const Command& command : commands)
        std::cout << "  " << command.name << std::string(12 - std::string(command.name).size(), ' ') << command.summary
                  << '\n';
    std::cout << "\n'vorlen-cli COMMAND --help' tells the options of a command; 'vorlen-cli --version' the version.\n"
                 "Exit status: 0 good, 1 problems in a document, 2 usage, 3 file error.\n";
}

/// Whether the word is an option that has its value in the next one.
bool takesValue(const QString& word) {
    static const QStringList flags = {
        "--overwrite", "--models-only", "--invert", "--open",       "--calibrated", "--no-alignment",
        "--fix",       "--codes",       "--pixels", "--keep-order", "--error",      "--gzip",
        "--dry-run",   "--world",       "--help",   "-h",           "--one-model",  "--spheres",
        "--no-border", "--no-split",    "--video",  "--shapes",     "--mirror"};
    return word.startsWith('-') && !word.contains('=') && !flags.contains(word);
}

int usageError(const std::string& message) {
    std::cerr << "vorlen-cli: " << message << "\nTry 'vorlen-cli --help'.\n";
    return ExitUsage;
}

int run(QStringList arguments) {
    // Options may stand before the command's name, so that it is looked for; what stands behind an option may be its
    // value, and is the command only when nothing else is.
    for (const bool afterOptions : {false, true})
        for (qsizetype i = 1; i < arguments.size(); ++i)
            for (const Command& command : commands)
                if (arguments[i] == command.name && takesValue(arguments[i - 1]) == afterOptions) {
                    arguments.removeAt(i);
                    return command.run(arguments);
                }
    if (arguments.contains("--version") || arguments.contains("-v")) {
        std::cout << "vorlen-cli " << VORLEN_VERSION << '\n';
        return ExitGood;
    }
    if (arguments.contains("--help") || arguments.contains("-h")) {
        printHelp();
        return ExitGood;
    }
    if (arguments.size() < 2)
        return usageError("no command given");
    return usageError("unknown command '" + arguments[1].toStdString() + "'");
}

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    using namespace vorlen;
    const QCoreApplication application(argc, argv);
    // The application object takes the user's locale; numbers in files and tables have a point.
    std::setlocale(LC_NUMERIC, "C");
    std::locale::global(std::locale::classic());
    try {
        const int status = run(QCoreApplication::arguments());
        // A full disk behind a redirection shows at the end.
        if (std::cout.flush() && std::fflush(stdout) == 0)
            return status;
        std::cerr << "vorlen-cli: the output can't be written\n";
    } catch (const Exception& error) {
        std::cerr << "vorlen-cli: " << error.getWhat() << '\n';
    } catch (const std::exception& error) {
        std::cerr << "vorlen-cli: " << error.what() << '\n';
    }
    return ExitProblems;
}
