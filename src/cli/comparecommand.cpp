#include "cli/commands.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <utility>

#include "cli/commandline.h"
#include "cli/comparisonfiles.h"
#include "cli/consolemonitor.h"
#include "cli/jsonwriter.h"
#include "cli/mapoptions.h"
#include "cli/specimens.h"
#include "cli/stackfile.h"
#include "files/safestream.h"
#include "images/files/niftiwriter.h"
#include "images/files/nrrdwriter.h"
#include "images/volumes/voxelmatrix.h"
#include "normalization/groupstatistic.h"
#include "normalization/permutationtest.h"
#include "normalization/relabelling.h"
#include "numerics/exception.h"
#include "reconstruction/marchingcubes.h"
#include "shapes/trimesh.h"

#include <QCryptographicHash>
#include <QFile>

namespace vorlen {

namespace {

/// A stretch of the list of permutations: the part of this number of so many.
struct Stretch {
    std::uint64_t part = 1, parts = 1;

    std::uint64_t first(std::uint64_t total) const { return total * (part - 1) / parts; }
    std::uint64_t count(std::uint64_t total) const { return total * part / parts - first(total); }
};

struct Comparison {
    SpecimenList specimens;
    SpecimenMapping mapping;
    bool forms = false;
    std::uint64_t permutations = 10000;
    std::uint64_t seed = 1;
    double alpha = 0.05;
    float clusterThreshold = 0;
    std::optional<Stretch> stretch;
    std::vector<std::string> parts; ///< files to put together
    std::optional<LengthUnit> unit;
    std::string base;
    bool overwrite = false;
    bool gzip = false;
    bool nifti = false;

    /// What the names of the volumes end in.
    std::vector<std::string> suffixes() const {
        std::vector<std::string> all = {".vm", ".nrrd"};
        if (nifti)
            all.emplace_back(gzip ? ".nii.gz" : ".nii");
        return all;
    }
};

void writeText(const std::string& file, const std::string& text) {
    const bool opened = saveStreamed(file, [&](std::ostream& stream) { stream << text; });
    if (!opened)
        throw FileWriteError("int compareCommand(const QStringList&)", "Cannot open file for writing", file);
    std::cout << file << '\n';
}

/// Where the place of this number lies.
std::array<double, 3> placeOf(const MapLattice<float>& lattice, std::size_t number) {
    const auto rows = std::size_t(lattice.getSize(0)), columns = std::size_t(lattice.getSize(1));
    return {double(lattice.position(0, int(number / columns % rows))),
            double(lattice.position(1, int(number % columns))),
            double(lattice.position(2, int(number / (columns * rows))))};
}

/// What the run found, into files and on the standard output.
class Report {
public:
    Report(const Comparison& comparison, const SpecimenValues& values, const GroupStatistic& statistic,
           const PermutationResult& result)
        : __comparison(comparison), __values(values), __statistic(statistic), __result(result),
          __differences(meanDifferences()) {}

    void write() {
        tell();
        if (__values.isForm) {
            writeText(__comparison.base + ".csv", vertexTable());
        } else {
            saveMap("statistic", __result.statistic);
            saveMap("p", __result.p);
            if (!__differences.empty())
                saveMap("difference", __differences);
            saveSurface();
        }
        writeText(__comparison.base + ".json", summary());
    }

private:
    std::size_t numSignificant() const {
        return std::size_t(std::count_if(__result.p.begin(), __result.p.end(),
                                         [this](float p) { return double(p) <= __comparison.alpha; }));
    }

    /// Mean of the second group less that of the first; nothing for more groups.
    std::vector<float> meanDifferences() const {
        const std::vector<int> sizes = __comparison.specimens.groupSizes();
        if (sizes.size() != 2)
            return {};
        std::vector<float> differences(__values.values.front().size());
        for (std::size_t p = 0; p < differences.size(); ++p) {
            double sums[2] = {};
            for (std::size_t s = 0; s < __values.values.size(); ++s)
                sums[__comparison.specimens.groups[s]] += double(__values.values[s][p]);
            differences[p] = float(sums[1] / sizes[1] - sums[0] / sizes[0]);
        }
        return differences;
    }

