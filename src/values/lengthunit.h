#pragma once

#include <string>
#include <vector>

namespace vorlen {

/// A unit of length: the metre times a power of ten.
class LengthUnit {
public:
    /// The metre.
    LengthUnit() = default;

    /// The metre times 10 to the power scale.
    explicit LengthUnit(int scale);

    void setScale(int scale);
    int getScale() const { return __scale; }

    static std::string baseName();
    static std::string baseSymbol();

    /// "micro" for scale -6, empty for scale 0, "???" for a scale without a prefix.
    std::string prefixName() const;

    /// The prefix as a symbol, in UTF-8; "???" for a scale without a prefix.
    std::string prefixSymbol() const;

    /// Prefix and base: "micrometer", "µm".
    std::string name() const;
    std::string symbol() const;

    /// The units with a prefix (and the metre), in ascending scale: scales, names and symbols.
    static std::vector<int> availableScales();
    static std::vector<std::string> availableNames();
    static std::vector<std::string> availableSymbols();

    bool operator==(const LengthUnit& other) const = default;

private:
    int __scale = 0;
};

} // namespace vorlen
