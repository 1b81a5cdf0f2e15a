#pragma once

#include <memory>
#include <string>
#include <vector>

#include "document/standardsample.h"
#include "document/unreadtext.h"
#include "numerics/polynomial.h"

namespace vorlen {

class StandardImage;

/// The physical value as a polynomial of the gray level, fitted by least squares to the samples of a standard image.
///
/// The fit is made by the first eval() after a change of the fit mode or of the samples; a fit that fails is tried
/// again by the next one.
class CalibrationCurve : public UnreadText {
public:
    enum FitMode { LinearFit = 0, Polynomial2Fit = 1, Polynomial3Fit = 2 };

    /// The standard image is seen, not owned, and must outlive the curve.
    explicit CalibrationCurve(const StandardImage& standardImage);
    CalibrationCurve(const CalibrationCurve&) = delete;
    CalibrationCurve& operator=(const CalibrationCurve&) = delete;
    ~CalibrationCurve();

    void setName(const std::string& name);
    const std::string& getName() const { return __name; }

    const StandardImage& getStandardImage() const { return __standardImage; }

    /// Throws ValueError for a number that is no fit mode.
    void setFitMode(int mode);
    int getFitMode() const { return __fitMode; }

    /// True when the next eval() will make the fit.
    bool needsFit() const { return __needsFit; }

    /// Takes over the sample, which must have been made by new.
    void addSample(StandardSample* sample);
    int getNumSamples() const { return int(__samples.size()); }
    const StandardSample& getSample(int i) const { return *__samples[std::size_t(i)]; }

    /// For a change of a sample that is in the curve already: the next eval() makes a new fit.
    StandardSample& getSample(int i);

    /// Sets each sample's gray level to the mean over the part of its region that lies on the standard image, made
    /// gray with 8 bits. Throws ValueError, naming the sample, for a region without a pixel on the image, and what
    /// Slice::load() throws; no gray level has changed then.
    void computeSampleGrayLevels();

    /// The value at a gray level. Throws ValueError for a level that is not at most 255, and when there are fewer
    /// samples than the fit needs: 2 for a line, 3 and 4 for the polynomials of degree 2 and 3.
    double eval(double grayLevel) const;

private:
    void fit() const;

    std::string __name;
    int __fitMode = LinearFit;
    mutable Polynomial<double> __polynomial;
    const StandardImage& __standardImage;
    std::vector<std::unique_ptr<StandardSample>> __samples;
    mutable bool __needsFit = true;
};

} // namespace vorlen
