#include "values/lengthunit.h"

#include <map>

namespace vorlen {

namespace {

struct Prefix {
    std::string name;
    std::string symbol;
};

const std::map<int, Prefix>& prefixes() {
    static const std::map<int, Prefix> map = {
        {-24, {"yopto", "y"}}, {-21, {"zepto", "z"}}, {-18, {"atto", "a"}}, {-15, {"femto", "f"}}, {-12, {"pico", "p"}},
        {-9, {"nano", "n"}},   {-6, {"micro", "µ"}},  {-3, {"milli", "m"}}, {0, {"", ""}},         {3, {"kilo", "k"}},
        {6, {"mega", "M"}},    {9, {"giga", "G"}},    {12, {"tera", "T"}},  {15, {"peta", "P"}},   {18, {"exa", "E"}},
        {21, {"zetta", "Z"}},  {24, {"yotta", "Y"}}};
    return map;
}

} // namespace

LengthUnit::LengthUnit(int scale) : __scale(scale) {
}

void LengthUnit::setScale(int scale) {
    __scale = scale;
}

std::string LengthUnit::baseName() {
    return "meter";
}

std::string LengthUnit::baseSymbol() {
    return "m";
}

std::string LengthUnit::prefixName() const {
    const auto prefix = prefixes().find(__scale);
    return prefix == prefixes().end() ? "???" : prefix->second.name;
}

std::string LengthUnit::prefixSymbol() const {
    const auto prefix = prefixes().find(__scale);
    return prefix == prefixes().end() ? "???" : prefix->second.symbol;
}

std::string LengthUnit::name() const {
    return prefixName() + baseName();
}

std::string LengthUnit::symbol() const {
    return prefixSymbol() + baseSymbol();
}

std::vector<int> LengthUnit::availableScales() {
    std::vector<int> scales;
    for (const auto& [scale, prefix] : prefixes())
        scales.push_back(scale);
    return scales;
}

std::vector<std::string> LengthUnit::availableNames() {
    std::vector<std::string> names;
    for (const auto& [scale, prefix] : prefixes())
        names.push_back(LengthUnit(scale).name());
    return names;
}

std::vector<std::string> LengthUnit::availableSymbols() {
    std::vector<std::string> symbols;
    for (const auto& [scale, prefix] : prefixes())
        symbols.push_back(LengthUnit(scale).symbol());
    return symbols;
}

} // namespace vorlen
