#include "cli/commands.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <limits>
#include <sstream>
#include <utility>

#include "cli/commandline.h"
#include "cli/consolemonitor.h"
#include "cli/memoryneed.h"
#include "cli/stackfile.h"
#include "files/fileinfo.h"
#include "files/safefile.h"
#include "images/files/voxelmatrixheader.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"
#include "reconstruction/marchingcubes.h"

namespace vorlen {

namespace {

constexpr char command[] = "int isosurfaceCommand(const QStringList&)";

struct Request {
    double level;
    bool closed;
    bool calibrated;
    bool overwrite;
    std::string directory;
};

/// The bytes of one element of the file, whose length fits its header: those of its type, or of the only size that
/// fits.
int elementSize(const VoxelMatrixHeader& header) {
    for (int size : {1, 2, 4, 8, 12})
        if (header.fileSizeMatches(size))
            return size;
    return 0;
}

/// The coordinates of the voxels' centres in the length unit of the calibration.
void calibrate(TriMesh<float>& mesh, const VoxelCalibration& calibration) {
    const Vector<float>& size = calibration.getVoxelSize();
    for (int i = 0; i < mesh.getNumVertices(); ++i)
        for (int k = 0; k < 3; ++k)
            mesh[i][k] *= size[k];
}

/// Turns all triangles, so that normals point from the inside, the greater values, to the outside.
void turnOutward(TriMesh<float>& mesh) {
    for (unsigned int i = 0; i < mesh.getNumTriangles(); ++i)
        std::swap(mesh.getTriangleIndexes(i)[1], mesh.getTriangleIndexes(i)[2]);
    mesh.computeNormals();
}

/// Loads the volume as elements T, and makes the surface with numbers of type N.
template <class T, class N>
TriMesh<float> surfaceOf(const std::string& file, const Request& request) {
    VoxelMatrix<N> volume;
    {
        VoxelMatrix<T> loaded(file);
        // A copy: the swap takes it along. NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
        const VoxelCalibration calibration = loaded.getVoxelCalibration();
        if constexpr (std::is_same_v<T, N>)
            volume.swap(loaded);
        else
            volume = loaded.template toType<N>();
        volume.setVoxelCalibration(calibration);
    }
    MarchingCubes<N> cubes;
    ConsoleMonitor monitor;
    cubes.addMonitor(monitor);
    TriMesh<float> mesh = cubes.buildMesh(volume, N(request.level), request.closed);
    cubes.removeMonitor(monitor);
    if (mesh.getNumTriangles() == 0) {
        std::cerr << "vorlen-cli: " << file << " has no surface at level " << shortNumber(request.level);
        if (volume.getSize1() > 0 && volume.getSize2() > 0 && volume.getSize3() > 0) {
            const Vector<N> range = volume.range();
            std::cerr << "; its values go from " << shortNumber(double(range[0])) << " to "
                      << shortNumber(double(range[1]));
        }
        std::cerr << '\n';
        return mesh;
    }
    if (request.calibrated)
        calibrate(mesh, volume.getVoxelCalibration());
    turnOutward(mesh);
    return mesh;
}

TriMesh<float> surfaceOf(const std::string& file, const Request& request) {
    const VoxelMatrixHeader header = VoxelMatrixHeader::read(file);
    if (!header.fileSizeMatches())
        throw FileFormatError(command, "The file's length does not match its header", file);
    const int size = elementSize(header);
    switch (header.typeTag) {
    case 2:
        return surfaceOf<int, double>(file, request);
    case 3:
        return surfaceOf<unsigned int, double>(file, request);
    case 6:
        return surfaceOf<double, double>(file, request);
    case 7:
        return surfaceOf<long double, long double>(file, request);
    default:
        break;
    }
    // The small integers share a tag, and files of the old layout have none: the size of an element tells them apart.
    if (size == 1)
        return surfaceOf<unsigned char, float>(file, request);
    if (size == 2)
        return surfaceOf<unsigned short, float>(file, request);
    if (size == 8)
        return surfaceOf<double, double>(file, request);
    if (size == 12)
        return surfaceOf<long double, long double>(file, request);
    return surfaceOf<float, float>(file, request);
}

int writeSurface(const std::string& file, const Request& request) {
    const std::string name = std::filesystem::path(file).stem().string();
    const std::string base = (std::filesystem::path(request.directory) / name).string();
    const std::string meshFile = base + ".tm", stlFile = base + ".stl";
    if (!request.overwrite) {
        FileInfo::requireFree(meshFile, command, "The file exists");
        FileInfo::requireFree(stlFile, command, "The file exists");
    }
    TriMesh<float> mesh = surfaceOf(file, request);
    if (mesh.getNumTriangles() == 0)
        return ExitProblems;
    mesh.setName(name);
    mesh.save(meshFile, request.overwrite);
    std::ostringstream text;
    mesh.export2AsciiSTL(text);
    if (!SafeFile::save(stlFile, std::move(text).str()))
        throw FileWriteError(command, "The file cannot be opened for writing", stlFile);
    std::cout << meshFile << '\n' << stlFile << '\n';
    return ExitGood;
}

} // namespace

int isosurfaceCommand(const QStringList& arguments) {
    CommandLine line("isosurface",
                     "Writes the surface on which a volume reaches a level, as a mesh file (.tm) and as STL, named "
                     "after the volume. Values of at least the level are inside; normals point outward. Coordinates "
                     "are row, column and plane of the voxels, counted from 0.",
                     "VOLUME.vm...", "Voxel matrix files (.vm).");
    line.addOption({"l", "level"}, "The level, a number; it must be given.", "level");
    line.addFlag("open", "Let the surface end at the volume's border. Otherwise it is closed along the border.");
    line.addFlag("calibrated", "Coordinates in the volume's length unit, by its voxel height, width and depth.");
    line.addOutputOptions();
    if (const std::optional<int> status = line.parse(arguments))
        return *status;
    if (!line.isSet("level"))
        return line.usageError("--level must be given");
    constexpr double largest = std::numeric_limits<float>::max();
    const std::optional<double> level = line.number("level", -largest, largest);
    if (!level)
        return ExitUsage;
    // The volume, and a surface through as many voxels as its faces have, or several times that.
    if (line.isSet("dry-run"))
        return tellMemoryOfFiles(line.files(), 3);

    const Request request = {*level, !line.isSet("open"), line.isSet("calibrated"), line.isSet("overwrite"),
                             line.path("output")};
    if (!line.outputDirectory())
        return ExitFileError;
    int status = ExitGood;
    for (const std::string& file : line.files())
        status = std::max(status, guarded("make the surface of " + file, [&] { return writeSurface(file, request); }));
    return status;
}

} // namespace vorlen
