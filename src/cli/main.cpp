/// The headless program: looks into stacks, checks, measures and exports them.

#include <iostream>
#include <locale>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

#include "cli/commands.h"
#include "cli/stackfile.h"
#include "numerics/exception.h"

namespace {

int usageError(const QString& message) {
    std::cerr << "vorlen-cli: " << message.toStdString() << "\nTry 'vorlen-cli --help'.\n";
    return ExitUsage;
}

bool parseFormat(const QString& name, OutputFormat& format) {
    if (name == "table")
        format = OutputFormat::Table;
    else if (name == "csv")
        format = OutputFormat::Csv;
    else if (name == "json")
        format = OutputFormat::Json;
    else
        return false;
    return true;
}

int run(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription("Looks into stacks of serial sections without a window.\n\n"
                                     "Commands:\n"
                                     "  info     what a stack holds: slices, models, poses\n"
                                     "  check    what is wrong with a stack; exit status 1 when something is\n"
                                     "  measure  lengths, areas, volumes of the models, items and slices\n"
                                     "  export   surfaces of the models as STL and mesh files\n\n"
                                     "Exit status: 0 good, 1 problems in a document, 2 usage, 3 file error.");
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption formatOption({"f", "format"}, "How results are printed: table, csv or json.", "format",
                                          "table");
    const QCommandLineOption outputOption({"o", "output"}, "Directory for the files that export writes.", "directory",
                                          ".");
    const QCommandLineOption overwriteOption("overwrite", "Let export replace files that exist.");
    parser.addOptions({formatOption, outputOption, overwriteOption});
    parser.addPositionalArgument("command", "One of info, check, measure, export.");
    parser.addPositionalArgument("stacks", "Stack description files (.sdf).", "STACK.sdf...");

    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    if (parser.isSet(help)) {
        std::cout << parser.helpText().toStdString();
        return ExitGood;
    }
    if (parser.isSet(version)) {
        std::cout << "vorlen-cli " << VORLEN_VERSION << '\n';
        return ExitGood;
    }

    const QStringList words = parser.positionalArguments();
    if (words.isEmpty())
        return usageError("no command given");
    const QString command = words.first();
    OutputFormat format;
    if (!parseFormat(parser.value(formatOption), format))
        return usageError("unknown format '" + parser.value(formatOption) + "'");
    const bool exporting = command == "export";
    if (!exporting && command != "info" && command != "check" && command != "measure")
        return usageError("unknown command '" + command + "'");
    if (words.size() < 2)
        return usageError("no stack given");
    if (!exporting && (parser.isSet(outputOption) || parser.isSet(overwriteOption)))
        return usageError("--output and --overwrite belong to export");
    if (exporting && parser.isSet(formatOption))
        return usageError("--format does not belong to export");

    std::vector<std::string> files;
    for (const QString& word : words.mid(1))
        files.push_back(QFile::encodeName(word).toStdString());
    if (command == "info")
        return infoCommand(files, format);
    if (command == "check")
        return checkCommand(files, format);
    if (command == "measure")
        return measureCommand(files, format);
    return exportCommand(files, QFile::encodeName(parser.value(outputOption)).toStdString(),
                         parser.isSet(overwriteOption));
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    // The application object takes the user's locale; numbers in files and tables have a point.
    std::setlocale(LC_NUMERIC, "C");
    std::locale::global(std::locale::classic());
    try {
        return run(QCoreApplication::arguments());
    } catch (const Exception& error) {
        std::cerr << "vorlen-cli: " << error.getWhat() << '\n';
    } catch (const std::exception& error) {
        std::cerr << "vorlen-cli: " << error.what() << '\n';
    }
    return ExitProblems;
}
