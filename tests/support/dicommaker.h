#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace vorlen {

/// Writes DICOM files by the published tables, little-endian with explicit types, independently of the library that
/// reads them.
struct DicomMaker {
    int width = 4, height = 3, frames = 1, samplesPerPixel = 1;
    int allocated = 16, stored = 16;
    bool isSigned = true;
    std::string photometric = "MONOCHROME2", syntax = "1.2.840.10008.1.2.1", series = "1.2.3";
    int planar = 0;
    std::string slope, intercept, spacing = "0.25\\0.5", between, number = "1", position;
    std::string directions = "1\\0\\0\\0\\1\\0";
    std::string extra;                                 ///< elements between those of the samples and the pixels
    std::vector<std::string> framePositions;           ///< of an enhanced file, one for each frame
    std::string pixels;                                ///< the bytes of the samples
    std::optional<std::vector<std::string>> fragments; ///< instead of them, where the syntax has them so

    static std::string word(unsigned value) { return {char(value & 255), char(value >> 8 & 255)}; }
    static std::string length(std::size_t value) {
        return word(unsigned(value & 0xffff)) + word(unsigned(value >> 16 & 0xffff));
    }
    static std::string tag(unsigned group, unsigned element) { return word(group) + word(element); }

    /// An element of a type with two letters; values are filled up to an even length.
    static std::string element(unsigned group, unsigned number, const std::string& type, std::string value) {
        if (value.size() % 2 != 0)
            value += type == "UI" || type == "OB" ? '\0' : ' ';
        const bool isLong = type == "OB" || type == "OW" || type == "OF" || type == "SQ" || type == "UT";
        return tag(group, number) + type + (isLong ? word(0) + length(value.size()) : word(unsigned(value.size()))) +
               value;
    }
    static std::string item(const std::string& value) { return tag(0xfffe, 0xe000) + length(value.size()) + value; }

    std::string bytes() const {
        const auto number16 = [](unsigned group, unsigned entry, int value) {
            return element(group, entry, "US", word(unsigned(value)));
        };
        const auto text = [](unsigned group, unsigned entry, const std::string& type, const std::string& value) {
            return value.empty() ? "" : element(group, entry, type, value);
        };
        const std::string meta = element(2, 1, "OB", std::string("\0\1", 2)) +
                                 element(2, 2, "UI", "1.2.840.10008.5.1.4.1.1.7") + element(2, 3, "UI", "1.2.3.4") +
                                 element(2, 16, "UI", syntax) + element(2, 18, "UI", "1.2.3.5");
        std::string set = text(0x18, 0x88, "DS", between) + text(0x20, 0xe, "UI", series) +
                          text(0x20, 0x13, "IS", this->number) + text(0x20, 0x32, "DS", position) +
                          text(0x20, 0x37, "DS", directions) + number16(0x28, 2, samplesPerPixel) +
                          text(0x28, 4, "CS", photometric);
        if (samplesPerPixel > 1)
            set += number16(0x28, 6, planar);
        if (frames != 1)
            set += element(0x28, 8, "IS", std::to_string(frames));
        set += number16(0x28, 0x10, height) + number16(0x28, 0x11, width) + text(0x28, 0x30, "DS", spacing) +
               number16(0x28, 0x100, allocated) + number16(0x28, 0x101, stored) + number16(0x28, 0x102, stored - 1) +
               number16(0x28, 0x103, isSigned ? 1 : 0) + text(0x28, 0x1052, "DS", intercept) +
               text(0x28, 0x1053, "DS", slope) + extra;
        std::string groups;
        for (const std::string& place : framePositions)
            groups += item(element(0x20, 0x9113, "SQ", item(element(0x20, 0x32, "DS", place))));
        if (!groups.empty())
            set += element(0x5200, 0x9230, "SQ", groups);
        if (fragments) {
            set += tag(0x7fe0, 0x10) + "OB" + word(0) + length(0xffffffff) + item("");
            for (const std::string& fragment : *fragments)
                set += item(fragment + std::string(fragment.size() % 2, '\0'));
            set += tag(0xfffe, 0xe0dd) + length(0);
        } else {
            set += element(0x7fe0, 0x10, allocated > 8 ? "OW" : "OB", pixels);
        }
        return std::string(128, '\0') + "DICM" + element(2, 0, "UL", length(meta.size())) + meta + set;
    }

    /// Segments of bytes as RLE has them, each a run of single ones: the high bytes of all samples, then the low ones.
    static std::string runLengths(const std::vector<std::string>& segments) {
        std::string head = length(segments.size()), body;
        for (const std::string& segment : segments) {
            head += length(64 + body.size());
            for (std::size_t at = 0; at < segment.size(); at += 128) {
                const std::string part = segment.substr(at, 128);
                body += char(part.size() - 1) + part;
            }
            body += std::string(body.size() % 2, '\0');
        }
        return head + std::string(64 - head.size(), '\0') + body;
    }

    /// The samples of 16 bits as bytes.
    static std::string samples(const std::vector<int>& values) {
        std::string bytes;
        for (const int value : values)
            bytes += word(unsigned(value) & 0xffff);
        return bytes;
    }
};

} // namespace vorlen
