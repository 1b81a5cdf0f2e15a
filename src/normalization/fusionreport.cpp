#include "normalization/fusionreport.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>

#include "normalization/surfaceregistration.h"

namespace vorlen {

namespace {

/// Of the values that are not below 0, which stand for none.
double medianOf(std::vector<double> values) {
    values.erase(std::remove_if(values.begin(), values.end(), [](double value) { return value < 0; }), values.end());
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

std::string cell(const std::string& text) {
    return "<td>" + text + "</td>";
}

/// A residual in its cell, marked where it stands out.
std::string residualCell(double value, bool outlier) {
    if (value < 0)
        return cell("-");
    return cell(outlier ? "<b>" + plainNumber(value) + " !</b>" : plainNumber(value));
}

} // namespace

std::string plainNumber(double value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream.precision(6);
    stream << value;
    return stream.str();
}

std::string htmlEscaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        default:
            result += c;
        }
    }
    return result;
}

std::vector<bool> FusionReport::outlying(const std::vector<double>& values) {
    std::vector<double> known, off;
    for (const double value : values)
        if (value >= 0)
            known.push_back(value);
    std::vector<bool> result(values.size(), false);
    if (known.size() < 4)
        return result;
    const double median = medianOf(known);
    off.reserve(known.size());
    for (const double value : known)
        off.push_back(std::abs(value - median));
    const double spread = 1.4826 * medianOf(off);
    for (std::size_t i = 0; i < values.size(); ++i)
        result[i] = values[i] > 1.5 * median && values[i] - median > 3.5 * spread;
    return result;
}

std::vector<bool> FusionReport::outlyingResiduals(const std::vector<double>& residuals) const {
    std::vector<bool> result = outlying(residuals);
    for (std::size_t i = 0; i < residuals.size(); ++i)
        result[i] = result[i] && residuals[i] > std::max(precision, specimens[i].pixel / 2);
    return result;
}

void FusionReport::setResiduals(const std::vector<SpecimenSurfaces>& placed, const SpecimenSurfaces& mean) {
    const bool anyReference = std::find(references.begin(), references.end(), true) != references.end();
    std::vector<double> whole;
    for (std::size_t i = 0; i < specimens.size(); ++i) {
        SpecimenReport& specimen = specimens[i];
        specimen.residuals = surfaceDistances(placed[i], mean);
        specimen.outliers.assign(structures.size(), false);
        double sum = 0;
        int count = 0;
        for (std::size_t k = 0; k < structures.size(); ++k) {
            if (specimen.residuals[k] < 0 || (anyReference && !references[k]))
                continue;
            sum += specimen.residuals[k] * specimen.residuals[k];
            ++count;
        }
        specimen.residual = count > 0 ? std::sqrt(sum / count) : -1;
        whole.push_back(specimen.residual);
    }
    const std::vector<bool> stand = outlyingResiduals(whole);
    for (std::size_t i = 0; i < specimens.size(); ++i) {
        specimens[i].outlier = stand[i];
        if (stand[i]) {
            warnings.push_back("\"" + specimens[i].name + "\" is an outlier: it lies " +
                               plainNumber(specimens[i].residual) + " " + unit + " off the mean, the median is " +
                               plainNumber(medianOf(whole)) + " " + unit);
        }
    }
    for (std::size_t k = 0; k < structures.size(); ++k) {
        std::vector<double> values;
        values.reserve(specimens.size());
        for (const SpecimenReport& specimen : specimens)
            values.push_back(specimen.residuals[k]);
        const std::vector<bool> own = outlyingResiduals(values);
        for (std::size_t i = 0; i < specimens.size(); ++i) {
            specimens[i].outliers[k] = own[i];
            if (own[i] && !stand[i]) {
                warnings.push_back("\"" + structures[k] + "\" of \"" + specimens[i].name +
                                   "\" is an outlier: " + plainNumber(values[i]) + " " + unit + " off the mean");
            }
        }
    }
}

