#include <algorithm>
#include <optional>

#include <pybind11/stl.h>

#include "images/filters/parallelwork.h"
#include "images/volumes/voxelmatrix.h"
#include "normalization/bandwidthrule.h"
#include "normalization/densitymapping.h"
#include "normalization/groupstatistic.h"
#include "normalization/maplattice.h"
#include "normalization/permutationtest.h"
#include "normalization/relabelling.h"
#include "python/arrays.h"
#include "python/callbackmonitor.h"
#include "python/errors.h"
#include "python/stackhandle.h"
#include "shapes/grid.h"

namespace py = pybind11;

namespace vorlen {

namespace {

using Patterns = std::vector<std::unique_ptr<Vertices<float>>>;
using Values = py::array_t<float, py::array::c_style | py::array::forcecast>;

DensityMappingMethod methodOf(const std::string& word) {
    if (word == "histogram")
        return HistogramMethod;
    if (word == "kernel")
        return KernelMethod;
    if (word == "poisson")
        return PoissonMethod;
    fail("A method is histogram, kernel or poisson, not '" + word + "'");
}

/// Appends the elements by x, y and z, the last one fastest.
void append(std::vector<float>& values, const VoxelMatrix<float>& map) {
    for (int i = 0; i < map.getSize1(); ++i)
        for (int j = 0; j < map.getSize2(); ++j)
            for (int k = 0; k < map.getSize3(); ++k)
                values.push_back(map(i, j, k));
}

double meanBandwidth(const Patterns& patterns, DensityKernel kernel) {
    double sum = 0;
    int number = 0;
    for (const auto& pattern : patterns) {
        std::vector<float> coordinates;
        coordinates.reserve(3 * std::size_t(pattern->getNumVertices()));
        for (int i = 0; i < pattern->getNumVertices(); ++i)
            coordinates.insert(coordinates.end(), (*pattern)[i].begin(), (*pattern)[i].end());
        const double bandwidth = normalReferenceBandwidth(coordinates, kernel);
        sum += bandwidth;
        number += bandwidth > 0 ? 1 : 0;
    }
    return number > 0 ? sum / number : 0;
}

/// What is mapped, and what came of it.
struct MapRun {
    DensitySettings settings;
    Patterns patterns;
    std::vector<float> values;
    std::optional<MapLattice<float>> lattice;
    std::vector<std::string> notes;