    void tell() const {
        const std::vector<int> sizes = __comparison.specimens.groupSizes();
        for (std::size_t g = 0; g < sizes.size(); ++g)
            std::cout << "Group " << __comparison.specimens.groupNames[g] << ": " << sizes[g] << " specimens\n";
        std::cout << __statistic.name() << " at " << __result.statistic.size() << " places, "
                  << __result.numPermutations << (__result.exact ? " permutations, all there are\n" : " permutations\n")
                  << "p <= " << shortNumber(__comparison.alpha) << ", corrected for all places, at " << numSignificant()
                  << " places; the least p is " << shortNumber(__result.least) << '\n';
        for (std::size_t c = 0; c < std::min<std::size_t>(10, __result.clusters.size()); ++c) {
            const Cluster& cluster = __result.clusters[c];
            const auto [x, y, z] = placeOf(*__values.lattice, cluster.peakPlace);
            std::cout << "Cluster of " << cluster.numPlaces << " places, mass " << shortNumber(cluster.mass)
                      << ", peak " << shortNumber(double(cluster.peak)) << " at (" << shortNumber(x) << ", "
                      << shortNumber(y) << ", " << shortNumber(z) << "), p = " << shortNumber(cluster.p) << '\n';
        }
    }

    VoxelMatrix<float> mapOf(const std::vector<float>& values) const {
        VoxelMatrix<float> map;
        map.setSize(__values.lattice->getSize());
        std::size_t place = 0;
        for (int k = 0; k < map.getSize3(); ++k)
            for (int i = 0; i < map.getSize1(); ++i)
                for (int j = 0; j < map.getSize2(); ++j)
                    map(i, j, k) = values[place++];
        return map;
    }

    void saveMap(const char* what, const std::vector<float>& values) const {
        VoxelMatrix<float> map = mapOf(values);
        VoxelCalibration calibration;
        calibration.setVoxelSize(__values.lattice->steps());
        const std::optional<LengthUnit> unit = __comparison.unit ? __comparison.unit : __values.unit;
        if (unit)
            calibration.setLengthUnit(*unit);
        map.setVoxelCalibration(calibration);
        const std::string file = __comparison.base + "-" + what;
        map.save(file + ".vm", __comparison.overwrite);
        saveNrrd(map, __values.lattice->origin(), __values.lattice->steps(), nrrdUnit(unit),
                 __comparison.gzip ? NrrdEncoding::Gzip : NrrdEncoding::Raw, file + ".nrrd", __comparison.overwrite);
        if (__comparison.nifti)
            saveNifti(map, __values.lattice->origin(), __values.lattice->steps(), unit,
                      file + __comparison.suffixes().back(), __comparison.overwrite);
        for (const std::string& suffix : __comparison.suffixes())
            std::cout << file << suffix << '\n';
    }

