#include "cli/comparisonreport.h"

#include <algorithm>
#include <sstream>

#include "cli/jsonwriter.h"
#include "cli/stackfile.h"
#include "files/safestream.h"
#include "images/files/niftiwriter.h"
#include "images/files/nrrdwriter.h"
#include "images/volumes/voxelmatrix.h"
#include "normalization/groupcomparison.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr std::size_t numToldClusters = 10;

/// The files of one comparison, one after the other.
class ComparisonSaver {
public:
    ComparisonSaver(const GroupComparison& comparison, const ComparisonFiles& files)
        : __comparison(comparison), __files(files), __values(comparison.getValues()), __result(comparison.getResult()),
          __differences(comparison.meanDifferences()) {}

    std::vector<std::string> save() {
        if (__values.isForm) {
            saveText(__files.base + ".csv", vertexTable());
        } else {
            saveMap("statistic", __result.statistic);
            saveMap("p", __result.p);
            if (!__differences.empty())
                saveMap("difference", __differences);
            if (auto surface = __comparison.significantSurface()) {
                surface->save(__files.base + "-significant.tm", __files.overwrite);
                __written.push_back(__files.base + "-significant.tm");
            }
        }
        saveText(__files.base + ".json", summary());
        return __written;
    }

private:
    void saveText(const std::string& file, const std::string& text) {
        if (!saveStreamed(file, [&](std::ostream& stream) { stream << text; }))
            throw FileWriteError("vector<string> saveComparison(...)", "Cannot open file for writing", file);
        __written.push_back(file);
    }

    void saveMap(const char* what, const std::vector<float>& values) {
        VoxelMatrix<float> map = __comparison.mapOf(values);
        VoxelCalibration calibration;
        const Vector<float> origin = __values.lattice->origin(), steps = __values.lattice->steps();
        calibration.setVoxelSize(steps);
        const std::optional<LengthUnit> unit = __files.unit ? __files.unit : __values.unit;
        if (unit)
            calibration.setLengthUnit(*unit);
        map.setVoxelCalibration(calibration);
        const std::string file = __files.base + "-" + what;
        map.save(file + ".vm", __files.overwrite);
        saveNrrd(map, origin, steps, nrrdUnit(unit), __files.gzip ? NrrdEncoding::Gzip : NrrdEncoding::Raw,
                 file + ".nrrd", __files.overwrite);
        if (__files.nifti)
            saveNifti(map, origin, steps, unit, file + __files.suffixes().back(), __files.overwrite);
        for (const std::string& suffix : __files.suffixes())
            __written.push_back(file + suffix);
    }

    std::string vertexTable() const {
        std::ostringstream table;
        table << "vertex,x,y,z,dx,dy,dz,statistic,p\n";
        for (std::size_t p = 0; p < __result.p.size(); ++p) {
            table << p;
            for (int a = 0; a < 3; ++a) {
                double sum = 0;
                for (const std::vector<float>& row : __values.values)
                    sum += double(row[3 * p + std::size_t(a)]);
                table << ',' << fullNumber(sum / double(__values.values.size()));
            }
            for (int a = 0; a < 3; ++a)
                table << ',' << fullNumber(double(__differences[3 * p + std::size_t(a)]));
            table << ',' << fullNumber(double(__result.statistic[p])) << ',' << fullNumber(double(__result.p[p]))
                  << '\n';
        }
        return table.str();
    }

    std::string summary() const {
        std::ostringstream text;
        JsonWriter json(text);
        json.beginObject();
        json.member("program", __files.program);
        json.member("statistic", __comparison.getStatistic().name());
        json.member("places", double(__result.statistic.size()));
        json.member("permutations", double(__result.numPermutations));
        json.member("exact", __result.exact);
        json.member("seed", double(__comparison.getSettings().seed));
        json.member("alpha", __comparison.getSettings().alpha);
        json.member("leastP", __result.least);
        json.member("criticalStatistic", double(__result.critical));
        json.member("significantPlaces", double(__comparison.numSignificant()));
        writeGroups(json);
        json.key("clusters");
        json.beginArray();
        for (const Cluster& cluster : __result.clusters)
            writeCluster(json, cluster);
        json.endArray();
        json.endObject();
        text << '\n';
        return text.str();
    }