void FusionReport::warnOfTurns() {
    for (const SpecimenReport& specimen : specimens) {
        if (specimen.turned > 90) {
            warnings.push_back("\"" + specimen.name + "\" was turned by " +
                               std::to_string(std::lround(specimen.turned)) +
                               " degrees against its raw data: look whether it should be");
        }
    }
}

void FusionReport::warnOfUnclear(const std::vector<bool>& flags) {
    std::string names;
    int count = 0;
    for (std::size_t i = 0; i < specimens.size() && i < flags.size(); ++i) {
        if (flags[i]) {
            names += (count == 0 ? "\"" : ", \"") + specimens[i].name + "\"";
            ++count;
        }
    }
    if (count > 0) {
        warnings.push_back(names + (count == 1 ? " fits" : " fit") +
                           " about as well turned over: look which end is which");
    }
}

double FusionReport::meanDeviation(int structure) const {
    double sum = 0;
    int count = 0;
    for (const double deviation : deviations[std::size_t(structure)]) {
        sum += deviation * deviation;
        ++count;
    }
    return count > 0 ? std::sqrt(sum / count) : 0;
}

std::string FusionReport::html() const {
    std::string text = "<br ><b>Residuals</b><br >Distance of each surface to the mean";
    text += unit.empty() ? "" : ", in " + htmlEscaped(unit);
    text += "; marked by ! where it stands out<br ><table border=\"1\" cellspacing=\"0\" cellpadding=\"3\"><tr>";
    text += "<th>Specimen</th><th>All references</th>";
    std::vector<std::size_t> shown;
    for (std::size_t k = 0; k < structures.size(); ++k) {
        if (deviations[k].empty())
            continue;
        shown.push_back(k);
        text += "<th>" + htmlEscaped(structures[k]) + "</th>";
    }
    text += "<th>Turned (degrees)</th></tr>";
    for (const SpecimenReport& specimen : specimens) {
        text += "<tr>" + cell(htmlEscaped(specimen.name)) + residualCell(specimen.residual, specimen.outlier);
        for (const std::size_t k : shown)
            text += residualCell(specimen.residuals[k], specimen.outliers[k]);
        text += cell(plainNumber(std::round(specimen.turned * 10) / 10) + (specimen.mirrored ? ", mirrored" : "")) +
                "</tr>";
    }
    text += "</table>";
    for (const std::size_t k : shown) {
        text += "Standard deviation about the mean of <i>" + htmlEscaped(structures[k]) +
                "</i>: " + plainNumber(meanDeviation(int(k))) + "<br >";
    }
    if (std::any_of(specimens.begin(), specimens.end(), [](const SpecimenReport& one) { return one.warped; })) {
        text += "<br ><b>Warps</b><br ><table border=\"1\" cellspacing=\"0\" cellpadding=\"3\"><tr><th>Specimen</th>"
                "<th>Control points</th><th>Before</th><th>After</th><th>Leave-one-out</th><th>Smoothing</th>"
                "<th>Folds (% of volume)</th></tr>";
        for (const SpecimenReport& specimen : specimens) {
            const WarpQuality& warp = specimen.warp;
            if (!specimen.warped)
                continue;
            text += "<tr>" + cell(htmlEscaped(specimen.name)) + cell(std::to_string(warp.controls)) +
                    cell(plainNumber(warp.errorBefore)) + cell(plainNumber(warp.errorAfter)) +
                    cell(warp.leaveOneOut < 0 ? "-" : plainNumber(warp.leaveOneOut)) +
                    cell(plainNumber(warp.smoothing)) +
                    cell(plainNumber(100 * warp.folds) + (warp.refused ? ", refused" : "")) + "</tr>";
        }
        text += "</table>";
    }
    text += "<br ><b>Warnings</b><br >";
    for (const std::string& warning : warnings)
        text += htmlEscaped(warning) + "<br >";
    return text + (warnings.empty() ? "None<br >" : "");
}

} // namespace vorlen