    void add(DensityMapping& mapping, const Grid<float>& grid, const py::object& progress) {
        VoxelMatrix<float> map;
        watched(mapping.estimator(), progress, [&] {
            const DensityReport report = mapping.compute(map, grid);
            append(values, map);
            notes.insert(notes.end(), report.notes.begin(), report.notes.end());
        });
        lattice.emplace(mapping.estimator().lattice(grid.getBoundingBox(), grid.getSize()));
    }
};

py::dict density(const std::vector<Doubles>& points, const std::string& method, double resolution, double bandwidth,
                 int rank, bool each, const py::object& progress) {
    if (points.empty())
        fail("There is no pattern of points");
    if (!(resolution >= 0) || !(bandwidth >= 0) || rank < 1)
        fail("Resolution and bandwidth are not below 0, and the rank is above 0");
    MapRun run;
    run.settings.method = methodOf(method);
    run.settings.bandwidth = float(bandwidth);
    run.settings.neighbourRank = rank;
    std::vector<Shape<float>*> shapes;
    for (const Doubles& pattern : points) {
        run.patterns.push_back(std::make_unique<Vertices<float>>(spacePointsOf(pattern)));
        shapes.push_back(run.patterns.back().get());
    }
    // Maps that are compared have one bandwidth.
    if (each && run.settings.method == KernelMethod && !(bandwidth > 0))
        run.settings.bandwidth = float(meanBandwidth(run.patterns, run.settings.kernel));
    DensityMapping all(run.settings, shapes, {});
    const Grid<float> grid = all.grid(float(resolution));
    if (each)
        for (Shape<float>* shape : shapes) {
            DensityMapping one(run.settings, {shape}, {});
            run.add(one, grid, progress);
        }
    else
        run.add(all, grid, progress);
    std::vector<py::ssize_t> sizes;
    if (each)
        sizes.push_back(py::ssize_t(shapes.size()));
    std::vector<double> origin, steps;
    for (int axis = 0; axis < 3; ++axis) {
        sizes.push_back(run.lattice->getSize(axis));
        origin.push_back(double(run.lattice->origin()[axis]));
        steps.push_back(double(run.lattice->steps()[axis]));
    }
    py::dict map;
    map["values"] = arrayOf(std::move(run.values), std::move(sizes));
    map["origin"] = arrayOf(std::move(origin), {3});
    map["steps"] = arrayOf(std::move(steps), {3});
    map["notes"] = run.notes;
    return map;
}

/// The number of each specimen's group, groups by their first appearance.
std::vector<int> numbered(const std::vector<py::object>& labels) {
    std::vector<py::object> known;
    std::vector<int> groups;
    for (const py::object& label : labels) {
        const auto found =
            std::find_if(known.begin(), known.end(), [&](const py::object& other) { return other.equal(label); });
        groups.push_back(int(found - known.begin()));
        if (found == known.end())
            known.push_back(label);
    }
    return groups;
}

/// Places of a map as the test counts them.
py::tuple indexOf(std::size_t place, const std::vector<py::ssize_t>& sizes) {
    const auto columns = std::size_t(sizes[2]), rows = std::size_t(sizes[1]);
    return py::make_tuple(place / (rows * columns), place / columns % rows, place % columns);
}

py::list clustersOf(const PermutationResult& result, const std::vector<py::ssize_t>& sizes) {
    py::list clusters;
    for (const Cluster& cluster : result.clusters) {
        py::dict entry;
        entry["places"] = cluster.numPlaces;
        entry["mass"] = cluster.mass;
        entry["peak"] = cluster.peak;
        entry["peak_at"] = indexOf(cluster.peakPlace, sizes);
        entry["p"] = cluster.p;
        clusters.append(entry);
    }
    return clusters;
}

py::dict compare(const Values& values, const std::vector<py::object>& labels, bool shapes, int permutations,
                 long long seed, double alpha, double cluster, const py::object& progress) {
    if (values.ndim() < 2 || values.shape(0) != py::ssize_t(labels.size()) || values.size() == 0)
        fail("Values are an array of specimens x places, with a group for each specimen");
    if (shapes && values.shape(values.ndim() - 1) != 3)
        fail("Shapes are an array whose last axis is X, Y and Z");
    if (permutations < 1 || seed < 0 || !(alpha > 0) || !(alpha <= 1) || !(cluster >= 0))
        fail("Permutations and alpha are above 0, seed and cluster not below");
    std::vector<py::ssize_t> sizes(values.shape() + 1, values.shape() + values.ndim());
    if (shapes)
        sizes.pop_back();
    if (cluster > 0 && (shapes || sizes.size() != 3))
        fail("Clusters are looked for in maps of three axes alone");
    const std::size_t number = std::size_t(values.size() / values.shape(0));
    std::vector<std::vector<float>> rows;
    for (py::ssize_t s = 0; s < values.shape(0); ++s)
        rows.emplace_back(values.data() + std::size_t(s) * number, values.data() + std::size_t(s + 1) * number);
    const Relabelling dealings(numbered(labels), std::uint64_t(permutations), std::uint64_t(seed));
    const std::unique_ptr<GroupStatistic> statistic =
        shapes ? newDisplacementStatistic(std::move(rows), dealings.getGroupSizes())
               : newMeanStatistic(std::move(rows), dealings.getGroupSizes());
    PermutationTest test(*statistic, dealings);
    if (cluster > 0)
        test.findClusters(float(cluster), int(sizes[1]), int(sizes[2]), int(sizes[0]));
    PermutationResult result;
    watched(test, progress, [&] { result = test.run(alpha); });
    py::dict told;
    told["name"] = statistic->name();
    told["clusters"] = clustersOf(result, sizes);
    told["statistic"] = arrayOf(std::move(result.statistic), sizes);
    told["p"] = arrayOf(std::move(result.p), sizes);
    told["least_p"] = result.least;
    told["critical"] = result.critical;
    told["permutations"] = result.numPermutations;
    told["exact"] = result.exact;
    return told;
}

} // namespace

void bindMaps(py::module_& module) {
    module.def("density", &density, py::arg("patterns"), py::kw_only(), py::arg("method") = "kernel",
               py::arg("resolution") = 0.0, py::arg("bandwidth") = 0.0, py::arg("rank") = 10, py::arg("each") = false,
               py::arg("progress") = py::none(),
               "Where points concentrate. patterns: an array of M x 3 coordinates for each specimen.\n\n"
               "method: histogram, kernel or poisson; resolution: side of a cell, 0 for a hundredth of the longest\n"
               "side; bandwidth: of the kernel, 0 for that of the data; rank: for poisson. Lengths are in the unit of\n"
               "the points. each: a map for each specimen, over one box and with one bandwidth, to be compared.\n\n"
               "Returns a dictionary: values, nx x ny x nz float32, with each in front an axis of specimens; origin\n"
               "and steps, 3 numbers: element (i, j, k) lies at origin + (i, j, k) * steps; notes, a list of texts.");
    module.def("compare", &compare, py::arg("values"), py::arg("groups"), py::kw_only(), py::arg("shapes") = false,
               py::arg("permutations") = 10000, py::arg("seed") = 1, py::arg("alpha") = 0.05, py::arg("cluster") = 0.0,
               py::arg("progress") = py::none(),
               "Where groups of specimens differ, by a permutation test of the greatest statistic.\n\n"
               "values: specimens x places, of any number of axes; with shapes the last axis is X, Y and Z of places\n"
               "that correspond. groups: a label for each specimen. cluster: look for clusters of places above it, in\n"
               "maps of three axes.\n\n"
               "Returns a dictionary: statistic and p (corrected for all places), arrays of the places; least_p;\n"
               "critical, the statistic from which on p is at most alpha; permutations; exact, whether all there are\n"
               "were done; clusters, dictionaries with places, mass, peak, peak_at (an index) and p; name.");
    module.def("set_threads", &ParallelWork::setThreads, py::arg("threads"),
               "Threads of all work from now on; 0 for as many as there are processors. Results do not depend on it.");
}

} // namespace vorlen
