#include "cli/commands.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <tuple>
#include <vector>

#include "checking/stackcheck.h"
#include "checking/stackmender.h"
#include "cli/consolemonitor.h"
#include "cli/jsonwriter.h"
#include "cli/memoryneed.h"
#include "cli/outputformat.h"
#include "cli/pixelcheck.h"
#include "cli/stackfile.h"
#include "cli/texttable.h"
#include "document/stack.h"
#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/stacks/stackfileguard.h"
#include "files/filebackups.h"
#include "files/fileinfo.h"
#include "files/safefile.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

/// As many as the preferences of the windows begin with.
constexpr int numBackups = 5;

/// A file with all that is wrong with it.
struct CheckedFile {
    std::string name; ///< as it was given
    std::string path; ///< with its suffix
    std::unique_ptr<Stack> stack = std::make_unique<Stack>();
    bool opened = false;
    bool whole = false;
    int numFatal = 0;
    std::vector<std::string> log; ///< what the reader said, in its words
    std::vector<StackProblem> problems;
    std::vector<StackProblem> mended;
    std::string refusal; ///< why it was not mended
    std::string backup;  ///< the file as it was before

    int count(Severity severity) const {
        return int(std::count_if(
            problems.begin(), problems.end(),
            [severity](const StackProblem& problem) { return kindOf(problem.code).severity == severity; }));
    }
    bool isClean() const { return count(Severity::Error) + count(Severity::Warning) == 0; }
};

/// Reads every pixel of the stack's images.
void addPixelProblems(CheckedFile& file) {
    for (int i = 0; i < file.stack->getNumSlices(); ++i) {
        const StackSlice& slice = file.stack->getSlice(i);
        const auto add = [&](ProblemCode code, const std::string& sentence) {
            if (sentence.empty())
                return;
            StackProblem problem;
            problem.code = code;
            problem.message = sentence;
            problem.slice = slice.getName();
            file.problems.push_back(problem);
        };
        const std::string problem = readPixels(slice).problem;
        add(ProblemCode::PixelFault, problem);
        if (problem.empty()) {
            add(ProblemCode::ImagePages, furtherPages(slice));
        } else {
            file.log.push_back(problem);
            ++file.numFatal;
        }
    }
}

CheckedFile checkFile(const std::string& name, bool readsPixels) {
    CheckedFile file;
    file.name = name;
    file.path = FileInfo::suffixName(name) == "sdf" ? name : name + ".sdf";
    ConsoleMonitor monitor;
    StackReader reader;
    reader.noteLines();
    reader.addMonitor(monitor);
    try {
        file.opened = reader.read(*file.stack, name);
        file.log = reader.getMessages();
        file.numFatal = reader.getNumFatalErrors();
        file.whole = reader.isWhole();
        if (file.opened)
            file.problems = checkStack(*file.stack, reader);
    } catch (const Exception& error) {
        file.opened = false;
        file.log.push_back(error.getWhat());
    } catch (const std::exception& error) {
        file.opened = false;
        file.log.push_back(error.what());
    }
    reader.removeMonitor(monitor);
    for (const StackProblem& problem : file.problems)
        if (problem.code == ProblemCode::ImageFault) {
            file.log.push_back(problem.message);
            ++file.numFatal;
        }
    if (readsPixels && file.opened)
        addPixelProblems(file);
    return file;
}

/// Those of before that could be mended and are no more, wherever the lines went.
std::vector<StackProblem> difference(const std::vector<StackProblem>& before, const std::vector<StackProblem>& after) {
    const auto key = [](const StackProblem& problem) { return std::tuple(problem.code, problem.model, problem.slice); };
    std::map<decltype(key(before.front())), int> left;
    for (const StackProblem& problem : after)
        ++left[key(problem)];
    std::vector<StackProblem> gone;
    for (const StackProblem& problem : before)
        if (--left[key(problem)] < 0 && kindOf(problem.code).fixable)
            gone.push_back(problem);
    return gone;
}

/// Why the file can't be mended; empty when nothing is in the way.
std::string obstacleToMending(const CheckedFile& file) {
    if (!file.whole)
        return "the file is not whole: what can be read of it is not written over it";
    if (const std::string holder = StackFileGuard::holder(file.path).toStdString(); !holder.empty())
        return "the file is open in " + holder;
    return "";
}

