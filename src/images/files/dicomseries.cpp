#include "images/files/dicomseries.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <tuple>

#include "numerics/exception.h"

namespace vorlen {

namespace {

// Places are written as decimal numbers, of which 16 characters are kept.
constexpr double samePlace = 1e-4; // millimeters

double product(const std::array<double, 3>& a, const std::array<double, 3>& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

std::string lengthText(double length) {
    char text[40];
    std::snprintf(text, sizeof text, "%.4g mm", length);
    return text;
}

bool isParallel(const std::vector<DicomFrame>& frames) {
    return std::all_of(
        frames.begin(), frames.end(),
        [&frames](const DicomFrame& frame) {
            return frame.position && frame.normal && std::abs(product(*frame.normal, *frames.front().normal)) > 0.999;
        });
}

/// The place of each frame along the axis that makes a body of a stack, whose Y goes up the image, and not its mirror
/// image: against the normal of the first frame, which goes by its rows and, down the image, its columns. They are
/// sorted by it.
std::vector<double> sortByPlace(std::vector<DicomFrame>& frames) {
    std::array<double, 3> normal = *frames.front().normal;
    for (double& component : normal)
        component = -component;
    std::stable_sort(frames.begin(), frames.end(), [&normal](const DicomFrame& a, const DicomFrame& b) {
        return product(*a.position, normal) < product(*b.position, normal);
    });
    std::vector<double> places;
    places.reserve(frames.size());
    for (const DicomFrame& frame : frames)
        places.push_back(product(*frame.position, normal));
    return places;
}

void setSpacing(StackLayout& layout, const std::vector<double>& places) {
    std::vector<double> distances;
    distances.reserve(places.size());
    for (std::size_t i = 1; i < places.size(); ++i)
        distances.push_back(places[i] - places[i - 1]);
    if (distances.empty())
        return;
    std::sort(distances.begin(), distances.end());
    const double median = distances[distances.size() / 2];
    layout.spacing = median;
    if (distances.back() - distances.front() > 0.01 * median)
        layout.warnings.push_back("its slices are not evenly spaced, from " + lengthText(distances.front()) + " to " +
                                  lengthText(distances.back()) + " apart, and " + lengthText(median) +
                                  " is taken for all");
}

StackLayout::Plane planeOf(const DicomFrame& frame) {
    StackLayout::Plane plane;
    plane.filename = frame.filename;
    plane.page = frame.page;
    return plane;
}

void layOutByPlace(StackLayout& layout, std::vector<DicomFrame>& frames) {
    const std::vector<double> all = sortByPlace(frames);
    std::vector<std::size_t> firsts; // of the frames at a place
    std::vector<double> places;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (i == 0 || all[i] - places.back() > samePlace) {
            firsts.push_back(i);
            places.push_back(all[i]);
        }
    }
    const std::size_t numTimes = frames.size() / firsts.size();
    bool even = frames.size() == numTimes * firsts.size();
    for (std::size_t z = 0; even && z < firsts.size(); ++z)
        even = firsts[z] == z * numTimes;
    if (!even)
        layout.warnings.push_back(std::to_string(frames.size() - firsts.size()) +
                                  " of its pictures lie where another one does, and are left out");
    layout.numPlanes = static_cast<int>(firsts.size());
    layout.numTimes = even ? static_cast<int>(numTimes) : 1;
    for (int time = 0; time < layout.numTimes; ++time)
        for (const std::size_t first : firsts)
            layout.planes.push_back(planeOf(frames[first + std::size_t(time)]));
    setSpacing(layout, places);
}

} // namespace

StackLayout dicomLayout(std::vector<DicomFrame> frames, const ImagePage& first, std::optional<double> stated) {
    StackLayout layout;
    layout.channelNames.resize(1);
    layout.unit = LengthUnit(-3);
    layout.spacing = stated;
    if (first.hasPixelSize) {
        layout.pixelWidth = double(first.calibration.getPixelWidth());
        layout.pixelHeight = double(first.calibration.getPixelHeight());
    }
    std::stable_sort(frames.begin(), frames.end(), [](const DicomFrame& a, const DicomFrame& b) {
        return std::tie(a.number, a.filename, a.page) < std::tie(b.number, b.filename, b.page);
    });
    if (!frames.empty() && isParallel(frames)) {
        layOutByPlace(layout, frames);
        return layout;
    }
    const bool placed = std::any_of(frames.begin(), frames.end(), [](const DicomFrame& f) { return bool(f.position); });
    if (placed && frames.size() > 1)
        layout.warnings.emplace_back("its slices are not parallel, or some have no position, and are taken in the "
                                     "order of their numbers");
    layout.numPlanes = static_cast<int>(frames.size());
    for (const DicomFrame& frame : frames)
        layout.planes.push_back(planeOf(frame));
    return layout;
}

std::vector<DicomSeries> dicomSeries(const std::vector<std::string>& files,
                                     std::vector<UnreadableDicomFile>& unreadable) {
    struct Found {
        std::vector<DicomFrame> frames;
        std::optional<double> stated;
        std::vector<std::string> warnings;
    };
    std::vector<DicomSeries> series;
    std::vector<Found> found;
    for (const std::string& filename : files) {
        try {
            DicomImageFile file(filename);
            const std::string identifier = file.getSeries();
            const ImagePage page = file.getPage(0);
            std::size_t i = 0;
            while (i < series.size() && series[i].identifier != identifier)
                ++i;
            if (i == series.size()) {
                series.push_back({identifier, {}, {}, page});
                found.push_back({{}, file.getStatedSpacing(), {}});
            }
            series[i].files.push_back(filename);
            for (const DicomFrame& frame : file.getFrames())
                found[i].frames.push_back(frame);
            for (const std::string& warning : file.getWarnings())
                if (std::find(found[i].warnings.begin(), found[i].warnings.end(), warning) == found[i].warnings.end())
                    found[i].warnings.push_back(warning);
        } catch (const FileError& error) {
            unreadable.push_back({filename, error.getWhat()});
        } catch (const RangeError& error) {
            unreadable.push_back({filename, error.getWhat()});
        }
    }
    for (std::size_t i = 0; i < series.size(); ++i) {
        series[i].layout = dicomLayout(found[i].frames, series[i].first, found[i].stated);
        std::vector<std::string>& warnings = series[i].layout.warnings;
        warnings.insert(warnings.begin(), found[i].warnings.begin(), found[i].warnings.end());
    }
    return series;
}

std::vector<std::string> dicomFilesIn(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
        if (entry.is_regular_file(error) && DicomImageFile::isDicom(entry.path().string()))
            files.push_back(entry.path().string());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace vorlen
