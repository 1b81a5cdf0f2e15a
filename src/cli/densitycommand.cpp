#include "cli/commands.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>

#include "cli/commandline.h"
#include "cli/consolemonitor.h"
#include "cli/densityblocks.h"
#include "cli/mapoptions.h"
#include "cli/memoryneed.h"
#include "cli/stackfile.h"
#include "images/files/niftiwriter.h"
#include "images/files/nrrdwriter.h"
#include "images/files/voxelmatrixfile.h"
#include "images/filters/parallelwork.h"
#include "images/volumes/voxelmatrix.h"
#include "normalization/densitymapping.h"
#include "numerics/exception.h"
#include "reconstruction/marchingcubes.h"
#include "shapes/boundingbox.h"
#include "shapes/grid.h"

#include <QFile>

namespace vorlen {

namespace {

struct Job {
    DensitySettings settings;
    float resolution = 0; ///< 0: a hundredth of the longest side
    std::optional<LengthUnit> unit;
    std::vector<float> levels, percentiles;
    std::string base; ///< directory and name of the files
    bool overwrite = false;
    bool gzip = false;
    bool nifti = false;
    bool dryRun = false;
    std::optional<WorkPart> part;    ///< of the planes, to be made alone
    std::vector<std::string> blocks; ///< files to put together
    std::vector<std::unique_ptr<Shape<float>>> patterns, masks;

