#include "cli/normalizereport.h"

#include "cli/jsonwriter.h"
#include "normalization/fusionreport.h"

namespace vorlen {

namespace {

void writeLength(JsonWriter& json, double value) {
    if (value < 0)
        json.null();
    else
        json.value(value);
}

void writeWarp(JsonWriter& json, const WarpQuality& warp) {
    json.beginObject();
    json.member("controls", warp.controls);
    json.member("error_before", warp.errorBefore);
    json.member("error_after", warp.errorAfter);
    json.key("leave_one_out_error");
    writeLength(json, warp.leaveOneOut);
    json.member("smoothing", warp.smoothing);
    json.member("folded_share", warp.folds);
    json.member("refused", warp.refused);
    json.endObject();
}

void writeSpecimen(JsonWriter& json, const FusionReport& report, const SpecimenReport& specimen) {
    json.beginObject();
    json.member("name", specimen.name);
    json.member("unit_factor", specimen.unitFactor);
    json.member("turned_degrees", specimen.turned);
    json.member("mirrored", specimen.mirrored);
    json.key("residual");
    writeLength(json, specimen.residual);
    json.member("outlier", specimen.outlier);
    json.key("structures");
    json.beginArray();
    for (std::size_t k = 0; k < specimen.residuals.size(); ++k) {
        if (specimen.residuals[k] < 0)
            continue;
        json.beginObject();
        json.member("name", report.structures[k]);
        json.member("residual", specimen.residuals[k]);
        json.member("outlier", bool(specimen.outliers[k]));
        json.endObject();
    }
    json.endArray();
    json.key("warp");
    if (specimen.warped)
        writeWarp(json, specimen.warp);
    else
        json.null();
    json.endObject();
}

} // namespace

void writeNormalizationReport(std::ostream& stream, const std::string& name, const FusionReport& report) {
    JsonWriter json(stream);
    json.beginObject();
    json.member("name", name);
    json.member("unit", report.unit);
    json.key("specimens");
    json.beginArray();
    for (const SpecimenReport& specimen : report.specimens)
        writeSpecimen(json, report, specimen);
    json.endArray();
    json.key("structures");
    json.beginArray();
    for (std::size_t k = 0; k < report.structures.size(); ++k) {
        if (report.deviations[k].empty())
            continue;
        json.beginObject();
        json.member("name", report.structures[k]);
        json.member("reference", bool(report.references[k]));
        json.member("mean_deviation", report.meanDeviation(int(k)));
        json.key("deviations");
        json.beginArray();
        for (const double deviation : report.deviations[k])
            json.value(deviation);
        json.endArray();
        json.key("counts");
        json.beginArray();
        for (const int count : report.counts[k])
            json.value(count);
        json.endArray();
        json.endObject();
    }
    json.endArray();
    json.key("registration");
    json.beginArray();
    for (std::size_t k = 0; k < report.errors.size(); ++k) {
        json.beginObject();
        json.member("error", report.errors[k]);
        json.member("standard_error", report.sems[k]);
        json.endObject();
    }
    json.endArray();
    json.key("warnings");
    json.beginArray();
    for (const std::string& warning : report.warnings)
        json.value(warning);
    json.endArray();
    json.endObject();
    stream << '\n';
}

} // namespace vorlen