    /// Around the places that are significant, of either sign.
    void saveSurface() const {
        if (numSignificant() == 0 || !std::isfinite(__result.critical))
            return;
        VoxelMatrix<float> map = mapOf(__result.statistic);
        for (int k = 0; k < map.getSize3(); ++k)
            for (int i = 0; i < map.getSize1(); ++i)
                for (int j = 0; j < map.getSize2(); ++j)
                    map(i, j, k) = std::abs(map(i, j, k));
        MarchingCubes<float> cubes;
        TriMesh<float> surface = cubes.buildMesh(map, __result.critical, true);
        if (surface.getNumVertices() == 0)
            return;
        __values.lattice->toCoordinates(surface);
        const std::string file = __comparison.base + "-significant.tm";
        surface.save(file, __comparison.overwrite);
        std::cout << file << '\n';
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
        json.member("program", std::string("vorlen-cli ") + VORLEN_VERSION);
        json.member("statistic", __statistic.name());
        json.member("places", double(__result.statistic.size()));
        json.member("permutations", double(__result.numPermutations));
        json.member("exact", __result.exact);
        json.member("seed", double(__comparison.seed));
        json.member("alpha", __comparison.alpha);
        json.member("leastP", __result.least);
        json.member("criticalStatistic", double(__result.critical));
        json.member("significantPlaces", double(numSignificant()));
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
        json.key("groups");
        json.beginArray();
        for (std::size_t g = 0; g < __comparison.specimens.groupNames.size(); ++g) {
            json.beginObject();
            json.member("name", __comparison.specimens.groupNames[g]);
            json.key("files");
            json.beginArray();
            for (std::size_t s = 0; s < __comparison.specimens.files.size(); ++s)
                if (__comparison.specimens.groups[s] == int(g))
                    json.value(__comparison.specimens.files[s]);
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
        for (const double coordinate : placeOf(*__values.lattice, cluster.peakPlace))
            json.value(coordinate);
        json.endArray();
        json.member("p", cluster.p);
        json.endObject();
    }

    const Comparison& __comparison;
    const SpecimenValues& __values;
    const GroupStatistic& __statistic;
    const PermutationResult& __result;
    std::vector<float> __differences;
};

std::vector<std::string> outputsOf(const Comparison& comparison) {
    if (comparison.stretch)
        return {comparison.base + "-part-" + std::to_string(comparison.stretch->part) + "-of-" +
                std::to_string(comparison.stretch->parts) + ".json"};
    std::vector<std::string> files = {comparison.base + ".json"};
    if (comparison.forms) {
        files.push_back(comparison.base + ".csv");
        return files;
    }
    for (const char* what : {"-statistic", "-p", "-difference"})
        for (const std::string& suffix : comparison.suffixes())
            files.push_back(comparison.base + what + suffix);
    files.push_back(comparison.base + "-significant.tm");
    return files;
}

std::string hashOf(const Comparison& comparison, const SpecimenValues& values) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    const auto add = [&hash](const auto& items) {
        hash.addData({reinterpret_cast<const char*>(items.data()), qsizetype(items.size() * sizeof(items[0]))});
    };
    add(comparison.specimens.groups);
    for (const std::vector<float>& row : values.values)
        add(row);
    return hash.result().toHex().toStdString();
}

int compareGroups(const Comparison& comparison) {
    for (const std::string& file : outputsOf(comparison))
        if (!mayWrite(file, comparison.overwrite))
            return ExitFileError;
    const SpecimenValues values = readValues(comparison.specimens, comparison.forms, comparison.mapping);
    const std::vector<int> sizes = comparison.specimens.groupSizes();
    const std::unique_ptr<GroupStatistic> statistic =
        values.isForm ? newDisplacementStatistic(values.values, sizes) : newMeanStatistic(values.values, sizes);
    const Relabelling dealings(comparison.specimens.groups, comparison.permutations, comparison.seed);
    PermutationTest test(*statistic, dealings);
    if (comparison.clusterThreshold > 0) {
        if (!values.lattice)
            throw UsageError("int compareGroups(const Comparison&)", "Clusters are looked for in maps alone");
        test.findClusters(comparison.clusterThreshold, values.lattice->getSize(0), values.lattice->getSize(1),
                          values.lattice->getSize(2));
    }
    const ComparisonKey key = {statistic->name(), hashOf(comparison, values), comparison.seed, dealings.getNumber(),
                               comparison.clusterThreshold};
    ConsoleMonitor terminal;
    test.addMonitor(terminal);
    if (comparison.stretch) {
        const std::uint64_t total = dealings.getNumber();
        const PermutationMaxima maxima =
            test.maxima(comparison.stretch->first(total), comparison.stretch->count(total));
        test.removeMonitor(terminal);
        std::ostringstream text;
        writeMaxima(text, key, maxima);
        writeText(outputsOf(comparison).front(), text.str());
        return ExitGood;
    }
    PermutationResult result;
    if (comparison.parts.empty()) {
        result = test.run(comparison.alpha);
    } else {
        std::vector<PermutationMaxima> parts;
        for (const std::string& file : comparison.parts)
            parts.push_back(readMaxima(file, key));
        result = test.conclude(std::move(parts), comparison.alpha);
    }
    test.removeMonitor(terminal);
    Report(comparison, values, *statistic, result).write();
    return ExitGood;
}

/// "2/5"; nothing for what is none.
std::optional<Stretch> stretchOf(const QString& word) {
    const QStringList numbers = word.split('/');
    bool first = false, second = false;
    Stretch stretch;
    if (numbers.size() == 2) {
        stretch.part = numbers[0].toUInt(&first);
        stretch.parts = numbers[1].toUInt(&second);
    }
    if (!first || !second || stretch.part < 1 || stretch.part > stretch.parts)
        return std::nullopt;
    return stretch;
}

/// Fills what the command line tells; false, and a word about it, for a wrong usage.
bool readComparison(const CommandLine& line, Comparison& comparison) {
    const std::optional<int> permutations = line.integer("permutations", 1, 100000000);
    const std::optional<int> seed = permutations ? line.integer("seed", 0, 2147483647) : std::nullopt;
    const std::optional<double> alpha = seed ? line.number("alpha", 1e-9, 1) : std::nullopt;
    const std::optional<double> cluster = !alpha                  ? std::nullopt
                                          : line.isSet("cluster") ? line.number("cluster", 1e-9, 1e9)
                                                                  : std::optional(0.);
    if (!cluster || !readDensityOptions(line, comparison.mapping.settings, comparison.mapping.resolution) ||
        !readUnit(line, comparison.unit) || !setThreads(line))
        return false;
    if (line.isSet("chunk")) {
        comparison.stretch = stretchOf(line.value("chunk"));
        if (!comparison.stretch || line.isSet("merge")) {
            line.usageError("--chunk takes a part of parts, 2/5 say, and goes without --merge");
            return false;
        }
    }
    if (line.value("name").isEmpty() || line.value("name").contains('/')) {
        line.usageError("--name takes a file name without a directory");
        return false;
    }
    for (const QString& word : line.values("mask"))
        comparison.mapping.masks.push_back(QFile::encodeName(word).toStdString());
    for (const QString& word : line.values("merge"))
        comparison.parts.push_back(QFile::encodeName(word).toStdString());
    comparison.permutations = std::uint64_t(*permutations);
    comparison.seed = std::uint64_t(*seed);
    comparison.alpha = *alpha;
    comparison.clusterThreshold = float(*cluster);
    comparison.forms = line.isSet("shapes");
    comparison.base = line.path("output") + "/" + line.path("name");
    comparison.overwrite = line.isSet("overwrite");
    comparison.gzip = line.isSet("gzip");
    comparison.nifti = line.isSet("nifti");
    return true;
}

void addOptions(CommandLine& line) {
    line.addOutputOptions();
    line.addOption({"name"}, "Name that the files begin with.", "name", "comparison");
    line.addOption({"groups"}, "How many files each group has, in their order: 5,5 say.", "sizes");
    line.addOption({"names"}, "Names of the groups: control,treated say.", "names");
    line.addOption({"table"},
                   "A table of files and groups in place of both: a line for each file, a tabulator between.", "file");
    line.addFlag("shapes", "Compare the places of vertices that correspond, those of normalized shapes.");
    addDensityOptions(line, "kernel");
    line.addOption({"mask"}, "A closed surface (.qm) outside of which the density is 0; may be given several times.",
                   "file");
    line.addOption({"permutations"}, "At most so many; all there are when these are no more.", "number", "10000");
    line.addOption({"seed"}, "Which permutations are drawn.", "number", "1");
    line.addOption({"alpha"}, "The p up to which places count as significant.", "p", "0.05");
    line.addOption({"cluster"}, "Look for clusters of places whose statistic is above this.", "threshold");
    line.addOption({"chunk"}, "Do only this part of the permutations, 2/5 say, and write its maxima.", "part/parts");
    line.addOption({"merge"}, "A file of such maxima; once for each part, to finish the test.", "file");
    line.addOption({"unit"}, "Unit of the points, for the volumes: m, mm, \302\265m (or um), nm.", "unit");
    line.addFlag("nifti", "Write the volumes as NIfTI (.nii), too.");
    line.addFlag("gzip", "Write NRRD files compressed, and those of NIfTI, .nii.gz.");
    line.addOption({"threads"}, "Number of threads; all processors by default. The result is the same for any.",
                   "number");
}

} // namespace

int compareCommand(const QStringList& arguments) {
    CommandLine line("compare",
                     "Tells where groups of specimens differ: a statistic at each place of their density maps, or of "
                     "their shapes, and by permutations of the specimens the p that is corrected for all places.",
                     "SPECIMEN...",
                     "Point shapes (.vx, .vs) in one space, or density maps (.vm) of one size, or with --shapes "
                     "shapes of as many vertices.");
    addOptions(line);
    if (const std::optional<int> status = line.parse(arguments, 0, false))
        return *status;
    Comparison comparison;
    if (!readComparison(line, comparison))
        return ExitUsage;
    return guarded("compare the groups", [&]() -> int {
        const std::optional<SpecimenList> specimens = readSpecimens(line);
        if (!specimens)
            return ExitUsage;
        comparison.specimens = *specimens;
        if (!line.outputDirectory())
            return ExitFileError;
        return compareGroups(comparison);
    });
}

} // namespace vorlen
