#pragma once

#include <string>
#include <vector>

#include "normalization/cohortwarp.h"
#include "normalization/specimensurfaces.h"

namespace vorlen {

/// What a normalization did to one specimen, and how well it lies. Lengths are in the report's unit.
struct SpecimenReport {
    std::string name;
    double unitFactor = 1; ///< by which its lengths came to the report's unit
    double pixel = 0;      ///< longest side of a pixel of its sections
    double turned = 0;     ///< degrees by which it was turned against its raw data
    bool mirrored = false;
    std::vector<double> residuals; ///< for each structure the distance to the mean surface; below 0 without one
    double residual = -1;          ///< root mean square of those of the references, of all without references
    bool outlier = false;          ///< the residual stands out
    std::vector<bool> outliers;    ///< the same for each structure
    bool warped = false;
    WarpQuality warp;
};

/// The numbers of a normalization: a residual for each specimen and structure, outliers, warps, what a user has to look
/// at, and the variation about the mean.
///
/// A residual is the root mean square distance of the vertices of the registered surface to the mean surface, before
/// any warp. A value stands out when it is above 1.5 times the median and by more than 3.5 robust standard deviations
/// (1.4826 times the median distance to the median), and there are at least four. Source: B. Iglewicz and D. Hoaglin,
/// How to Detect and Handle Outliers, 1993. A residual of
/// at most half a pixel, about what rounding outlines to pixels makes, tells nothing of a specimen and is never named,
/// however near the others lie.
struct FusionReport {
    std::string unit;     ///< symbol of the unit
    double precision = 0; ///< lengths below it are rounding: a hundred thousandth of the size of the specimens
    std::vector<std::string> structures;
    std::vector<bool> references;
    std::vector<SpecimenReport> specimens;
    std::vector<std::string> warnings;

    /// [structure][vertex of the mean's grid]: standard deviation of the specimens about the mean, and how many count.
    std::vector<std::vector<double>> deviations;
    std::vector<std::vector<int>> counts;

    /// Mean errors of registration, step by step, and their standard errors.
    std::vector<double> errors, sems;

    /// Which of the values stand out; those below 0 take no part.
    static std::vector<bool> outlying(const std::vector<double>& values);

    /// Which of the residuals stand out and are more than their specimens' pixels explain; one for each specimen.
    std::vector<bool> outlyingResiduals(const std::vector<double>& residuals) const;

    /// Fills in the residuals of the specimens and names outliers among the warnings. Both lists are as the shape sets.
    void setResiduals(const std::vector<SpecimenSurfaces>& placed, const SpecimenSurfaces& mean);

    /// Adds a warning for each specimen turned by more than 90 degrees.
    void warnOfTurns();

    /// Adds one warning that names the specimens flagged, of which surfaces don't tell one end from the other.
    void warnOfUnclear(const std::vector<bool>& flags);

    /// Root mean square of the deviations of a structure; 0 without any.
    double meanDeviation(int structure) const;

    /// The tables and warnings, in the manner of the summary.
    std::string html() const;
};

/// A number with six significant digits, always with a point, whatever the locale.
std::string plainNumber(double value);

/// Text made fit for HTML.
std::string htmlEscaped(const std::string& text);

} // namespace vorlen
