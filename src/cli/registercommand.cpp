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
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "files/fileinfo.h"
#include "progress/progresssubject.h"
#include "values/registration.h"

namespace vorlen {

namespace {

TextTable registrationTable(const Stack& stack) {
    TextTable table({"Slice", "HorShift [pixel]", "VerShift [pixel]", "Rotation [deg]"});
    for (int i = 1; i < stack.getNumSlices(); ++i) {
        const Registration& found = stack.getSlice(i).getRegistration();
        table.addRow({stack.getSlice(i).getName(), shortNumber(found.getHorShift()), shortNumber(found.getVerShift()),
                      shortNumber(found.getRotationAngle())});
    }
    return table;
}

/// Two names of one file, whether both exist or not.
bool isSameFile(const std::string& first, const std::string& second) {
    std::error_code error;
    return std::filesystem::equivalent(first, second, error);
}

int registerStack(const std::string& stackFile, VRLStack& stack, const std::string& directory, bool overwrite,
                  bool invert) {
    const std::string name = directory + "/" + FileInfo::baseName(stackFile) + ".sdf";
    if (isSameFile(name, stackFile)) {
        std::cerr << "vorlen-cli: " << name << " is the stack itself: name another directory with --output\n";
        return ExitUsage;
    }
    if (!mayWrite(name, overwrite))
        return ExitFileError;
    ConsoleMonitor terminal;
    ProgressSubject progress;
    progress.addMonitor(terminal);
    std::vector<int> unplaced;
    if (const Outcome registered = registerSlices(stack, invert, progress, &unplaced); !registered) {
        std::cerr << "vorlen-cli: " << stackFile << ": " << registered.getReason() << '\n';
        return ExitProblems;
    }
    for (const int i : unplaced)
        std::cerr << "vorlen-cli: slice \"" << stack.getSlice(i).getName()
                  << "\" has no place of its own: its image, or the one before it, is blank\n";
    if (!StackWriter().write(stack, name)) {
        std::cerr << "vorlen-cli: cannot write " << name << '\n';
        return ExitFileError;
    }
    std::cout << stackFile << ": stack \"" << stack.getName() << "\"\n";
    registrationTable(stack).print(std::cout);
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
        auto opened = std::make_unique<VRLStack>();
        VRLStack& stack = *opened;
        const StackFile file(name, std::move(opened));
        status = std::max(status, file.report());
        if (file.isOpened())
            status = std::max(status, guarded("register " + name, [&] {
                                  return registerStack(name, stack, *directory, line.isSet("overwrite"),
                                                       line.isSet("invert"));
                              }));
    }
    return status;
}

} // namespace vorlen
