#include "document/calibrationcurve.h"

#include <algorithm>
#include <limits>

#include "document/standardimage.h"
#include "images/rasters/image.h"
#include "images/rasters/pixelmatrix.h"
#include "numerics/exception.h"

namespace vorlen {

CalibrationCurve::CalibrationCurve(const StandardImage& standardImage)
    : __polynomial(0, 0), __standardImage(standardImage) {
}

CalibrationCurve::~CalibrationCurve() = default;

void CalibrationCurve::setName(const std::string& name) {
    __name = name;
}

void CalibrationCurve::setFitMode(int mode) {
    if (mode < LinearFit || mode > Polynomial3Fit)
        throw ValueError("void CalibrationCurve::setFitMode(int)", "Unknown fit mode");
    __fitMode = mode;
    __needsFit = true;
}

void CalibrationCurve::addSample(StandardSample* sample) {
    __samples.emplace_back(sample);
    __needsFit = true;
}

StandardSample& CalibrationCurve::getSample(int i) {
    __needsFit = true;
    return *__samples[std::size_t(i)];
}

void CalibrationCurve::computeSampleGrayLevels() {
    Image image;
    __standardImage.load(image);
    PixelMatrix<float> gray;
    gray.convertGreyFromImage(image);

    std::vector<double> levels;
    for (const auto& sample : __samples) {
        const BoundingBox<int>& region = sample->getRegion();
        double sum = 0;
        double count = 0;
        if (region.isValid() && region.getVertex1().getSize() == 2) {
            const int left = std::max(region.min(0), 0);
            const int right = std::min(region.max(0), gray.getSize2() - 1);
            const int top = std::max(region.min(1), 0);
            const int bottom = std::min(region.max(1), gray.getSize1() - 1);
            for (int row = top; row <= bottom; ++row) {
                const float* pixels = gray[row].data();
                for (int column = left; column <= right; ++column)
                    sum += pixels[column];
            }
            if (left <= right && top <= bottom)
                count = double(right - left + 1) * double(bottom - top + 1);
        }
        if (count == 0)
            throw ValueError("void CalibrationCurve::computeSampleGrayLevels()",
                             "The region of sample " + sample->getName() + " does not lie on the standard image");
        levels.push_back(sum / count);
    }
    for (std::size_t i = 0; i < levels.size(); ++i)
        __samples[i]->setGrayLevel(levels[i]);
    __needsFit = true;
}

double CalibrationCurve::eval(double grayLevel) const {
    // Not written as a comparison with >, so that what is no number fails too.
    const bool ofBytes = __standardImage.isEmpty() || (__standardImage.getImageSource().getDepth() != 16 &&
                                                       !__standardImage.getImageSource().isReal());
    if (!(grayLevel <= (ofBytes ? 255 : std::numeric_limits<double>::max())))
        throw ValueError("double CalibrationCurve::eval(double) const", "The gray level is above 255");
    if (__needsFit)
        fit();
    Vector<double> point(1);
    point[0] = grayLevel;
    return __polynomial.eval(point);
}

void CalibrationCurve::fit() const {
    const int degree = __fitMode + 1;
    const int numSamples = getNumSamples();
    if (numSamples < degree + 1)
        throw ValueError("double CalibrationCurve::eval(double) const", "The fit of " + std::to_string(numSamples) +
                                                                            " samples needs at least " +
                                                                            std::to_string(degree + 1));
    std::vector<Vector<double>> points;
    Vector<double> values(static_cast<unsigned int>(numSamples));
    for (int i = 0; i < numSamples; ++i) {
        Vector<double> point(1);
        point[0] = __samples[std::size_t(i)]->getGrayLevel();
        points.push_back(point);
        values[i] = __samples[std::size_t(i)]->getValue();
    }
    __polynomial.reset(degree, 1);
    __polynomial.approximate(points, values, degree);
    __needsFit = false;
}

} // namespace vorlen
