/// Measures the alignment of real sections: moves those of two stacks in known ways, has them registered, and tells how
/// far each comes to lie from where it belongs.
///
/// Usage: vorlen-alignment-truth FOLDER [SET...] [--pairs FILE]. The folder holds brain/brain.sdf and vnc/vnc.sdf, two
/// stacks whose sections are taken to be aligned as they are; a set is a row of the table that is printed, by its
/// number from 1. FILE becomes a table, as CSV, of all pairs.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "document/stack.h"
#include "document/stackreader.h"
#include "document/stackslice.h"
#include "editing/operations/slicealignment.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "progress/progresssubject.h"

namespace vorlen {

namespace {

constexpr double degree = 3.14159265358979323846 / 180;

struct Set {
    const char* title;
    const char* stack;
    double degrees, pixels; ///< greatest turn and shift, each way
    int crop;               ///< side of the part that is taken from the middle; 0: all
    double noise, gain;     ///< deviation of noise in greys, and greatest change of the gain
};

const Set sets[] = {{"brain, unmoved", "brain", 0, 0, 0, 0, 0},
                    {"brain, 15 degrees, 15 px", "brain", 15, 15, 0, 0, 0},
                    {"brain, 60 degrees", "brain", 60, 0, 0, 0, 0},
                    {"brain, 15 degrees, noise 10, gain 20%", "brain", 15, 0, 0, 10, 0.2},
                    {"vnc, unmoved", "vnc", 0, 0, 0, 0, 0},
                    {"vnc, 3 degrees, 20 px, 800 px crop", "vnc", 3, 20, 800, 0, 0},
                    {"vnc, 15 degrees, 60 px, 640 px crop", "vnc", 15, 60, 640, 0, 0}};

/// The image of a section that the motion has brought out of its place.
Image movedImage(const PixelMatrix<float>& section, const RigidMotion& motion, const Set& set, std::mt19937& random) {
    const int rows = section.getSize1(), columns = section.getSize2();
    const int height = set.crop > 0 ? set.crop : rows, width = set.crop > 0 ? set.crop : columns;
    std::normal_distribution<double> noise(0, std::max(set.noise, 1e-9));
    const double gain = 1 + std::uniform_real_distribution<double>(-set.gain, set.gain)(random);
    const RigidMotion back = motion.inverse();
    Image image(width, height, 8);
    for (int i = 0; i < height; ++i)
        for (int j = 0; j < width; ++j) {
            const PlanePoint place = back.apply({j - 0.5 * width, i - 0.5 * height});
            const double x = place.x + 0.5 * columns, y = place.y + 0.5 * rows;
            const int u = int(std::floor(x)), v = int(std::floor(y));
            double value = 0;
            for (int k = 0; k < 4; ++k) {
                const int column = u + (k & 1), row = v + (k >> 1);
                if (column >= 0 && row >= 0 && column < columns && row < rows)
                    value += (k & 1 ? x - u : 1 - x + u) * (k >> 1 ? y - v : 1 - y + v) * section[row][column];
            }
            if (set.noise > 0)
                value = value * gain + noise(random);
            image.getData()[i * width + j] = static_cast<unsigned char>(std::clamp(std::lround(value), 0L, 255L));
        }
    return image;
}

/// Median, 90% and greatest of some distances; between two of them in proportion.
std::string summary(std::vector<double> distances) {
    if (distances.empty())
        return "none";
    std::sort(distances.begin(), distances.end());
    const auto at = [&](double share) {
        const double place = share * double(distances.size() - 1);
        const auto low = std::size_t(place), high = std::min(low + 1, distances.size() - 1);
        return distances[low] + (place - double(low)) * (distances[high] - distances[low]);
    };
    char text[80] = "";
    std::snprintf(text, sizeof text, "%.2f / %.2f / %.2f", at(0.5), at(0.9), distances.back());
    return text;
}

/// Share of the pixels that are not black.
double tissueOf(const PixelMatrix<float>& section) {
    double n = 0;
    for (int i = 0; i < section.getSize1(); ++i)
        n += double(std::count_if(section[i].data(), section[i].data() + section.getSize2(),
                                  [](float grey) { return grey > 0; }));
    return n / (double(section.getSize1()) * section.getSize2());
}

/// Share of a section on less of which a motion of some pixels changes little.
constexpr double littleTissue = 0.05;

void measure(const Set& set, const std::filesystem::path& data, const std::filesystem::path& folder,
             std::ostream& pairs) {
    Stack original, stack;
    const std::string file = (data / set.stack / (std::string(set.stack) + ".sdf")).string();
    if (!StackReader().read(original, file))
        throw FileReadError("measure", "cannot be read", file);
    std::mt19937 random(7);
    std::uniform_real_distribution<double> some(-1, 1);
    std::vector<RigidMotion> motions;
    std::vector<bool> shows;
    std::vector<double> tissue;
    double width = 0, height = 0;
    for (int i = 0; i < original.getNumSlices(); ++i) {
        const SectionImage section = sectionImageOf(original.getSlice(i));
        const double turn = some(random), x = some(random), y = some(random);
        motions.push_back({set.degrees * degree * turn, set.pixels * x, set.pixels * y});
        shows.push_back(SectionAligner::fault(*SectionAligner::prepare(section, section.pixelWidth)).empty());
        tissue.push_back(tissueOf(section.grey));
        const Image image = movedImage(section.grey, motions.back(), set, random);
        width = image.getWidth();
        height = image.getHeight();
        const std::string name = (folder / (std::to_string(i) + ".tif")).string();
        ImageWriter().write(image, name, true);
        auto* const slice = new StackSlice();
        ImageSourceFile source;
        source.setFilename(name);
        slice->setImageSource(source);
        slice->setName(original.getSlice(i).getName());
        stack.addSlice(slice);
    }
    ProgressSubject progress;
    const auto begin = std::chrono::steady_clock::now();
    const RegistrationReport report = findAlignment(stack, {}, progress);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    std::vector<double> before, after, named, told, full;
    int worse = 0;
    for (int i = 1; i < stack.getNumSlices(); ++i) {
        const SliceAlignment& one = report.slices[std::size_t(i)];
        if (!shows[std::size_t(i)] || !shows[std::size_t(i - 1)])
            continue;
        const RigidMotion truth = motions[std::size_t(i - 1)] * motions[std::size_t(i)].inverse();
        before.push_back(meanDistance({}, truth, width, height));
        const double off = meanDistance(motionOf(one.after, 1, 1), truth, width, height);
        (one.state == SliceAlignment::State::LeftAlone ? named : after).push_back(off);
        const double turn =
            std::abs(std::remainder(motionOf(one.after, 1, 1).angle - truth.angle, 360 * degree)) / degree;
        const double least = std::min(tissue[std::size_t(i)], tissue[std::size_t(i - 1)]);
        const bool isNamed = one.state == SliceAlignment::State::LeftAlone;
        if (!isNamed && one.turnDoubt <= SliceAlignment::doubtfulTurn &&
            one.shiftDoubt <= SliceAlignment::doubtfulShift)
            told.push_back(off);
        if (!isNamed && least >= littleTissue)
            full.push_back(off);
        pairs << '"' << set.title << "\"," << one.name << ',' << one.stateWord() << ',' << before.back() << ',' << off
              << ',' << least << ',' << one.scoreBefore << ',' << one.scoreAfter << ',' << one.support << ',' << turn
              << ',' << one.turnDoubt << ',' << one.shiftDoubt << ",\"" << one.reason << "\"\n";
        const double own = std::string(set.stack) == "vnc" ? 9 : 3;
        if (off > own)
            std::cerr << set.title << ": slice " << one.name << " is " << off << " off, " << one.stateWord()
                      << ", score " << one.scoreBefore << " to " << one.scoreAfter << ", support " << one.support
                      << '\n';
        // The sections' own misalignment, which nothing tells from a motion, is no fault.
        worse += off > before.back() + own ? 1 : 0;
    }
    std::printf("| %s | %s | %s | %s | %s | %zu of %zu | %d | %.2f |\n", set.title, summary(before).c_str(),
                summary(after).c_str(), summary(told).c_str(), summary(full).c_str(), named.size(), before.size(),
                worse, seconds / stack.getNumSlices());
    std::fflush(stdout);
}

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    using namespace vorlen;
    if (argc < 2) {
        std::cerr << "Usage: vorlen-alignment-truth FOLDER [SET...] [--pairs FILE]\n";
        return 2;
    }
    std::ofstream pairs;
    if (argc > 3 && std::string(argv[argc - 2]) == "--pairs") {
        pairs.open(argv[argc - 1]);
        if (!pairs) {
            std::cerr << "vorlen-alignment-truth: " << argv[argc - 1] << " can't be written\n";
            return 3;
        }
        pairs << "Set,Slice,State,Before,Off,Tissue,Score before,Score after,Support,Turn off,Turn doubt,Shift "
                 "doubt,Reason\n";
        argc -= 2;
    }
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("vorlen-truth-" + std::to_string(std::random_device()()));
    int status = 0;
    try {
        std::filesystem::create_directories(folder);
        std::printf("| Set | Before | Registered | Turn told | With tissue on 5%% | Left alone | Worse | Seconds a "
                    "section |\n|---|---|---|---|---|---|---|---|\n");
        for (int k = 1; k <= int(std::size(sets)); ++k) {
            const bool wanted = argc == 2 || std::any_of(argv + 2, argv + argc, [k](const char* argument) {
                                    return std::to_string(k) == argument;
                                });
            if (wanted)
                measure(sets[k - 1], argv[1], folder, pairs);
        }
    } catch (const Exception& error) {
        std::cerr << "vorlen-alignment-truth: " << error.getWhat() << '\n';
        status = 3;
    } catch (const std::exception& error) {
        std::cerr << "vorlen-alignment-truth: " << error.what() << '\n';
        status = 3;
    }
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    return status;
}
