#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "document/stack.h"

namespace vorlen {

/// Exit statuses of the program.
enum ExitStatus { ExitGood = 0, ExitProblems = 1, ExitUsage = 2, ExitFileError = 3 };

/// By which the program that draws tells vorlen-cli that there is no display.
constexpr int exitNoDisplay = 4;

/// A stack read from its description file, with what the reader had to say about it.
class StackFile {
public:
    /// Reads the file, with progress on the terminal, into a stack, which may be of a kind of its own. Never throws:
    /// failures are in the state.
    explicit StackFile(const std::string& name, std::unique_ptr<Stack> stack = std::make_unique<Stack>());

    const std::string& getName() const { return __name; }
    bool isOpened() const { return __opened; }
    int getNumFatalErrors() const { return __numFatalErrors; }
    const std::vector<std::string>& getLog() const { return __log; }
    Stack& getStack() { return *__stack; }
    const Stack& getStack() const { return *__stack; }

    /// Tells of lost images on the standard error stream: the size that the file gives stands for one, and where it
    /// gives none the stack has no place in space, and this is false. So it is where pixels have no size.
    bool isMeasurable() const;

    /// Tells on the standard error stream of positions that go back and forth, or are all the same: surfaces and
    /// volumes are not what they seem to be. False for the former.
    bool hasOrderedPositions() const;

    /// Writes the problems to the standard error stream, if there are any, and gives the exit status they stand for.
    int report() const;

private:
    void findFaults();

    std::string __name;
    std::unique_ptr<Stack> __stack;
    bool __opened = false;
    int __numFatalErrors = 0;
    std::vector<std::string> __log;
};

/// Runs what may fail on a document: a failure is told with what was to be done, and becomes an exit status, that of a
/// file error or that of problems.
int guarded(const std::string& task, const std::function<int()>& work);

/// False for a file that exists and is not to be overwritten, with a word about it on the standard error stream.
bool mayWrite(const std::string& file, bool overwrite);

/// Where a command that changes a stack may write it: into the directory, under its file's name. Good, or with a word
/// about it on the standard error stream the status of a wrong usage, for the stack's own file, or of a file error.
ExitStatus findStackOutput(const std::string& directory, const std::string& stackFile, bool overwrite,
                           std::string& name);

/// Writes the description; a failure is told on the standard error stream.
ExitStatus writeStack(const Stack& stack, const std::string& name);

/// The value with so many significant digits, "NA" when it is no number.
std::string roundedNumber(double value, int digits);

/// The same as the tables for people show it: six digits.
std::string shortNumber(double value);

/// The same in the fewest digits that read back as the value.
std::string fullNumber(double value);

} // namespace vorlen
