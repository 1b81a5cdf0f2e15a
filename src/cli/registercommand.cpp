#include "cli/commands.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include "cli/commandline.h"
#include "cli/consolemonitor.h"
#include "cli/elasticrun.h"
#include "cli/interruption.h"
#include "cli/memoryneed.h"
#include "cli/outputformat.h"
#include "cli/stackfile.h"
#include "cli/texttable.h"
#include "document/stackslice.h"
#include "editing/operations/slicealignment.h"
#include "editing/stacks/vrlstack.h"
#include "files/fileinfo.h"
#include "progress/progresssubject.h"

namespace vorlen {

namespace {

/// What the command line asks for; slices are named by each stack in its own way.
struct RegisterRequest {
    std::string directory;
    bool overwrite = false;
    OutputFormat format = OutputFormat::Table;
    AlignmentOptions options;
    std::string method, reference, slices;
    std::vector<std::string> locked;
    bool keepsRegistrations = false;
    ElasticRequest elastic;
};

std::optional<AlignmentMethod> methodOf(const std::string& word) {
    if (word == "auto")
        return AlignmentMethod::Auto;
    if (word == "features")
        return AlignmentMethod::Features;
    if (word == "intensity")
        return AlignmentMethod::Intensity;
    if (word == "mutual information" || word == "mutual-information")
        return AlignmentMethod::MutualInformation;
    if (word == "principal axes" || word == "principal-axes")
        return AlignmentMethod::PrincipalAxes;
    return std::nullopt;
}

/// The place of a slice by its name or, when none has that, by its number from 1; -1 for neither.
int placeOf(const Stack& stack, const std::string& text) {
    const int named = stack.findSlice(text);
    if (named >= 0)
        return named;
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos)
        return -1;
    const int number = std::stoi(text);
    return number >= 1 && number <= stack.getNumSlices() ? number - 1 : -1;
}

/// A slice, or the first and the last one of a range, with a colon or a hyphen between them.
bool findRange(const Stack& stack, const std::string& text, AlignmentOptions& options) {
    options.first = options.last = placeOf(stack, text);
    if (options.first >= 0)
        return true;
    for (std::size_t at = 0; (at = text.find_first_of(":-", at)) != std::string::npos; ++at) {
        options.first = at == 0 ? 0 : placeOf(stack, text.substr(0, at));
        options.last = at + 1 == text.size() ? stack.getNumSlices() - 1 : placeOf(stack, text.substr(at + 1));
        if (options.first >= 0 && options.last >= options.first)
            return true;
    }
    return false;
}

bool findReference(const Stack& stack, const std::string& text, AlignmentOptions& options) {
    if (text == "neighbours")
        options.reference = AlignmentReference::Neighbours;
    else if (text == "template")
        options.reference = AlignmentReference::Template;
    else if (text == "path")
        options.reference = AlignmentReference::SmoothedPath;
    else {
        options.reference = AlignmentReference::FixedSlice;
        options.fixedSlice = placeOf(stack, text.starts_with("slice:") ? text.substr(6) : text);
        return options.fixedSlice >= 0;
    }
    return true;
}

/// False, with a word about it, for slices that this stack has not.
bool findSlices(const std::string& file, const Stack& stack, RegisterRequest& request) {
    const auto refuse = [&file](const std::string& what) {
        std::cerr << "vorlen-cli: " << file << ": there is no slice " << what << '\n';
        return false;
    };
    if (!request.slices.empty() && !findRange(stack, request.slices, request.options))
        return refuse("or range \"" + request.slices + "\"");
    if (!findReference(stack, request.reference, request.options))
        return refuse("\"" + request.reference +
                      "\" to be the reference, which is neighbours, template, path or the name of a slice");
    request.options.locked.clear();
    for (const std::string& name : request.locked) {
        request.options.locked.push_back(placeOf(stack, name));
        if (request.options.locked.back() < 0)
            return refuse("\"" + name + "\"");
    }
    return true;
}

std::string nameOf(const RegistrationReport& report, int slice) {
    return slice < 0 ? "" : report.slices[std::size_t(slice)].name;
}

TextTable reportTable(const RegistrationReport& report, bool full) {
    const auto number = [full](double value) { return full ? fullNumber(value) : shortNumber(value); };
    const auto score = [full](double value) {
        return full ? fullNumber(value) : shortNumber(std::round(value * 1e4) / 1e4);
    };
    TextTable table({"Slice", "Onto", "HorShift [pixel]", "VerShift [pixel]", "Rotation [deg]", "Moved [pixel]",
                     "TurnDoubt [deg]", "ShiftDoubt [pixel]", "ScoreBefore", "ScoreAfter", "Support", "Method", "State",
                     "Reason"});
    for (const SliceAlignment& one : report.slices) {
        const bool compared = one.onto >= 0;
        table.addRow({one.name, nameOf(report, one.onto), number(one.after.getHorShift()),
                      number(one.after.getVerShift()), number(one.after.getRotationAngle()), score(one.moved),
                      one.turnDoubt > 0 ? score(one.turnDoubt) : "", one.shiftDoubt > 0 ? score(one.shiftDoubt) : "",
                      compared ? score(one.scoreBefore) : "", compared ? score(one.scoreAfter) : "",
                      one.method.empty() ? "" : score(one.support), one.method, one.stateWord(), one.reason});
    }
    return table;
}

void writeRegistration(JsonWriter& json, const char* key, const Registration& registration) {
    json.key(key);
    json.beginArray();
    json.value(registration.getHorShift());
    json.value(registration.getVerShift());
    json.value(double(registration.getRotationAngle()));
    json.endArray();
}

void writeJson(JsonWriter& json, const std::string& file, const std::string& output, const Stack& stack,
               const RegisterRequest& request, const RegistrationReport& report, const ElasticAlignment& bent) {
    json.beginObject();
    json.member("file", file);
    json.member("output", output);
    json.member("stack", stack.getName());
    json.member("method", request.method);
    json.member("reference", request.reference);
    json.member("registered", report.count(SliceAlignment::State::Registered));
    json.member("leftAlone", report.count(SliceAlignment::State::LeftAlone));
    json.member("scoreBefore", report.meanScoreBefore());
    json.member("scoreAfter", report.meanScoreAfter());
    json.key("slices");
    json.beginArray();
    for (const SliceAlignment& one : report.slices) {
        json.beginObject();
        json.member("name", one.name);
        json.key("onto");
        if (one.onto >= 0)
            json.value(nameOf(report, one.onto));
        else
            json.null();
        json.member("state", one.stateWord());
        json.member("reason", one.reason);
        json.member("method", one.method);
        json.member("mirrored", one.mirrored);
        for (const auto& [key, value] : {std::pair("scoreBefore", one.scoreBefore), {"scoreAfter", one.scoreAfter}}) {
            json.key(key);
            if (one.onto >= 0)
                json.value(value);
            else
                json.null();
        }
        json.member("support", one.support);
        json.member("moved", one.moved);
        json.member("turnDoubt", one.turnDoubt);
        json.member("shiftDoubt", one.shiftDoubt);
        writeRegistration(json, "before", one.before);
        writeRegistration(json, "after", one.after);
        json.endObject();
    }
    json.endArray();
    if (request.elastic.wanted)
        writeElasticJson(json, bent);
    json.endObject();
}

void printTables(const std::string& stackFile, const std::string& name, const Stack& stack,
                 const RegisterRequest& request, const RegistrationReport& report, const ElasticAlignment& bent) {
    std::cout << stackFile << ": stack \"" << stack.getName() << "\"\n";
    if (!request.keepsRegistrations) {
        reportTable(report, false).print(std::cout);
        std::cout << "Mean score " << shortNumber(report.meanScoreBefore()) << " before, "
                  << shortNumber(report.meanScoreAfter()) << " after; "
                  << report.count(SliceAlignment::State::Registered) << " slices registered, "
                  << report.count(SliceAlignment::State::LeftAlone) << " left as they were\n";
    }
    if (request.elastic.wanted)
        elasticTable(bent, false).print(std::cout);
    std::cout << name << '\n';
}

int registerStack(const std::string& stackFile, VRLStack& stack, RegisterRequest request, JsonWriter& json) {
    std::string name;
    if (const ExitStatus status = findStackOutput(request.directory, stackFile, request.overwrite, name);
        status != ExitGood)
        return status;
    if (!findSlices(stackFile, stack, request))
        return ExitUsage;
    ConsoleMonitor terminal;
    ProgressSubject progress;
    progress.addMonitor(terminal);
    RegistrationReport report;
    if (!request.keepsRegistrations) {
        Interruption interruption;
        progress.addMonitor(interruption);
        const Outcome registered = registerSlices(stack, request.options, progress, &report);
        progress.removeMonitor(interruption);
        if (interruption.hasCome()) {
            std::cerr << "vorlen-cli: " << stackFile << ": interrupted, nothing is written\n";
            interruption.end();
        }
        if (!registered) {
            std::cerr << "vorlen-cli: " << stackFile << ": " << registered.getReason() << '\n';
            return ExitProblems;
        }
    }
    for (const SliceAlignment& one : report.slices)
        if (!one.reason.empty())
            std::cerr << "vorlen-cli: " << stackFile << ": slice \"" << one.name << "\""
                      << (one.state == SliceAlignment::State::LeftAlone ? " is left as it is: " : ": ") << one.reason
                      << '\n';
    ElasticAlignment bent;
    if (request.elastic.wanted) {
        request.elastic.options.first = request.options.first;
        request.elastic.options.last = request.options.last;
        request.elastic.options.locked = request.options.locked;
        const int status = bendByRequest(stackFile, stack, request.elastic, request.directory,
                                         FileInfo::baseName(stackFile), request.overwrite, bent);
        if (status != ExitGood)
            return status;
    }
    if (const ExitStatus status = writeStack(stack, name); status != ExitGood)
        return status;
    switch (request.format) {
    case OutputFormat::Json:
        writeJson(json, stackFile, name, stack, request, report, bent);
        break;
    case OutputFormat::Csv:
        if (!request.keepsRegistrations)
            reportTable(report, true).printCsv(std::cout);
        else
            elasticTable(bent, true).printCsv(std::cout);
        break;
    case OutputFormat::Table:
        printTables(stackFile, name, stack, request, report, bent);
        break;
    }
    return ExitGood;
}

} // namespace