    void writeGroups(JsonWriter& json) const {
        const SpecimenList& specimens = __comparison.getSettings().specimens;
        json.key("groups");
        json.beginArray();
        for (std::size_t g = 0; g < specimens.groupNames.size(); ++g) {
            json.beginObject();
            json.member("name", specimens.groupNames[g]);
            json.key("files");
            json.beginArray();
            for (std::size_t s = 0; s < specimens.files.size(); ++s)
                if (specimens.groups[s] == int(g))
                    json.value(specimens.files[s]);
            json.endArray();
            json.endObject();
        }
        json.endArray();
    }

    void writeCluster(JsonWriter& json, const Cluster& cluster) const {
        json.beginObject();
        json.member("places", double(cluster.numPlaces));
        json.member("mass", cluster.mass);
        json.member("peak", double(cluster.peak));
        json.key("peakAt");
        json.beginArray();
        for (const double coordinate : __comparison.placeOf(cluster.peakPlace))
            json.value(coordinate);
        json.endArray();
        json.member("p", cluster.p);
        json.endObject();
    }

    const GroupComparison& __comparison;
    const ComparisonFiles& __files;
    const SpecimenValues& __values;
    const PermutationResult& __result;
    std::vector<float> __differences;
    std::vector<std::string> __written;
};

} // namespace

std::vector<std::string> ComparisonFiles::suffixes() const {
    std::vector<std::string> all = {".vm", ".nrrd"};
    if (nifti)
        all.emplace_back(gzip ? ".nii.gz" : ".nii");
    return all;
}

std::vector<std::string> ComparisonFiles::names(bool forms) const {
    std::vector<std::string> all = {base + ".json"};
    if (forms) {
        all.push_back(base + ".csv");
        return all;
    }
    for (const char* what : {"-statistic", "-p", "-difference"})
        for (const std::string& suffix : suffixes())
            all.push_back(base + what + suffix);
    all.push_back(base + "-significant.tm");
    return all;
}

std::vector<std::string> comparisonSentences(const GroupComparison& comparison) {
    const SpecimenList& specimens = comparison.getSettings().specimens;
    const PermutationResult& result = comparison.getResult();
    const std::vector<int> sizes = specimens.groupSizes();
    std::vector<std::string> sentences;
    for (std::size_t g = 0; g < sizes.size(); ++g)
        sentences.push_back("Group " + specimens.groupNames[g] + ": " + std::to_string(sizes[g]) + " specimens");
    sentences.push_back(std::string(comparison.getStatistic().name()) + " at " +
                        std::to_string(result.statistic.size()) + " places, " + std::to_string(result.numPermutations) +
                        (result.exact ? " permutations, all there are" : " permutations"));
    sentences.push_back("p <= " + shortNumber(comparison.getSettings().alpha) + ", corrected for all places, at " +
                        std::to_string(comparison.numSignificant()) + " places; the least p is " +
                        shortNumber(result.least));
    for (std::size_t c = 0; c < std::min(numToldClusters, result.clusters.size()); ++c) {
        const Cluster& cluster = result.clusters[c];
        const auto [x, y, z] = comparison.placeOf(cluster.peakPlace);
        sentences.push_back("Cluster of " + std::to_string(cluster.numPlaces) + " places, mass " +
                            shortNumber(cluster.mass) + ", peak " + shortNumber(double(cluster.peak)) + " at (" +
                            shortNumber(x) + ", " + shortNumber(y) + ", " + shortNumber(z) +
                            "), p = " + shortNumber(cluster.p));
    }
    return sentences;
}

std::vector<std::string> saveComparison(const GroupComparison& comparison, const ComparisonFiles& files) {
    return ComparisonSaver(comparison, files).save();
}

} // namespace vorlen
