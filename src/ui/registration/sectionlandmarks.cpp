#include "ui/registration/sectionlandmarks.h"

#include <algorithm>
#include <cmath>

#include "document/stackslice.h"
#include "registration/rigidmotion.h"

namespace vorlen {

namespace {

struct LandmarkPairs {
    std::vector<PointPair> pairs;
    std::vector<std::size_t> indices; // of the landmarks
    double pixel = 1;                 // width of one of the background
};

/// Positions about the middles of the images, in the length unit.
LandmarkPairs pairsOf(const std::vector<Landmark>& landmarks, const StackSlice& foreground,
                      const StackSlice& background) {
    const auto position = [](const QPointF& pixel, const StackSlice& slice) {
        const PixelCalibration& size = slice.getPixelCalibration();
        const ImageSource& image = slice.getImageSource();
        return PlanePoint{(pixel.x() - image.getSize2() / 2.0) * double(size.getPixelWidth()),
                          (pixel.y() - image.getSize1() / 2.0) * double(size.getPixelHeight())};
    };
    LandmarkPairs found;
    const double width = double(background.getPixelCalibration().getPixelWidth());
    found.pixel = width > 0 ? width : 1;
    for (std::size_t i = 0; i < landmarks.size(); ++i) {
        if (!landmarks[i].isPair())
            continue;
        found.pairs.push_back(
            {position(landmarks[i].foreground, foreground), position(landmarks[i].background, background)});
        found.indices.push_back(i);
    }
    return found;
}

/// As well as a hand clicks, in pixels.
constexpr double clickTolerance = 2;

} // namespace

int numPairs(const std::vector<Landmark>& landmarks) {
    return int(std::count_if(
        landmarks.begin(), landmarks.end(), [](const Landmark& mark) { return mark.isPair(); }));
}

Registration fitOfLandmarks(std::vector<Landmark>& landmarks, const StackSlice& foreground,
                            const StackSlice& background) {
    const LandmarkPairs found = pairsOf(landmarks, foreground, background);
    const LandmarkFit fit = fitLandmarks(found.pairs, clickTolerance * found.pixel);
    for (std::size_t k = 0; k < found.indices.size(); ++k)
        landmarks[found.indices[k]].used = fit.used[k];
    const PixelCalibration& size = foreground.getPixelCalibration();
    return registrationOf(fit.motion, double(size.getPixelWidth()), double(size.getPixelHeight()));
}

QString measureLandmarks(std::vector<Landmark>& landmarks, const StackSlice& foreground, const StackSlice& background,
                         const Registration& registration) {
    const LandmarkPairs found = pairsOf(landmarks, foreground, background);
    const PixelCalibration& size = foreground.getPixelCalibration();
    const RigidMotion motion = motionOf(registration, double(size.getPixelWidth()), double(size.getPixelHeight()));
    double sum = 0;
    int used = 0;
    for (std::size_t k = 0; k < found.indices.size(); ++k) {
        Landmark& mark = landmarks[found.indices[k]];
        const PlanePoint moved = motion.apply(found.pairs[k].source), target = found.pairs[k].target;
        mark.residual = std::hypot(moved.x - target.x, moved.y - target.y) / found.pixel;
        sum += mark.used ? mark.residual * mark.residual : 0;
        used += mark.used ? 1 : 0;
    }
    if (used == 0)
        return {};
    QString summary =
        QString("%1 pair%2, %3 pixels off").arg(used).arg(used == 1 ? "" : "s").arg(std::sqrt(sum / used), 0, 'f', 2);
    const int out = int(found.pairs.size()) - used;
    if (out == 1)
        summary += "; one contradicts the others and is left out";
    else if (out > 1)
        summary += QString("; %1 contradict the others and are left out").arg(out);
    return summary;
}

} // namespace vorlen