int registerCommand(const QStringList& arguments) {
    CommandLine line(
        "register",
        "Brings each slice onto its neighbours and writes a new stack with the registrations. A slice that "
        "would fit less than before is left as it is, and named. The images stay as they are.",
        "STACK.sdf...", "Stack description files (.sdf).");
    line.addOutputOptions();
    line.addFormatOption();
    line.addOption({"m", "method"},
                   "How slices are matched: auto, features, intensity, mutual-information (for different stains, or "
                   "contrast that is inverted in part), or principal-axes (the centre and the main axis of the bright "
                   "parts).",
                   "method", "auto");
    line.addOption({"r", "reference"},
                   "What slices are brought onto: neighbours; template, the median of the neighbours; path, neighbours "
                   "but with the slow course of the stack kept; or one slice, by its name.",
                   "reference", "neighbours");
    line.addOption({"slices"},
                   "The slices that may move, FIRST:LAST or one, by name or by number from 1; all by default.",
                   "range");
    line.addOption({"locked"},
                   "Slices that keep their registration, by name or number, with commas between; may be given several "
                   "times.",
                   "slices");
    line.addFlag("elastic",
                 "Then bend the slices onto each other, for squeezed or torn sections: images of bent slices are "
                 "written anew beside the stack, outlines go along, and the fields are saved as NAME.fields.");
    line.addFlag("keep-registrations", "Leave the registrations as they are, and only bend.");
    line.addOption({"fields"},
                   "Bend by the fields that an earlier run on the same slices has saved, so that outlines drawn since "
                   "are carried over.",
                   "file");
    line.addOption({"reach"}, "How far a piece of a slice may lie off for bending, in pixels from 2 to 128.", "pixels",
                   "32");
    line.addOption({"stiffness"}, "Stiffness of the slices for bending, from 0.001 to 1000: the greater the smoother.",
                   "factor", "1");
    line.addFlag("invert", "Take dark parts for the tissue, for principal-axes on a white ground.");
    if (const std::optional<int> status = line.parse(arguments))
        return *status;
    const std::optional<OutputFormat> format = outputFormat(line);
    if (!format)
        return ExitUsage;
    RegisterRequest request;
    request.format = *format;
    request.method = line.value("method").toStdString();
    const std::optional<AlignmentMethod> method = methodOf(request.method);
    if (!method)
        return line.usageError("unknown method '" + line.value("method") + "'");
    if (line.isSet("dry-run"))
        return tellMemory(line.files(), {.ofDescription = 12, .ofPixel = line.isSet("elastic") ? 400. : 200.});
    request.options.method = *method;
    request.options.inverted = line.isSet("invert");
    request.reference = line.value("reference").toStdString();
    request.slices = line.value("slices").toStdString();
    for (const QString& names : line.values("locked"))
        for (const QString& name : names.split(',', Qt::SkipEmptyParts))
            request.locked.push_back(name.trimmed().toStdString());
    ElasticRequest& elastic = request.elastic;
    elastic.fields = line.path("fields");
    elastic.wanted = line.isSet("elastic") || line.isSet("fields");
    request.keepsRegistrations = line.isSet("keep-registrations");
    if (!elastic.wanted && (request.keepsRegistrations || line.isSet("reach") || line.isSet("stiffness")))
        return line.usageError("--keep-registrations, --reach and --stiffness belong to --elastic");
    const std::optional<double> reach = line.number("reach", 2, 128), stiffness = line.number("stiffness", 0.001, 1000);
    if (!reach || !stiffness)
        return ExitUsage;
    elastic.options.reach = *reach;
    elastic.options.stiffness = *stiffness;
    const std::optional<std::string> directory = line.outputDirectory();
    if (!directory)
        return ExitFileError;
    request.directory = *directory;
    request.overwrite = line.isSet("overwrite");

    int status = ExitGood;
    JsonWriter json(std::cout);
    if (request.format == OutputFormat::Json)
        json.beginArray();
    for (const std::string& name : line.files()) {
        auto opened = std::make_unique<VRLStack>();
        VRLStack& stack = *opened;
        const StackFile file(name, std::move(opened));
        status = std::max(status, file.report());
        if (file.isOpened())
            status = std::max(status,
                              guarded("register " + name, [&] { return registerStack(name, stack, request, json); }));
    }
    if (request.format == OutputFormat::Json)
        json.endArray();
    return status;
}

} // namespace vorlen
