#include "images/files/imagesourcevoxelmatrixplane.h"

#include "images/files/imagereader.h"
#include "images/files/samplecoding.h"
#include "images/files/voxelmatrixheader.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <vector>

namespace vorlen {

namespace {

/// The elements of a voxel matrix file.
struct Elements {
    ValueType type;
    int length; // bytes in the file
};

Elements elementsOf(const VoxelMatrixHeader& header, const std::string& filename) {
    const auto choose = [&header]() -> Elements {
        if (header.layout == 0 && header.fileSizeMatches(8))
            return {{ValueType::Real, 64}, 8};
        if (header.layout == 0 && header.fileSizeMatches(12))
            return {{ValueType::Real, 80}, 12};
        const bool small = header.layout == 1 ? header.typeTag == 0 : !header.fileSizeMatches(4);
        if (small && header.fileSizeMatches(2))
            return {{ValueType::Unsigned, 16}, 2};
        if (small && (header.layout == 1 || header.fileSizeMatches(1)))
            return {{ValueType::Unsigned, 8}, 1};
        if (header.layout == 0)
            return {{ValueType::Real, 32}, 4};
        switch (header.typeTag) {
        case 2:
            return {{ValueType::Signed, 32}, 4};
        case 3:
            return {{ValueType::Unsigned, 32}, 4};
        case 5:
            return {{ValueType::Real, 32}, 4};
        case 6:
            return {{ValueType::Real, 64}, 8};
        case 7:
            return {{ValueType::Real, 80}, 12};
        default:
            throw TypeError("ImageSourceVoxelMatrixPlane::setVoxelMatrixFilename(const string&)",
                            "The type of the elements is not known");
        }
    };
    const Elements elements = choose();
    if (!header.mayBeLoaded(elements.length))
        throw FileFormatError("ImageSourceVoxelMatrixPlane::setVoxelMatrixFilename(const string&)",
                              "File is far too short for the sizes that its header gives", filename);
    return elements;
}

} // namespace

ImageSourceVoxelMatrixPlane::ImageSourceVoxelMatrixPlane() {
    __size.setZeros(2);
}

ImageSourceVoxelMatrixPlane* ImageSourceVoxelMatrixPlane::clone() const {
    return new ImageSourceVoxelMatrixPlane(*this);
}

int ImageSourceVoxelMatrixPlane::getType() const {
    return 2;
}

bool ImageSourceVoxelMatrixPlane::isDefined() const {
    return !__filename.empty() && __plane >= 0;
}

int ImageSourceVoxelMatrixPlane::getSize1() const {
    return __size[0];
}

int ImageSourceVoxelMatrixPlane::getSize2() const {
    return __size[1];
}

int ImageSourceVoxelMatrixPlane::getDepth() const {
    return 32;
}

const Colormap* ImageSourceVoxelMatrixPlane::getColormap() const {
    return nullptr;
}

std::string ImageSourceVoxelMatrixPlane::getName() const {
    return __filename + ":" + std::to_string(__plane);
}

std::string ImageSourceVoxelMatrixPlane::getValueType() const {
    return __values;
}

bool ImageSourceVoxelMatrixPlane::isReal() const {
    return true;
}

void ImageSourceVoxelMatrixPlane::read(ImageReader& reader, Image& image) const {
    Image result;
    const auto prepare = [&](int rows, int columns, const ValueType& type) {
        result.initReal(columns, rows);
        ImageHeader header = result.getHeader();
        header.setValueType(type);
        result.setHeader(header);
        result.clear();
    };
    reader.notifyStarted("");
    readRows(prepare, [&](int row, const auto* elements, int rows) {
        std::transform(elements, elements + result.getWidth(), result.realRow(row),
                       [](auto element) { return static_cast<float>(element); });
        reader.notifyProgressed(static_cast<unsigned int>(row + 1), static_cast<unsigned int>(rows));
        return !reader.isCanceled();
    });
    image.swap(result);
    if (reader.isCanceled())
        reader.notifyCanceled("");
    else
        reader.notifyFinished("");
}

bool ImageSourceVoxelMatrixPlane::measure(ImageReader&, PixelStatistics& statistics) const {
    statistics = PixelStatistics();
    ChannelStatistics values;
    values.name = "grey";
    int width = 0;
    const auto prepare = [&](int, int columns, const ValueType& type) {
        statistics.values = type.name();
        width = columns;
    };
    readRows(prepare, [&](int, const auto* elements, int) {
        for (int j = 0; j < width; ++j)
            values.add(static_cast<double>(elements[j]));
        return true;
    });
    statistics.channels.push_back(values);
    return true;
}

/// Planes follow each other in the file, each row by row. As in the loading of a volume, what a short file does not
/// hold is 0.
template <class Prepare, class TakeRow>
void ImageSourceVoxelMatrixPlane::readRows(Prepare&& prepare, TakeRow&& takeRow) const {
    const std::string where = "void ImageReader::read(Image&, const ImageSourceVoxelMatrixPlane&)";
    const VoxelMatrixHeader header = VoxelMatrixHeader::read(__filename);
    const Elements elements = elementsOf(header, __filename);
    if (__plane < 0 || __plane >= header.size3)
        throw RangeError(where, "There is no plane " + std::to_string(__plane) + " in " + __filename);
    prepare(header.size1, header.size2, elements.type);
    std::ifstream file(__filename, std::ios::binary);
    if (!file.is_open())
        throw FileReadError(where, "Cannot open file for reading", __filename);
    const std::int64_t rowLength = std::int64_t(elements.length) * header.size2;
    file.seekg(header.length() + __plane * (header.size1 * rowLength));
    const auto readAll = [&](auto typed) {
        using Element = decltype(typed);
        std::vector<Element> row(static_cast<std::size_t>(header.size2));
        std::vector<char> bytes(static_cast<std::size_t>(rowLength));
        for (int i = 0; i < header.size1; ++i) {
            std::fill(bytes.begin(), bytes.end(), '\0');
            file.read(bytes.data(), rowLength);
            if (file.bad())
                throw FileReadError(where, "Cannot read file", __filename);
            // A long double has fewer bytes in the file than in memory.
            for (std::size_t j = 0; j < row.size(); ++j)
                std::memcpy(&row[j], &bytes[j * static_cast<std::size_t>(elements.length)],
                            std::min(sizeof(Element), static_cast<std::size_t>(elements.length)));
            if (!takeRow(i, row.data(), header.size1))
                return;
        }
    };
    if (elements.length == 12)
        readAll(static_cast<long double>(0)); // NOLINT(readability-redundant-casting)
    else
        withSampleType(storageOf(elements.type), readAll);
}

ImageStatement ImageSourceVoxelMatrixPlane::getStatement() const {
    return {"StackSlice", {__filename, __plane}};
}

std::unique_ptr<ImageSource> ImageSourceVoxelMatrixPlane::make(const ImageStatement& statement) {
    auto source = std::make_unique<ImageSourceVoxelMatrixPlane>();
    source->setVoxelMatrixFilename(statement.file(0));
    source->setPlane(statement.number(1));
    if (source->getPlane() < 0 || source->getPlane() >= source->__size[2])
        throw FileReadError("ImageSourceVoxelMatrixPlane::make(...)", "The voxel matrix has no such plane",
                            statement.file(0));
    return source;
}

std::string ImageSourceVoxelMatrixPlane::findFault() const {
    return VoxelMatrixHeader::fileSizeMatchesHeader(__filename)
               ? ""
               : __filename + ": the file's length does not match its header";
}

void ImageSourceVoxelMatrixPlane::setVoxelMatrixFilename(const std::string& filename) {
    const VoxelMatrixHeader header = VoxelMatrixHeader::read(filename);
    __values = elementsOf(header, filename).type.name();
    __filename = filename;
    __size.setSize(3);
    __size[0] = header.size1;
    __size[1] = header.size2;
    __size[2] = header.size3;
}

const std::string& ImageSourceVoxelMatrixPlane::getVoxelMatrixFilename() const {
    return __filename;
}

void ImageSourceVoxelMatrixPlane::setPlane(int plane) {
    __plane = plane;
}

int ImageSourceVoxelMatrixPlane::getPlane() const {
    return __plane;
}

} // namespace vorlen
