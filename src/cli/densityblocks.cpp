#include "cli/densityblocks.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

#include "files/safestream.h"
#include "normalization/densitymapping.h"
#include "numerics/exception.h"
#include "shapes/grid.h"
#include "shapes/shape.h"

#include <QCryptographicHash>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace vorlen {

static_assert(std::endian::native == std::endian::little, "blocks are written as numbers lie in memory");

namespace {

constexpr const char* formatLine = "vorlen density block 1\n";
constexpr const char* place = "DensityBlocks::DensityBlocks(...)";

template <class T>
void add(QCryptographicHash& hash, const T& value) {
    hash.addData({reinterpret_cast<const char*>(&value), qsizetype(sizeof value)});
}

void add(QCryptographicHash& hash, const std::vector<Shape<float>*>& shapes) {
    add(hash, int(shapes.size()));
    for (const Shape<float>* shape : shapes) {
        add(hash, int(shape->getShapeType()));
        add(hash, shape->getNumVertices());
        for (ConstVertexIterator<float> it(*shape); it.current(); ++it)
            for (int a = 0; a < it.current()->getSize(); ++a)
                add(hash, (*it.current())[a]);
    }
}

QJsonArray arrayOf(const std::vector<double>& values) {
    QJsonArray array;
    for (const double value : values)
        array.append(value);
    return array;
}

/// What is no number in JSON, such as an infinite density, is none here.
std::vector<double> numbersOf(const QJsonValue& value) {
    const QJsonArray array = value.toArray();
    std::vector<double> numbers;
    numbers.reserve(std::size_t(array.size()));
    for (const auto& each : array)
        numbers.push_back(each.toDouble(std::numeric_limits<double>::quiet_NaN()));
    return numbers;
}

QJsonObject toJson(const MapSums& sums) {
    QJsonArray patterns;
    for (const PatternReport& each : sums.patterns)
        patterns.append(
            QJsonObject{{"bandwidth", each.bandwidth}, {"numPoints", each.numPoints}, {"integral", each.integral}});
    return {{"densities", arrayOf(sums.densities)},
            {"distances", arrayOf(sums.distances)},
            {"elements", arrayOf(sums.elements)},
            {"meanNumPoints", sums.meanNumPoints},
            {"patterns", patterns}};
}

MapSums sumsOf(const QJsonObject& object) {
    MapSums sums;
    sums.densities = numbersOf(object["densities"]);
    sums.distances = numbersOf(object["distances"]);
    sums.elements = numbersOf(object["elements"]);
    sums.meanNumPoints = object["meanNumPoints"].toDouble();
    const QJsonArray patterns = object["patterns"].toArray();
    sums.patterns.reserve(std::size_t(patterns.size()));
    for (const auto& each : patterns)
        sums.patterns.push_back({each.toObject()["bandwidth"].toDouble(), each.toObject()["numPoints"].toInt(),
                                 each.toObject()["integral"].toDouble()});
    return sums;
}

} // namespace

std::string densityKey(const DensitySettings& settings, const Grid<float>& grid,
                       const std::vector<Shape<float>*>& patterns, const std::vector<Shape<float>*>& masks) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    add(hash, int(settings.method));
    add(hash, int(settings.corrected));
    add(hash, int(settings.kernel));
    add(hash, settings.bandwidth);
    add(hash, settings.neighbourRank);
    for (int a = 0; a < 3; ++a) {
        add(hash, grid.getSize()[a]);
        add(hash, grid.getBoundingBox().min(a));
        add(hash, grid.getBoundingBox().max(a));
    }
    add(hash, patterns);
    add(hash, masks);
    return hash.result().toHex().toStdString();
}

void saveDensityBlock(const std::string& file, const std::string& key, const MapPlanes& block,
                      const VoxelMatrix<float>& planes, const MapSums& sums) {
    const QJsonObject head = {
        {"key", QString::fromStdString(key)}, {"first", block.first}, {"last", block.last}, {"sums", toJson(sums)}};
    const bool opened = saveStreamed(file, [&](std::ostream& stream) {
        stream << formatLine << QJsonDocument(head).toJson(QJsonDocument::Compact).constData() << '\n';
        const auto bytes = std::streamsize(sizeof(float)) * planes.getSize2();
        for (int k = 0; k < planes.getSize3(); ++k)
            for (int i = 0; i < planes.getSize1(); ++i)
                stream.write(reinterpret_cast<const char*>(planes[k][i].data()), bytes);
    });
    if (!opened)
        throw FileWriteError("void saveDensityBlock(...)", "Cannot open file for writing", file);
}

DensityBlocks::DensityBlocks(const std::vector<std::string>& files, const std::string& key, const Vector<int>& size)
    : __size(size) {
    __blocks.reserve(files.size());
    for (const std::string& file : files)
        __blocks.push_back(readHead(file, key));
    std::sort(__blocks.begin(), __blocks.end(), [](const Block& a, const Block& b) {
        return std::pair(a.planes.first, a.planes.last) < std::pair(b.planes.first, b.planes.last);
    });
    int next = 0;
    for (Block& block : __blocks) {
        if (block.planes.first < next)
            throw UsageError(place, "Plane " + std::to_string(block.planes.first) + " is in two blocks, the second " +
                                        block.file);
        if (block.planes.first > next)
            break;
        next = block.planes.last;
        __sums.append(block.sums);
        block.sums = {};
    }
    if (next < size[2])
        throw UsageError(place, "No block has plane " + std::to_string(next) + " of " + std::to_string(size[2]));
}

DensityBlocks::Block DensityBlocks::readHead(const std::string& file, const std::string& key) const {
    QFile input(QFile::decodeName(file.c_str()));
    if (!input.open(QIODevice::ReadOnly))
        throw FileReadError(place, "Cannot open file for reading", file);
    const QByteArray format(formatLine);
    if (input.read(format.size()) != format)
        throw FileReadError(place, "This is no block of a density map", file);
    const QJsonObject head = QJsonDocument::fromJson(input.readLine()).object();
    if (head["key"].toString().toStdString() != key)
        throw UsageError(place, file + " is a block of another map: its inputs or options differ");
    Block block = {
        file, {head["first"].toInt(-1), head["last"].toInt(-1)}, input.pos(), sumsOf(head["sums"].toObject())};
    const auto bytes = qint64(sizeof(float)) * __size[0] * __size[1] * block.planes.count();
    const std::size_t numSums = block.sums.densities.size();
    if (block.planes.first < 0 || block.planes.count() < 0 || block.planes.last > __size[2] ||
        input.size() != block.start + bytes || (numSums != 0 && numSums != std::size_t(block.planes.count())))
        throw FileReadError(place, "The block is not whole", file);
    return block;
}

void DensityBlocks::read(int number, VoxelMatrix<float>& plane) const {
    const auto after = std::upper_bound(__blocks.begin(), __blocks.end(), number,
                                        [](int k, const Block& block) { return k < block.planes.last; });
    plane.setSize(__size[0], __size[1], 1);
    QFile input(QFile::decodeName(after->file.c_str()));
    const auto ofPlane = qint64(sizeof(float)) * __size[0] * __size[1], ofRow = qint64(sizeof(float)) * __size[1];
    bool good = input.open(QIODevice::ReadOnly) && input.seek(after->start + ofPlane * (number - after->planes.first));
    for (int i = 0; i < __size[0] && good; ++i)
        good = input.read(reinterpret_cast<char*>(plane[0][i].data()), ofRow) == ofRow;
    if (!good)
        throw FileReadError("void DensityBlocks::read(int, VoxelMatrix<float>&) const", "Cannot read file",
                            after->file);
}

} // namespace vorlen
