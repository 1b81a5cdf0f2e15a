#include "cli/commandline.h"

#include <cmath>
#include <filesystem>
#include <iostream>
#include <system_error>

#include <QFile>

#include "cli/stackfile.h"
#include "images/filters/parallelwork.h"

namespace vorlen {

CommandLine::CommandLine(const QString& command, const QString& description, const QString& file,
                         const QString& aboutFiles)
    : __command(command) {
    __parser.setApplicationDescription(description);
    __parser.addOption({{"h", "help"}, "Show this help."});
    addOption({"threads"}, "Number of threads; all processors by default. The result is the same for any.", "number");
    addFlag("dry-run", "Only tell how much memory it takes.");
    // The command's own word stands in front of the files in the syntax line.
    __parser.addPositionalArgument("files", aboutFiles, command + " " + file);
}

void CommandLine::addFlag(const QString& name, const QString& description) {
    __parser.addOption({name, description});
}

void CommandLine::addOption(const QStringList& names, const QString& description, const QString& valueName,
                            const QString& defaultValue) {
    __parser.addOption({names, description, valueName, defaultValue});
}

void CommandLine::addOutputOptions() {
    addOption({"o", "output"}, "Directory for the files, made when it is missing; the current one by default.",
              "directory", ".");
    addFlag("overwrite", "Replace files that exist.");
}

void CommandLine::addFormatOption() {
    addOption({"f", "format"}, "How results are printed: table, csv or json.", "format", "table");
}

std::optional<int> CommandLine::parse(const QStringList& arguments, int maxFiles, bool needsFile) {
    const bool good = __parser.parse(arguments);
    if (__parser.isSet("help")) {
        std::cout << __parser.helpText().toStdString();
        return ExitGood;
    }
    if (!good)
        return usageError(__parser.errorText());
    const qsizetype numFiles = __parser.positionalArguments().size();
    if (numFiles == 0 && needsFile)
        return usageError("no file given");
    if (maxFiles > 0 && numFiles > maxFiles)
        return usageError("too many files given");
    if (isSet("threads")) {
        const std::optional<int> threads = integer("threads", 1, 1024);
        if (!threads)
            return ExitUsage;
        ParallelWork::setThreads(*threads);
    }
    return std::nullopt;
}

std::string CommandLine::path(const QString& name) const {
    return QFile::encodeName(value(name)).toStdString();
}

std::optional<std::string> CommandLine::outputDirectory() const {
    const std::string directory = path("output");
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (!error)
        return directory;
    std::cerr << "vorlen-cli: cannot make the directory " << directory << ": " << error.message() << '\n';
    return std::nullopt;
}

std::vector<std::string> CommandLine::files() const {
    std::vector<std::string> result;
    for (const QString& word : __parser.positionalArguments())
        result.push_back(QFile::encodeName(word).toStdString());
    return result;
}

std::optional<double> CommandLine::number(const QString& name, double lowest, double highest) const {
    bool good = false;
    const double result = value(name).toDouble(&good);
    if (good && std::isfinite(result) && result >= lowest && result <= highest)
        return result;
    usageError("--" + name + " takes a number from " + QString::number(lowest) + " to " + QString::number(highest) +
               ", not '" + value(name) + "'");
    return std::nullopt;
}

std::optional<int> CommandLine::integer(const QString& name, int lowest, int highest) const {
    bool good = false;
    const int result = value(name).toInt(&good);
    if (good && result >= lowest && result <= highest)
        return result;
    usageError("--" + name + " takes a whole number from " + QString::number(lowest) + " to " +
               QString::number(highest) + ", not '" + value(name) + "'");
    return std::nullopt;
}

int CommandLine::usageError(const QString& message) const {
    std::cerr << "vorlen-cli " << __command.toStdString() << ": " << message.toStdString() << "\nTry 'vorlen-cli "
              << __command.toStdString() << " --help'.\n";
    return ExitUsage;
}

} // namespace vorlen
