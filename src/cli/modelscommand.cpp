#include "cli/commands.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <optional>

#include "cli/commandline.h"
#include "cli/consolemonitor.h"
#include "cli/memoryneed.h"
#include "cli/stackfile.h"
#include "document/model.h"
#include "editing/operations/modelfilter.h"
#include "editing/operations/modeltransfer.h"
#include "editing/stacks/vrlstack.h"
#include "progress/progresssubject.h"

namespace vorlen {

namespace {

/// A stack that can be edited, and the file that it came from.
struct OpenedStack {
    explicit OpenedStack(const std::string& name) {
        auto opened = std::make_unique<VRLStack>();
        stack = opened.get();
        file = std::make_unique<StackFile>(name, std::move(opened));
        status = file->report();
    }

    VRLStack* stack; // the file's
    std::unique_ptr<StackFile> file;
    int status;
};

/// Where the changed stack goes; nothing, and a word about it on the standard error stream, for a file that must stay.
std::optional<std::string> outputName(const CommandLine& line, const std::string& stackFile, int& status) {
    const std::optional<std::string> directory = line.outputDirectory();
    status = ExitFileError;
    if (!directory)
        return std::nullopt;
    std::string name;
    status = findStackOutput(*directory, stackFile, line.isSet("overwrite"), name);
    return status == ExitGood ? std::optional(name) : std::nullopt;
}

/// Runs an operation with its progress on the terminal, and writes the stack when it is done.
template <class Operation>
int changeAndWrite(const VRLStack& stack, const std::string& file, const std::string& name, Operation operation) {
    ConsoleMonitor terminal;
    ProgressSubject progress;
    progress.addMonitor(terminal);
    if (const Outcome outcome = operation(progress); !outcome) {
        std::cerr << "vorlen-cli: " << file << ": " << outcome.getReason() << '\n';
        return ExitProblems;
    }
    return writeStack(stack, name);
}

/// The names that the command line gives, or all models of the stack.
std::vector<std::string> namedModels(const CommandLine& line, const Stack& stack) {
    std::vector<std::string> names;
    for (const QString& name : line.values("model"))
        names.push_back(name.toStdString());
    if (names.empty())
        for (int i = 0; i < stack.getNumModels(); ++i)
            names.push_back(stack.getModel(i).getName());
    return names;
}

int transferInto(const CommandLine& line, const std::vector<std::string>& files, TransferAction action) {
    OpenedStack source(files[0]);
    OpenedStack target(files[1]);
    const int status = std::max(source.status, target.status);
    if (!source.file->isOpened() || !target.file->isOpened())
        return status;
    int refused = ExitGood;
    const std::optional<std::string> name = outputName(line, files[1], refused);
    if (!name)
        return refused;
    std::vector<ModelTransfer> models;
    for (const std::string& model : namedModels(line, *source.stack))
        models.push_back({model, action});
    const std::string difference = placeDifference(*source.stack, *target.stack);
    if (!difference.empty() && !line.isSet("world"))
        std::cerr << "vorlen-cli: the stacks differ in " << difference
                  << ": contours keep their pixels and come to lie elsewhere in space; --world keeps their places\n";
    const TransferPlaces places = line.isSet("world") ? TransferPlaces::World : TransferPlaces::Pixels;
    const int numBefore = target.stack->getNumModels();
    const int done = changeAndWrite(*target.stack, files[1], *name, [&](ProgressSubject& progress) {
        return transferModels(*target.stack, *source.stack, models, places, progress);
    });
    if (done == ExitGood)
        std::cout << files[1] << ": " << numBefore << " models before, " << target.stack->getNumModels() << " after\n"
                  << *name << '\n';
    return std::max(status, done);
}

int filterStack(const CommandLine& line, const std::string& file, FilterMode mode) {
    OpenedStack opened(file);
    if (!opened.file->isOpened())
        return opened.status;
    VRLStack& stack = *opened.stack;
    int refused = ExitGood;
    const std::optional<std::string> name = outputName(line, file, refused);
    if (!name)
        return refused;
    std::vector<Model*> models;
    const auto found = [&](const std::string& model) {
        const int i = stack.findModel(model);
        if (i < 0)
            std::cerr << "vorlen-cli: " << file << " has no model named " << model << '\n';
        return i < 0 ? nullptr : &stack.getModel(i);
    };
    Model* const reference = found(line.value("reference").toStdString());
    if (reference == nullptr)
        return ExitUsage;
    for (const std::string& wanted : namedModels(line, stack)) {
        models.push_back(found(wanted));
        if (models.back() == nullptr)
            return ExitUsage;
    }
    FilterPlan plan;
    if (const Outcome planned = planFilter(stack, *reference, models, mode, plan); !planned) {
        std::cerr << "vorlen-cli: " << file << ": " << planned.getReason() << '\n';
        return ExitProblems;
    }
    for (const FilterPlan::Share& share : plan.shares)
        std::cout << share.model->getName() << ": " << (share.whole ? "goes, with " : "loses ") << share.numItems
                  << " of " << share.model->getNumItems() << " items as a whole, " << share.numVertices
                  << " vertices in all\n";
    if (plan.isEmpty()) {
        std::cout << file << ": nothing is to be removed\n" << *name << '\n';
        return std::max<int>(opened.status, writeStack(stack, *name));
    }
    const int done = changeAndWrite(stack, file, *name, [&](ProgressSubject& progress) {
        return filterModels(stack, *reference, models, mode, progress);
    });
    if (done == ExitGood)
        std::cout << *name << '\n';
    return std::max(opened.status, done);
}

} // namespace

int transferCommand(const QStringList& arguments) {
    CommandLine line("transfer",
                     "Copies models of the first stack to the slices of the same number in the second one, and writes "
                     "it anew. Both need as many slices, with images of the same size.",
                     "SOURCE.sdf TARGET.sdf", "The stack that has the models, and the one that gets them.");
    line.addOutputOptions();
    line.addOption({"model"}, "A model to copy; may be given several times. All by default.", "name");
    line.addOption({"taken"},
                   "What becomes of a model whose name the second stack has: replace, duplicate (the copy gets another "
                   "name), append, or skip.",
                   "action", "skip");
    line.addFlag("world", "Keep the places in space, where registrations or sizes of pixels differ, not the pixels.");
    if (const std::optional<int> status = line.parse(arguments, 2))
        return *status;
    if (line.files().size() != 2)
        return line.usageError("two stacks are needed, SOURCE.sdf and TARGET.sdf");
    if (line.isSet("dry-run"))
        return tellMemory(line.files(), {.ofDescription = 40, .together = true});
    const std::map<QString, TransferAction> actions = {{"replace", TransferAction::Replace},
                                                       {"duplicate", TransferAction::Duplicate},
                                                       {"append", TransferAction::Append},
                                                       {"skip", TransferAction::Skip}};
    const auto action = actions.find(line.value("taken"));
    if (action == actions.end())
        return line.usageError("unknown action '" + line.value("taken") + "'");
    return guarded("transfer models", [&] { return transferInto(line, line.files(), action->second); });
}

int filterCommand(const QStringList& arguments) {
    CommandLine line("filter",
                     "Removes from models what lies outside of a closed model, the reference, and writes the stack "
                     "anew.",
                     "STACK.sdf...", "Stack description files (.sdf).");
    line.addOutputOptions();
    line.addOption({"reference"}, "The model within whose outlines everything stays.", "name");
    line.addOption({"model"}, "A model to filter; may be given several times. All others by default.", "name");
    line.addOption({"remove"},
                   "What goes: models, those that have no vertex in an outline of the reference; or points, the single "
                   "vertices that lie in none.",
                   "what", "models");
    if (const std::optional<int> status = line.parse(arguments))
        return *status;
    if (!line.isSet("reference"))
        return line.usageError("no reference given: name a model by --reference");
    const bool points = line.value("remove") == "points";
    if (!points && line.value("remove") != "models")
        return line.usageError("nothing is known of removing '" + line.value("remove") + "'");
    if (line.isSet("dry-run"))
        return tellMemory(line.files(), {.ofDescription = 40});
    const FilterMode mode = points ? FilterMode::PointsOutside : FilterMode::NonIntersectingModels;
    int status = ExitGood;
    for (const std::string& file : line.files())
        status = std::max(status, guarded("filter " + file, [&] { return filterStack(line, file, mode); }));
    return status;
}

} // namespace vorlen
