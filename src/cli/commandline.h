#pragma once

#include <optional>
#include <string>
#include <vector>

#include <QCommandLineParser>

namespace vorlen {

/// The command line of one command: its options, its help text, and what is said about wrong usage.
///
/// Options are declared by the add operations, then parse() is called once, then the values are asked for. Options may
/// stand on either side of the command's name and of the files. Every command has --help, --threads, which parse()
/// takes for all work to come, and --dry-run, at which the command is to tell its memory need and to write nothing.
class CommandLine {
public:
    /// The files are what the command works on, as the syntax has them, "STACK.sdf..." say.
    CommandLine(const QString& command, const QString& description, const QString& file, const QString& aboutFiles);

    /// An option without a value.
    void addFlag(const QString& name, const QString& description);

    /// An option with a value; names are the long one, or a short and a long one.
    void addOption(const QStringList& names, const QString& description, const QString& valueName,
                   const QString& defaultValue = QString());

    /// The options of commands that write files.
    void addOutputOptions();

    /// How results are printed: table, csv or json.
    void addFormatOption();

    /// An exit status when there is nothing more to do: help was asked for, or the usage is wrong, which is told on the
    /// standard error stream. At least one file must be given, unless none is needed, and no more than maxFiles when
    /// that is above 0.
    std::optional<int> parse(const QStringList& arguments, int maxFiles = 0, bool needsFile = true);

    bool isSet(const QString& name) const { return __parser.isSet(name); }
    QString value(const QString& name) const { return __parser.value(name); }
    QStringList values(const QString& name) const { return __parser.values(name); }

    /// A value in the encoding of file names.
    std::string path(const QString& name) const;
    std::vector<std::string> files() const;

    /// The directory of the output options, made when it is missing; nothing, and a word about it on the standard error
    /// stream, when it cannot be made.
    std::optional<std::string> outputDirectory() const;

    /// A finite number, or a whole number, from a range with both ends; nothing, and a word about it on the standard
    /// error stream, when the value is no such number.
    std::optional<double> number(const QString& name, double lowest, double highest) const;
    std::optional<int> integer(const QString& name, int lowest, int highest) const;

    /// Tells a usage error and gives its exit status.
    int usageError(const QString& message) const;

private:
    QString __command;
    QCommandLineParser __parser;
};

} // namespace vorlen
