#include "cli/stackfile.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <set>
#include <system_error>

#include "cli/consolemonitor.h"
#include "document/stackreader.h"
#include "document/stackslice.h"
#include "document/stackwriter.h"
#include "files/fileinfo.h"
#include "images/files/imagesourceplaceholder.h"
#include "numerics/exception.h"

namespace vorlen {

StackFile::StackFile(const std::string& name, std::unique_ptr<Stack> stack) : __name(name), __stack(std::move(stack)) {
    ConsoleMonitor monitor;
    StackReader reader;
    reader.addMonitor(monitor);
    try {
        __opened = reader.read(*__stack, name);
        __log = reader.getMessages();
        __numFatalErrors = reader.getNumFatalErrors();
    } catch (const Exception& error) {
        __opened = false;
        __log.push_back(error.getWhat());
    } catch (const std::exception& error) {
        __opened = false;
        __log.push_back(error.what());
    }
    reader.removeMonitor(monitor);
    if (__opened)
        findFaults();
}

/// Slices may share a file, and then its fault.
void StackFile::findFaults() {
    std::set<std::string> told;
    for (int i = 0; i < __stack->getNumSlices(); ++i) {
        const StackSlice& slice = __stack->getSlice(i);
        if (slice.isEmpty())
            continue;
        const std::string fault = slice.getImageSource().findFault();
        if (fault.empty() || !told.insert(fault).second)
            continue;
        __log.push_back(fault);
        ++__numFatalErrors;
    }
}

namespace {

bool isSize(double length) {
    return std::isfinite(length) && length != 0;
}

} // namespace

bool StackFile::isMeasurable() const {
    constexpr int mostTold = 3; // slices, one by one
    int numMissing = 0;
    bool measurable = true;
    for (int i = 0; i < __stack->getNumSlices(); ++i) {
        const StackSlice& slice = __stack->getSlice(i);
        const PixelCalibration& calibration = slice.getPixelCalibration();
        if (!isSize(double(calibration.getPixelWidth())) || !isSize(double(calibration.getPixelHeight()))) {
            std::cerr << "vorlen-cli: " << __name << ": the pixels of slice \"" << slice.getName()
                      << "\" have no size (calibration " << calibration.getPixelWidth() << " x "
                      << calibration.getPixelHeight() << "), so that nothing can be measured. Correct PIXWIDTH and "
                      << "PIXHEIGHT\n";
            return false;
        }
        const auto* lost =
            slice.hasImageSource() ? dynamic_cast<const ImageSourcePlaceholder*>(&slice.getImageSource()) : nullptr;
        if (slice.hasImageSource() && lost == nullptr)
            continue;
        const bool hasSize = lost != nullptr && lost->hasSize();
        measurable = measurable && hasSize;
        if (++numMissing > mostTold)
            continue;
        std::cerr << "vorlen-cli: " << __name << ": the image of slice \"" << slice.getName() << "\" is missing"
                  << (hasSize ? "; the size that the file gives stands for it, " + std::to_string(lost->getSize2()) +
                                    " x " + std::to_string(lost->getSize1()) + " pixels"
                              : ", and the file does not give its size: where the outlines lie is not known")
                  << '\n';
    }
    if (numMissing > mostTold)
        std::cerr << "vorlen-cli: " << __name << ": so are those of " << numMissing - mostTold
                  << (numMissing == mostTold + 1 ? " more slice\n" : " more slices\n");
    if (!measurable)
        std::cerr
            << "vorlen-cli: " << __name
            << " is left out. Put the images back, or find them with 'vorlen-cli check --fix --images DIRECTORY'\n";
    return measurable;
}

bool StackFile::hasOrderedPositions() const {
    const std::vector<double> positions = __stack->getAbsolutePositions();
    std::size_t numUp = 0, numDown = 0, firstUp = 0, firstDown = 0;
    for (std::size_t i = 1; i < positions.size(); ++i) {
        if (positions[i] > positions[i - 1] && numUp++ == 0)
            firstUp = i;
        if (positions[i] < positions[i - 1] && numDown++ == 0)
            firstDown = i;
    }
    if (numUp > 0 && numDown > 0) {
        const std::size_t first = numUp < numDown ? firstUp : firstDown;
        std::cerr << "vorlen-cli: " << __name << ": the positions go back and forth, first at slice \""
                  << __stack->getSlice(int(first)).getName()
                  << "\": surfaces fold over, and volumes count twice. Correct POSITION or the order of the slices\n";
        return false;
    }
    if (positions.size() > 1 && numUp + numDown == 0 && __stack->hasGeometryModelItems(PolygonPrimitive))
        std::cerr << "vorlen-cli: " << __name
                  << ": all slices lie at one position, so that there is no volume and no surface between them. Set "
                     "RELPOSITION\n";
    return true;
}

int StackFile::report() const {
    if (!__opened) {
        std::cerr << "vorlen-cli: cannot read " << __name << (__log.empty() ? "" : ": " + __log.front()) << '\n';
        return ExitFileError;
    }
    if (__log.empty() && __numFatalErrors == 0)
        return ExitGood;
    std::cerr << "vorlen-cli: " << __name << " has problems:\n";
    for (const std::string& line : __log)
        std::cerr << "  " << line << '\n';
    return ExitProblems;
}

int guarded(const std::string& task, const std::function<int()>& work) {
    try {
        return work();
    } catch (const FileError& failure) {
        const std::string file = failure.getFile().empty() ? "" : " " + failure.getFile() + ":";
        std::cerr << "vorlen-cli: cannot " << task << ":" << file << " " << failure.getWhat() << '\n';
        return ExitFileError;
    } catch (const Exception& failure) {
        std::cerr << "vorlen-cli: cannot " << task << ": " << failure.getWhat() << '\n';
    } catch (const std::exception& failure) {
        std::cerr << "vorlen-cli: cannot " << task << ": " << failure.what() << '\n';
    }
    return ExitProblems;
}

bool mayWrite(const std::string& file, bool overwrite) {
    if (overwrite || !FileInfo::isTaken(file))
        return true;
    std::cerr << "vorlen-cli: " << file << " exists already; --overwrite replaces it\n";
    return false;
}

ExitStatus findStackOutput(const std::string& directory, const std::string& stackFile, bool overwrite,
                           std::string& name) {
    name = directory + "/" + FileInfo::baseName(stackFile) + ".sdf";
    std::error_code error;
    if (std::filesystem::equivalent(name, stackFile, error)) {
        std::cerr << "vorlen-cli: " << name << " is the stack itself: name another directory with --output\n";
        return ExitUsage;
    }
    return mayWrite(name, overwrite) ? ExitGood : ExitFileError;
}

ExitStatus writeStack(const Stack& stack, const std::string& name) {
    if (StackWriter().write(stack, name))
        return ExitGood;
    std::cerr << "vorlen-cli: cannot write " << name << '\n';
    return ExitFileError;
}

std::string roundedNumber(double value, int digits) {
    if (!std::isfinite(value))
        return "NA";
    char text[40];
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    return text;
}

std::string shortNumber(double value) {
    return roundedNumber(value, 6);
}

std::string fullNumber(double value) {
    if (!std::isfinite(value))
        return "NA";
    char text[40];
    *std::to_chars(text, text + sizeof text - 1, value).ptr = '\0';
    return text;
}

} // namespace vorlen