    MapPlanes planes(const Grid<float>& grid) const { return MapPlanes::part(*part, grid.getSize()[2]); }
    /// Whether the files are made of planes one by one, of the volume alone.
    bool isPlaneWise() const { return !nifti && levels.empty() && percentiles.empty(); }
    std::string niftiFile() const { return base + (gzip ? ".nii.gz" : ".nii"); }
};

std::string surfaceName(const Job& job, std::size_t k) {
    char number[24];
    std::snprintf(number, sizeof number, "-%02zu", k);
    return job.base + number + ".tm";
}

std::string triple(const Vector<float>& v) {
    return "(" + shortNumber(v[0]) + ", " + shortNumber(v[1]) + ", " + shortNumber(v[2]) + ")";
}

void tellGrid(const MapLattice<float>& lattice) {
    std::cout << "Map of " << lattice.getSize(0) << " x " << lattice.getSize(1) << " x " << lattice.getSize(2)
              << " elements, the first at " << triple(lattice.origin()) << ", steps of " << triple(lattice.steps())
              << '\n';
}

/// Writes the surfaces at the levels; tells of those that there are not.
int writeSurfaces(const Job& job, const VoxelMatrix<float>& map, const MapLattice<float>& lattice,
                  const std::vector<float>& levels) {
    int status = ExitGood;
    ConsoleMonitor terminal;
    MarchingCubes<float> cubes;
    cubes.addMonitor(terminal);
    for (std::size_t k = 0; k < levels.size(); ++k) {
        TriMesh<float> surface;
        if (std::isfinite(levels[k]))
            surface = cubes.buildMesh(map, levels[k], true);
        if (surface.getNumVertices() == 0) {
            std::cerr << "vorlen-cli: there is no surface at level " << shortNumber(levels[k]) << '\n';
            status = ExitProblems;
            continue;
        }
        lattice.toCoordinates(surface);
        surface.save(surfaceName(job, k), job.overwrite);
        std::cout << surfaceName(job, k) << "  level " << shortNumber(levels[k]);
        if (k >= job.levels.size())
            std::cout << ", percentile " << shortNumber(job.percentiles[k - job.levels.size()]);
        std::cout << '\n';
    }
    cubes.removeMonitor(terminal);
    return status;
}

std::vector<std::string> outputsOf(const Job& job) {
    if (job.part)
        return {job.base + "-block-" + std::to_string(job.part->number) + "-of-" + std::to_string(job.part->parts) +
                ".block"};
    std::vector<std::string> files = {job.base + ".vm", job.base + ".nrrd"};
    if (job.nifti)
        files.push_back(job.niftiFile());
    for (std::size_t k = 0; k < job.levels.size() + job.percentiles.size(); ++k)
        files.push_back(surfaceName(job, k));
    return files;
}

std::vector<Shape<float>*> pointersTo(const std::vector<std::unique_ptr<Shape<float>>>& shapes) {
    std::vector<Shape<float>*> pointers;
    pointers.reserve(shapes.size());
    for (const auto& shape : shapes)
        pointers.push_back(shape.get());
    return pointers;
}

/// Bytes that the job takes.
double bytesOf(const Job& job, const DensityMapping& mapping, const Grid<float>& grid) {
    const Vector<int>& size = grid.getSize();
    const double plane = double(sizeof(float)) * size[0] * size[1], own = MemoryNeed().own;
    if (job.part)
        return own + mapping.bytes(grid, job.planes(grid));
    if (job.blocks.empty())
        return own + mapping.bytes(grid);
    return own + (job.isPlaneWise() ? plane : plane * (size[2] + 1));
}

using PlaneOfMap = std::function<const PixelMatrix<float>&(int)>;

/// Writes the volume as .vm and .nrrd from its planes, and tells what it is.
void writeVolume(const Job& job, const DensityMapping& mapping, const Grid<float>& grid, const DensityReport& report,
                 const PlaneOfMap& plane) {
    std::cout << "Densities from " << shortNumber(report.least) << " to " << shortNumber(report.greatest) << '\n';
    for (const std::string& note : report.notes)
        std::cout << note << '\n';
    const Vector<int>& size = grid.getSize();
    const MapLattice<float> lattice = mapping.estimator().lattice(grid.getBoundingBox(), size);
    const Vector<float> steps = lattice.steps();
    const std::vector<std::string> files = outputsOf(job);
    VoxelMatrixFileWriter writer(files[0], job.overwrite, "int densityCommand(const QStringList&)");
    writer.writeHeader(VoxelMatrix<float>().dataTypeId(), {size[0], size[1], size[2]},
                       job.unit.value_or(LengthUnit()).getScale(), {steps[0], steps[1], steps[2]});
    for (int k = 0; k < size[2]; ++k) {
        const PixelMatrix<float>& values = plane(k);
        for (int i = 0; i < size[0]; ++i)
            writer.write(values[i].data(), sizeof(float) * std::size_t(size[1]));
    }
    writer.commit();
    saveNrrd<float>(size, plane, lattice.origin(), steps, nrrdUnit(job.unit),
                    job.gzip ? NrrdEncoding::Gzip : NrrdEncoding::Raw, files[1], job.overwrite);
    std::cout << files[0] << '\n' << files[1] << '\n';
}

/// Writes all that a whole map comes to.
int writeMap(const Job& job, DensityMapping& mapping, const Grid<float>& grid, const DensityReport& report,
             const VoxelMatrix<float>& map) {
    writeVolume(job, mapping, grid, report, [&map](int k) -> const PixelMatrix<float>& { return map[k]; });
    const MapLattice<float> lattice = mapping.estimator().lattice(grid.getBoundingBox(), grid.getSize());
    if (job.nifti) {
        saveNifti(map, lattice.origin(), lattice.steps(), job.unit, job.niftiFile(), job.overwrite);
        std::cout << job.niftiFile() << '\n';
    }
    std::vector<float> levels = job.levels;
    for (const float percentile : job.percentiles)
        levels.push_back(mapping.estimator().percentile(map, grid, percentile));
    return writeSurfaces(job, map, lattice, levels);
}

/// Puts the blocks together: in memory where more than the volume is asked for, else plane by plane.
int mergeBlocks(const Job& job, DensityMapping& mapping, const Grid<float>& grid, const std::string& key) {
    const Vector<int>& size = grid.getSize();
    const DensityBlocks blocks(job.blocks, key, size);
    VoxelMatrix<float> plane, map;
    if (!job.isPlaneWise())
        map.setSize(size);
    DensityReport report;
    const auto read = [&](int k) -> const PixelMatrix<float>& {
        blocks.read(k, plane);
        mapping.finish(plane, grid, blocks.sums());
        return plane[0];
    };
    for (int k = 0; k < size[2]; ++k) {
        const PixelMatrix<float>& values = read(k);
        mapping.survey(report, plane, k, grid);
        for (int i = 0; i < map.getSize1(); ++i)
            std::copy_n(values[i].data(), size[1], map[k][i].data());
    }
    mapping.addNotes(report);
    if (!job.isPlaneWise())
        return writeMap(job, mapping, grid, report, map);
    writeVolume(job, mapping, grid, report, read);
    return ExitGood;
}

int mapDensity(const Job& job) {
    // What cannot be written is told before the work.
    for (const std::string& file : outputsOf(job))
        if (!job.dryRun && !mayWrite(file, job.overwrite))
            return ExitFileError;

    const std::vector<Shape<float>*> patterns = pointersTo(job.patterns), masks = pointersTo(job.masks);
    DensityMapping mapping(job.settings, patterns, masks);
    const Grid<float> grid = mapping.grid(job.resolution);
    tellGrid(mapping.estimator().lattice(grid.getBoundingBox(), grid.getSize()));
    if (job.part) {
        const MapPlanes block = job.planes(grid);
        std::cout << "Block of " << block.count() << " planes, from " << block.first << '\n';
    }
    std::cout << "Memory: " << memoryText(bytesOf(job, mapping, grid)) << ", on " << ParallelWork::getThreads()
              << " threads\n";
    if (job.dryRun)
        return ExitGood;
    if (!job.blocks.empty())
        return mergeBlocks(job, mapping, grid, densityKey(job.settings, grid, patterns, masks));

    VoxelMatrix<float> map;
    ConsoleMonitor terminal;
    mapping.estimator().addMonitor(terminal);
    if (job.part) {
        const MapPlanes block = job.planes(grid);
        const MapSums sums = mapping.computeBlock(map, grid, block);
        saveDensityBlock(outputsOf(job)[0], densityKey(job.settings, grid, patterns, masks), block, map, sums);
        std::cout << outputsOf(job)[0] << '\n';
        return ExitGood;
    }
    const DensityReport report = mapping.compute(map, grid);
    mapping.estimator().removeMonitor(terminal);
    return writeMap(job, mapping, grid, report, map);
}

/// Fills what the command line tells; false, and a word about it, for a wrong usage.
bool readJob(const CommandLine& line, Job& job) {
    if (!readDensityOptions(line, job.settings, job.resolution))
        return false;
    const std::optional<std::vector<float>> levels = numbers(line, "level");
    const std::optional<std::vector<float>> percentiles = levels ? numbers(line, "percentile") : std::nullopt;
    if (!percentiles)
        return false;
    for (const float percentile : *percentiles) {
        if (percentile < 0 || percentile > 100) {
            line.usageError("--percentile takes a number from 0 to 100");
            return false;
        }
    }
    if (line.value("name").isEmpty() || line.value("name").contains('/')) {
        line.usageError("--name takes a file name without a directory");
        return false;
    }
    if (!readUnit(line, job.unit) || !readChunk(line, job.part))
        return false;
    for (const QString& word : line.values("merge"))
        job.blocks.push_back(QFile::encodeName(word).toStdString());
    job.settings.unit = job.unit ? job.unit->symbol() : "";
    job.gzip = line.isSet("gzip");
    job.nifti = line.isSet("nifti");
    job.dryRun = line.isSet("dry-run");
    job.levels = *levels;
    job.percentiles = *percentiles;
    job.base = line.path("output") + "/" + line.path("name");
    job.overwrite = line.isSet("overwrite");
    return true;
}

} // namespace

int densityCommand(const QStringList& arguments) {
    CommandLine line("density",
                     "Tells where the points of several specimens concentrate: a volume of densities, and surfaces of "
                     "equal density. Each file is the point pattern of one specimen.",
                     "POINTS.vx...", "Point shapes (.vx, .vs) in one space.");
    line.addOutputOptions();
    line.addOption({"name"},
                   "Name of the files: NAME.vm, the same as NAME.nrrd with its place in space, and NAME-00.tm and so "
                   "on for the surfaces.",
                   "name", "density");
    addDensityOptions(line, "histogram");
    line.addOption({"mask"}, "A closed surface (.qm) outside of which the density is 0; may be given several times.",
                   "file");
    line.addOption({"level"}, "Write the surface at this density; may be given several times.", "density");
    line.addOption({"percentile"},
                   "Write the surface at the density below which so many percent of the points lie; may "
                   "be given several times, and comes behind the levels.",
                   "percent");
    line.addOption({"unit"}, "Unit of the points, for the volumes: m, mm, \302\265m (or um), nm.", "unit");
    line.addFlag("nifti", "Write the volume as NAME.nii, too.");
    line.addFlag("gzip", "Write the NRRD file compressed, and that of NIfTI, NAME.nii.gz.");
    line.addOption(
        {"chunk", "block"},
        "Make only this part of the map's planes, 2/5 say, and write it as NAME-block-2-of-5.block, from points "
        "and options as for the whole.",
        "part/parts");
    line.addOption({"merge"},
                   "A file of such a block; once for each part, to make of them the files that the whole would give.",
                   "file");
    if (const std::optional<int> status = line.parse(arguments))
        return *status;
    Job job;
    if (!readJob(line, job))
        return ExitUsage;

    int status = ExitGood;
    for (const std::string& name : line.files())
        status = std::max(status, guarded("read " + name, [&] { return readPattern(name, job.patterns); }));
    for (const QString& word : line.values("mask")) {
        const std::string name = QFile::encodeName(word).toStdString();
        status = std::max(status, guarded("read " + name, [&] {
                              job.masks.emplace_back(Shape<float>::loadFile(name));
                              return ExitGood;
                          }));
    }
    // A map without one of its patterns would be another map.
    if (status != ExitGood)
        return status;
    if (!job.dryRun && !line.outputDirectory())
        return ExitFileError;
    return guarded("map the density", [&] { return mapDensity(job); });
}

} // namespace vorlen
