#include "images/files/tiffstacklayout.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <optional>
#include <string_view>

#include <pugixml.hpp>

namespace vorlen {

namespace {

/// Micrometers in one of these; nothing for a unit that is no length.
std::optional<double> micrometersIn(std::string_view unit) {
    static const std::map<std::string_view, double> units = {{"m", 1e6},
                                                             {"dm", 1e5},
                                                             {"cm", 1e4},
                                                             {"mm", 1e3},
                                                             {"\xc2\xb5m", 1},
                                                             {"\xce\xbcm", 1},
                                                             {"um", 1},
                                                             {"micron", 1},
                                                             {"microns", 1},
                                                             {"\\u00B5m", 1},
                                                             {"\xb5m", 1},
                                                             {"micrometer", 1},
                                                             {"micrometers", 1},
                                                             {"micrometre", 1},
                                                             {"nm", 1e-3},
                                                             {"pm", 1e-6},
                                                             {"nanometer", 1e-3},
                                                             {"millimeter", 1e3},
                                                             {"\xe2\x84\xab", 1e-4},
                                                             {"\xc3\x85", 1e-4},
                                                             {"inch", 25400},
                                                             {"in", 25400},
                                                             {"centimeter", 1e4},
                                                             {"meter", 1e6},
                                                             {"ft", 304800}};
    const auto found = units.find(unit);
    return found == units.end() ? std::nullopt : std::optional(found->second);
}

/// A number of things from 1 on; the fallback for a text that is none.
int countOf(std::string_view text, int fallback) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && value > 0 ? value : fallback;
}

std::optional<double> lengthOf(std::string_view text) {
    const double value = std::strtod(std::string(text.substr(0, 64)).c_str(), nullptr);
    return std::isfinite(value) && value > 0 ? std::optional(value) : std::nullopt;
}

std::map<std::string_view, std::string_view> imagejLines(const std::string& description) {
    std::map<std::string_view, std::string_view> lines;
    std::string_view rest = description;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        std::string_view line = rest.substr(0, end);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        const std::size_t equal = line.find('=');
        if (equal != std::string_view::npos)
            lines.emplace(line.substr(0, equal), line.substr(equal + 1));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return lines;
}

/// Whether so many planes, channels and times are no more than there are pages.
bool isWithin(int planes, int channels, int times, int numPages) {
    const auto product = static_cast<long double>(planes) * channels * times;
    return product >= 1 && product <= numPages;
}

} // namespace

bool isImagejDescription(const std::string& description) {
    return description.rfind("ImageJ=", 0) == 0;
}

int imagejNumImages(const std::string& description) {
    if (!isImagejDescription(description))
        return 0;
    const auto lines = imagejLines(description);
    const auto found = lines.find("images");
    return found == lines.end() ? 0 : countOf(found->second, 0);
}

StackLayout imagejLayout(const std::string& description, float xResolution, float yResolution, int numPages,
                         const StackLayout& plain) {
    const auto lines = imagejLines(description);
    const auto value = [&lines](std::string_view key) {
        const auto found = lines.find(key);
        return found == lines.end() ? std::string_view() : found->second;
    };
    StackLayout layout = plain;
    if (const auto micrometers = micrometersIn(value("unit"))) {
        layout.unit = LengthUnit(-6);
        const auto sizeOf = [&](float resolution) {
            const double size = *micrometers / double(resolution);
            return resolution > 0 && std::isfinite(size) ? std::optional(size) : std::nullopt;
        };
        layout.pixelWidth = sizeOf(xResolution);
        layout.pixelHeight = sizeOf(yResolution);
        if (const auto spacing = lengthOf(value("spacing")))
            layout.spacing = *spacing * *micrometers;
    }
    const int channels = countOf(value("channels"), 1), frames = countOf(value("frames"), 1);
    const int images = countOf(value("images"), numPages);
    // Older files say how many images there are and not how they are shared out.
    const long long others = static_cast<long long>(channels) * frames;
    const int planes = countOf(value("slices"), static_cast<int>(std::max<long long>(images / others, 1)));
    if (!isWithin(planes, channels, frames, numPages)) {
        layout.warnings.push_back("its description tells of " + std::to_string(images) + " images, " +
                                  std::to_string(channels) + " channels, " + std::to_string(planes) + " slices and " +
                                  std::to_string(frames) + " frames, but it holds " + std::to_string(numPages) +
                                  " pages, which are taken in their order");
        return layout;
    }
    layout.numPlanes = planes;
    layout.numChannels = channels;
    layout.numTimes = frames;
    layout.planes.clear();
    for (int t = 0; t < frames; ++t)
        for (int c = 0; c < channels; ++c)
            for (int z = 0; z < planes; ++z)
                layout.planes.push_back({"", (t * planes + z) * channels + c, 0});
    layout.channelNames.assign(static_cast<std::size_t>(channels), "");
    return layout;
}

