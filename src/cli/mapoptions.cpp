#include "cli/mapoptions.h"

#include <utility>

#include "cli/commandline.h"
#include "images/filters/parallelwork.h"

namespace vorlen {

namespace {

constexpr std::pair<const char*, int> units[] = {{"m", 0}, {"cm", -2}, {"mm", -3}, {"um", -6}, {"nm", -9}};

} // namespace

bool readUnit(const CommandLine& line, std::optional<LengthUnit>& unit) {
    if (!line.isSet("unit"))
        return true;
    const QString word = line.value("unit");
    for (const auto& [name, scale] : units) {
        const LengthUnit each(scale);
        if (word == name || word.toStdString() == each.symbol() || word.toStdString() == each.name()) {
            unit = each;
            return true;
        }
    }
    line.usageError("--unit takes m, cm, mm, um or nm, not '" + word + "'");
    return false;
}

std::string nrrdUnit(const std::optional<LengthUnit>& unit) {
    for (const auto& [name, scale] : units)
        if (unit && unit->getScale() == scale)
            return name;
    return "";
}

bool setThreads(const CommandLine& line) {
    if (!line.isSet("threads"))
        return true;
    const std::optional<int> threads = line.integer("threads", 1, 1024);
    if (threads)
        ParallelWork::setThreads(*threads);
    return bool(threads);
}

} // namespace vorlen