/// Mends and saves the file, and looks at it again.
void mend(CheckedFile& file, const std::string& imagesDirectory, bool readsPixels) {
    const bool isRenamed = std::any_of(file.problems.begin(), file.problems.end(), [](const StackProblem& problem) {
        return problem.code == ProblemCode::SliceNameDuplicate || problem.code == ProblemCode::ModelNameDuplicate;
    });
    if (mendStack(*file.stack, imagesDirectory) == 0 && !isRenamed)
        return;
    file.refusal = obstacleToMending(file);
    if (!file.refusal.empty())
        return;
    const char* const where = "int checkCommand(const QStringList&)";
    StackWriter writer;
    writer.setKeepsStatedSizes(true);
    const std::string text = writer.toText(*file.stack, FileInfo::dirName(file.path));
    FileBackups backups(file.path, numBackups);
    if (!backups.setAside())
        throw FileWriteError(where, "No backup can be made beside it, so that it is left as it was", file.path);
    if (!SafeFile::save(file.path, text))
        throw FileWriteError(where, "The file cannot be opened for writing", file.path);
    backups.rotate();
    CheckedFile again = checkFile(file.name, readsPixels);
    again.mended = difference(file.problems, again.problems);
    again.backup = file.path + "~1";
    file = std::move(again);
}

void writeProblems(JsonWriter& json, const char* key, const std::vector<StackProblem>& problems,
                   const std::string& file) {
    json.key(key);
    json.beginArray();
    const auto member = [&json](const char* name, const std::string& text) {
        json.key(name);
        if (text.empty())
            json.null();
        else
            json.value(text);
    };
    for (const StackProblem& problem : problems) {
        const ProblemKind& kind = kindOf(problem.code);
        json.beginObject();
        json.member("code", std::string(kind.word));
        json.member("severity", std::string(toText(kind.severity)));
        json.member("file", file);
        json.key("line");
        if (problem.line > 0)
            json.value(problem.line);
        else
            json.null();
        member("slice", problem.slice);
        member("model", problem.model);
        json.member("message", problem.message);
        json.member("fixable", kind.fixable);
        json.endObject();
    }
    json.endArray();
}

void writeJson(JsonWriter& json, const CheckedFile& file, bool isFixing) {
    json.beginObject();
    json.member("file", file.name);
    json.member("opened", file.opened);
    json.member("fatal", file.numFatal);
    json.member("errors", file.count(Severity::Error));
    json.member("warnings", file.count(Severity::Warning));
    json.member("notes", file.count(Severity::Note));
    writeProblems(json, "problems", file.problems, file.name);
    if (isFixing) {
        writeProblems(json, "fixed", file.mended, file.name);
        json.key("backup");
        if (file.backup.empty())
            json.null();
        else
            json.value(file.backup);
    }
    json.key("log");
    json.beginArray();
    for (const std::string& message : file.log)
        json.value(message);
    json.endArray();
    json.endObject();
}

std::string numbered(int number, const std::string& word) {
    return std::to_string(number) + " " + word + (number == 1 ? "" : "s");
}

/// As compilers do: "stack.sdf:12: warning: The polygon ... (model "m", slice "s1") [outline-crossing]".
void printProblem(const CheckedFile& file, const StackProblem& problem, const char* state) {
    const ProblemKind& kind = kindOf(problem.code);
    StackProblem withoutLine = problem;
    withoutLine.line = 0;
    std::cout << file.name << ':' << (problem.line > 0 ? std::to_string(problem.line) + ":" : "") << ' ' << state
              << toText(kind.severity) << ": " << withoutLine.toText() << " [" << kind.word << "]\n";
}

void printText(const CheckedFile& file) {
    if (!file.opened) {
        std::cout << file.name << ": cannot be read" << (file.log.empty() ? "" : ": " + file.log.front()) << '\n';
        return;
    }
    for (const StackProblem& problem : file.mended)
        printProblem(file, problem, "mended ");
    for (const StackProblem& problem : file.problems)
        printProblem(file, problem, "");
    std::cout << file.name << ": ";
    if (file.isClean())
        std::cout << "no problems";
    else
        std::cout << numbered(file.count(Severity::Error), "error") << ", "
                  << numbered(file.count(Severity::Warning), "warning");
    if (const int notes = file.count(Severity::Note); notes > 0)
        std::cout << ", " << numbered(notes, "note");
    if (!file.mended.empty())
        std::cout << "; " << file.mended.size() << " mended, the file as it was is " << file.backup;
    std::cout << '\n';
}