bool isOmeDescription(const std::string& description) {
    const std::string_view start = std::string_view(description).substr(0, 4096);
    return start.find("<OME ") != std::string_view::npos || start.find("<OME>") != std::string_view::npos ||
           start.find("<ome:OME") != std::string_view::npos;
}

namespace {

/// The name without a prefix.
std::string_view localName(const pugi::xml_node& node) {
    const std::string_view name = node.name();
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

pugi::xml_node childOf(const pugi::xml_node& node, std::string_view name) {
    return node.find_child([name](const pugi::xml_node& child) { return localName(child) == name; });
}

std::optional<double> physicalSize(const pugi::xml_node& pixels, const char* name) {
    const auto length = lengthOf(pixels.attribute(name).value());
    const std::string unit = pixels.attribute((std::string(name) + "Unit").c_str()).value();
    const auto micrometers = unit.empty() ? std::optional(1.0) : micrometersIn(unit);
    return length && micrometers ? std::optional(*length * *micrometers) : std::nullopt;
}

/// The planes of an OME document, by their numbers along the axes that run fastest, next and last.
class OmePlanes {
public:
    OmePlanes(const pugi::xml_node& pixels, int planes, int channels, int times)
        : __order(pixels.attribute("DimensionOrder").as_string("XYZCT")) {
        for (std::size_t k = 0; k < 3; ++k) {
            const char axis = k + 2 < __order.size() ? __order[k + 2] : "ZCT"[k];
            __axes[k] = axis;
            __sizes[k] = axis == 'Z' ? planes : axis == 'C' ? channels : times;
        }
    }

    bool isValid() const {
        return __order.size() == 5 && __order.rfind("XY", 0) == 0 && std::string_view(__axes, 3).find('Z') < 3 &&
               std::string_view(__axes, 3).find('C') < 3 && std::string_view(__axes, 3).find('T') < 3;
    }

    /// The numbers of the plane that comes next, by axis; false behind the last.
    bool advance(std::map<char, int>& at) const {
        for (std::size_t k = 0; k < 3; ++k) {
            if (++at[__axes[k]] < __sizes[k])
                return true;
            at[__axes[k]] = 0;
        }
        return false;
    }

private:
    std::string __order;
    char __axes[3];
    int __sizes[3];
};

} // namespace

StackLayout omeLayout(const std::string& description, const std::string& filename, const ImagePage& first, int numPages,
                      const StackLayout& plain) {
    StackLayout layout = plain;
    const auto giveUp = [&layout](const std::string& why) {
        layout.warnings.push_back("its OME description " + why + ", so that its pages are taken in their order");
        return layout;
    };
    pugi::xml_document document;
    if (!document.load_buffer(description.data(), description.size()))
        return giveUp("cannot be read");
    const pugi::xml_node ome = childOf(document, "OME");
    if (childOf(ome, "BinaryOnly"))
        return giveUp("is in another file");
    const pugi::xml_node image = childOf(ome, "Image");
    const pugi::xml_node pixels = childOf(image, "Pixels");
    if (!pixels)
        return giveUp("names no pixels");
    layout.unit = LengthUnit(-6);
    layout.pixelWidth = physicalSize(pixels, "PhysicalSizeX");
    layout.pixelHeight = physicalSize(pixels, "PhysicalSizeY");
    layout.spacing = physicalSize(pixels, "PhysicalSizeZ");

    const int planes = countOf(pixels.attribute("SizeZ").value(), 1);
    const int times = countOf(pixels.attribute("SizeT").value(), 1);
    const int samples = first.colour == ImagePage::Rgb ? first.numSamples : 1;
    // Channels of colours are samples of one page.
    const int channels = std::max(countOf(pixels.attribute("SizeC").value(), 1) / std::max(samples, 1), 1);
    const OmePlanes order(pixels, planes, channels, times);
    const auto total = static_cast<long double>(planes) * channels * times;
    if (!order.isValid())
        return giveUp("has an order of dimensions that is not known");
    if (total > 1 << 24)
        return giveUp("tells of too many planes");
    const auto placeOf = [&](const std::map<char, int>& at) {
        return static_cast<std::size_t>((at.at('T') * channels + at.at('C')) * planes + at.at('Z'));
    };
    std::vector<std::optional<StackLayout::Plane>> found(static_cast<std::size_t>(total));
    const std::string folder = filename.substr(0, filename.rfind('/') + 1);
    const std::string ownName = filename.substr(filename.rfind('/') + 1);
    bool hasData = false;
    for (const pugi::xml_node& data : pixels.children()) {
        if (localName(data) != "TiffData")
            continue;
        hasData = true;
        std::map<char, int> at = {{'Z', data.attribute("FirstZ").as_int()},
                                  {'C', data.attribute("FirstC").as_int() / std::max(samples, 1)},
                                  {'T', data.attribute("FirstT").as_int()}};
        const bool hasPage = data.attribute("IFD");
        int page = data.attribute("IFD").as_int();
        int number = data.attribute("PlaneCount").as_int(hasPage ? 1 : numPages);
        std::string name = childOf(data, "UUID").attribute("FileName").value();
        name = name.substr(name.rfind('/') + 1);
        name = name == ownName ? "" : name;
        if (at['Z'] < 0 || at['Z'] >= planes || at['C'] < 0 || at['C'] >= channels || at['T'] < 0 || at['T'] >= times ||
            page < 0)
            return giveUp("names planes that there are not");
        for (bool more = true; more && number > 0; --number, ++page) {
            if (name.empty() && page >= numPages)
                break;
            found[placeOf(at)] = StackLayout::Plane{name.empty() ? "" : folder + name, page, 0};
            more = order.advance(at);
        }
    }
    if (!hasData) {
        std::map<char, int> at = {{'Z', 0}, {'C', 0}, {'T', 0}};
        bool more = true;
        for (int page = 0; page < numPages && more; ++page) {
            found[placeOf(at)] = StackLayout::Plane{"", page, 0};
            more = order.advance(at);
        }
    }
    if (!std::all_of(found.begin(), found.end(), [](const auto& plane) { return plane.has_value(); }))
        return giveUp("tells of " + std::to_string(found.size()) + " planes, of which not all are in the file");
    layout.numPlanes = planes;
    layout.numChannels = channels;
    layout.numTimes = times;
    layout.planes.clear();
    layout.planes.reserve(found.size());
    for (const auto& plane : found)
        layout.planes.push_back(*plane);
    layout.channelNames.clear();
    for (const pugi::xml_node& channel : pixels.children())
        if (localName(channel) == "Channel" && layout.channelNames.size() < static_cast<std::size_t>(channels))
            layout.channelNames.push_back(channel.attribute("Name").value());
    layout.channelNames.resize(static_cast<std::size_t>(channels));
    return layout;
}

} // namespace vorlen