void addRows(TextTable& table, const CheckedFile& file) {
    const auto row = [&](const StackProblem& problem, const char* state) {
        const ProblemKind& kind = kindOf(problem.code);
        table.addRow({file.name, file.opened ? "true" : "false", std::to_string(file.numFatal),
                      problem.line > 0 ? std::to_string(problem.line) : "", problem.slice, problem.model,
                      std::string(toText(kind.severity)), std::string(kind.word), state, problem.message});
    };
    for (const StackProblem& problem : file.mended)
        row(problem, "mended");
    for (const StackProblem& problem : file.problems)
        row(problem, "");
    if (file.problems.empty() && file.mended.empty())
        table.addRow({file.name, file.opened ? "true" : "false", std::to_string(file.numFatal), "", "", "", "", "", "",
                      file.log.empty() ? "" : file.log.front()});
}

/// The table of all codes, in one of the formats.
int printCodes(OutputFormat format) {
    TextTable table({"Code", "Severity", "Fix", "Meaning"});
    JsonWriter json(std::cout);
    if (format == OutputFormat::Json)
        json.beginArray();
    for (const ProblemKind& kind : problemKinds()) {
        table.addRow({std::string(kind.word), std::string(toText(kind.severity)), kind.fixable ? "yes" : "no",
                      std::string(kind.meaning)});
        if (format != OutputFormat::Json)
            continue;
        json.beginObject();
        json.member("code", std::string(kind.word));
        json.member("severity", std::string(toText(kind.severity)));
        json.member("fixable", kind.fixable);
        json.member("meaning", std::string(kind.meaning));
        json.endObject();
    }
    if (format == OutputFormat::Json)
        json.endArray();
    else if (format == OutputFormat::Csv)
        table.printCsv(std::cout);
    else
        table.print(std::cout);
    return ExitGood;
}

/// Checks one file, mends it if that is wanted, and gives its exit status.
int checkOne(CheckedFile& file, bool isFixing, const std::string& imagesDirectory, bool readsPixels) {
    int status = ExitGood;
    if (isFixing && file.opened)
        status = guarded("mend " + file.name, [&] {
            mend(file, imagesDirectory, readsPixels);
            return int(ExitGood);
        });
    if (!file.refusal.empty()) {
        std::cerr << "vorlen-cli: " << file.name << " is not mended: " << file.refusal << '\n';
        status = ExitProblems;
    }
    return std::max(status, int(!file.opened ? ExitFileError : file.isClean() ? ExitGood : ExitProblems));
}

} // namespace

int checkCommand(const QStringList& arguments) {
    CommandLine line("check",
                     "Tells what is wrong with stacks, each problem with its code, place and severity. Exit status 1 "
                     "when there are errors or warnings.",
                     "STACK.sdf...", "Stack description files (.sdf).");
    line.addFormatOption();
    line.addFlag("fix", "Mend what can be mended without guessing, and save the file; as it was it stays as "
                        "STACK.sdf~1. Exit status 1 when problems are left.");
    line.addOption({"images"}, "With --fix, the directory where images that are missing are looked for.", "directory");
    line.addFlag("pixels", "Read every pixel of the images, and tell what can't be read.");
    line.addFlag("codes", "Print the table of all codes; no file is needed.");
    const bool isAboutCodes = arguments.contains("--codes");
    if (const std::optional<int> status = line.parse(arguments, 0, !isAboutCodes))
        return *status;
    const std::optional<OutputFormat> format = outputFormat(line);
    if (!format)
        return ExitUsage;
    if (isAboutCodes)
        return printCodes(*format);
    if (line.isSet("images") && !line.isSet("fix"))
        return line.usageError("--images goes with --fix");
    // Of an image some rows are held at a time.
    if (line.isSet("dry-run"))
        return tellMemory(line.files(), {.ofDescription = 12, .ofPixel = line.isSet("pixels") ? 8. : 0.});

    TextTable table({"File", "Opened", "Fatal", "Line", "Slice", "Model", "Severity", "Code", "State", "Message"});
    JsonWriter json(std::cout);
    if (*format == OutputFormat::Json)
        json.beginArray();
    int status = ExitGood;
    for (const std::string& name : line.files()) {
        CheckedFile file = checkFile(name, line.isSet("pixels"));
        status = std::max(status, checkOne(file, line.isSet("fix"), line.path("images"), line.isSet("pixels")));
        if (*format == OutputFormat::Json)
            writeJson(json, file, line.isSet("fix"));
        else if (*format == OutputFormat::Csv)
            addRows(table, file);
        else
            printText(file);
    }
    if (*format == OutputFormat::Json)
        json.endArray();
    else if (*format == OutputFormat::Csv)
        table.printCsv(std::cout);
    return status;
}

} // namespace vorlen
