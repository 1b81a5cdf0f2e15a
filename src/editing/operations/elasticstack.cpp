#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <locale>
#include <memory>
#include <sstream>

#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "editing/operations/elasticalignment.h"
#include "files/fileinfo.h"
#include "files/safefile.h"
#include "images/files/imagereader.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "numerics/exception.h"
#include "progress/progresssubject.h"
#include "shapes/vertices.h"

namespace vorlen {

namespace {

constexpr const char* fieldTitle = "vorlen elastic fields 1";
constexpr double leastArea = 0.05; // of a field that is no fold

/// Pixels of a slice's image and their positions, seen from its middle.
struct PixelGrid {
    double width = 1, height = 1; // of a pixel
    double middleX = 0, middleY = 0;

    PlanePoint position(double column, double row) const {
        return {(column - middleX) * width, (row - middleY) * height};
    }
    double column(PlanePoint position) const { return position.x / width + middleX; }
    double row(PlanePoint position) const { return position.y / height + middleY; }
};

PixelGrid gridOf(const Slice& slice) {
    PixelGrid grid;
    const PixelCalibration& calibration = slice.getPixelCalibration();
    grid.width = calibration.getPixelWidth() > 0 ? calibration.getPixelWidth() : 1;
    grid.height = calibration.getPixelHeight() > 0 ? calibration.getPixelHeight() : 1;
    grid.middleX = 0.5 * slice.getImageSource().getSize2();
    grid.middleY = 0.5 * slice.getImageSource().getSize1();
    return grid;
}

/// Cubic convolution (Keys 1981), the weights of four neighbours.
std::array<double, 4> cubicWeights(double t) {
    const double t2 = t * t, t3 = t2 * t;
    return {0.5 * (-t3 + 2 * t2 - t), 0.5 * (3 * t3 - 5 * t2 + 2), 0.5 * (-3 * t3 + 4 * t2 + t), 0.5 * (t3 - t2)};
}

/// One value of a pixel, whatever kind of image it is.
class Samples {
public:
    explicit Samples(Image& image) : __image(image), __numBytes(image.bytesPerPixel()) {}

    int numChannels() const { return __image.isReal() || __numBytes < 3 ? 1 : __numBytes; }

    double get(int row, int column, int channel) const {
        if (__image.isReal())
            return __image.realRow(row)[column];
        if (__numBytes == 2)
            return reinterpret_cast<const std::uint16_t*>(__image.getPixels()[row])[column];
        return __image.getPixels()[row][column * __numBytes + channel];
    }

    void set(int row, int column, int channel, double value) {
        if (__image.isReal())
            __image.realRow(row)[column] = float(value);
        else if (__numBytes == 2)
            reinterpret_cast<std::uint16_t*>(__image.getPixels()[row])[column] =
                static_cast<std::uint16_t>(std::lround(std::clamp(value, 0.0, 65535.0)));
        else
            __image.getPixels()[row][column * __numBytes + channel] =
                static_cast<unsigned char>(std::lround(std::clamp(value, 0.0, 255.0)));
    }

private:
    Image& __image;
    int __numBytes;
};

/// Every pixel of the bent image from where the field says.
void bend(Image& image, const PixelGrid& grid, const ElasticField& field) {
    if (image.isIndexed())
        image.make24bits();
    Image old(image);
    Samples from(old), to(image);
    const int rows = image.getHeight(), columns = image.getWidth(), channels = from.numChannels();
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j) {
            const PlanePoint before = field.before(grid.position(j, i));
            const double x = grid.column(before), y = grid.row(before);
            const bool inside = x > -0.5 && y > -0.5 && x < columns - 0.5 && y < rows - 0.5;
            const int left = inside ? int(std::floor(x)) : 0, top = inside ? int(std::floor(y)) : 0;
            const std::array<double, 4> across = cubicWeights(x - left), down = cubicWeights(y - top);
            for (int channel = 0; channel < channels; ++channel) {
                double sum = 0;
                for (int r = 0; inside && r < 4; ++r)
                    for (int c = 0; c < 4; ++c)
                        sum += down[std::size_t(r)] * across[std::size_t(c)] *
                               from.get(std::clamp(top + r - 1, 0, rows - 1), std::clamp(left + c - 1, 0, columns - 1),
                                        channel);
                to.set(i, j, channel, sum);
            }
        }
}

/// Outlines go where what they were drawn on goes, to whole pixels.
void carryOutlines(StackSlice& slice, const PixelGrid& grid, const ElasticField& field) {
    for (int k = 0; k < slice.getNumItems(); ++k) {
        ModelItem& item = slice.getItem(k);
        std::vector<int> coordinates;
        const Vertices<int>& vertices = item.getVertices();
        coordinates.reserve(2 * std::size_t(vertices.getNumVertices()));
        for (int i = 0; i < vertices.getNumVertices(); ++i) {
            const PlanePoint after = field.after(grid.position(vertices[i][0], vertices[i][1]));
            coordinates.push_back(int(std::lround(grid.column(after))));
            coordinates.push_back(int(std::lround(grid.row(after))));
        }
        const int n = vertices.getNumVertices();
        item.setVertices(coordinates.data(), n);
    }
}

std::string imageName(const std::string& folder, const std::string& base, int slice) {
    std::string number = std::to_string(slice + 1);
    number.insert(0, number.size() < 4 ? 4 - number.size() : 0, '0');
    return folder + "/" + base + "-" + number + ".tif";
}

/// Files that are removed again unless they are kept.
class NewFiles {
public:
    ~NewFiles() {
        std::error_code ignored;
        for (const std::string& name : __names)
            std::filesystem::remove(name, ignored);
    }
    void add(const std::string& name) { __names.push_back(name); }
    void keep() { __names.clear(); }

private:
    std::vector<std::string> __names;
};

/// Whether a new image has the place of one that the stack is made of.
bool wouldReplaceImages(const Stack& stack, const std::vector<ElasticField>& fields, const std::string& folder,
                        const std::string& base) {
    std::error_code error;
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const std::string name = imageName(folder, base, i);
        if (fields[std::size_t(i)].isNull() || !std::filesystem::exists(name, error))
            continue;
        for (int k = 0; k < stack.getNumSlices(); ++k)
            if (!stack.getSlice(k).isEmpty() &&
                std::filesystem::equivalent(name, stack.getSlice(k).getImageSource().getName(), error))
                return true;
    }
    return false;
}

Outcome checkFields(const Stack& stack, const std::vector<ElasticField>& fields) {
    if (int(fields.size()) != stack.getNumSlices())
        return Outcome::refused("There is not one field for each slice");
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const ElasticField& field = fields[std::size_t(i)];
        const std::string& name = stack.getSlice(i).getName();
        if (field.isNull())
            continue;
        if (stack.getSlice(i).isEmpty())
            return Outcome::refused("Slice \"" + name + "\" has no image to bend");
        const PixelGrid grid = gridOf(stack.getSlice(i));
        if (std::abs(field.width() - 2 * grid.middleX * grid.width) > 1e-3 * field.width() ||
            std::abs(field.height() - 2 * grid.middleY * grid.height) > 1e-3 * field.height())
            return Outcome::refused("The field of slice \"" + name + "\" is that of an image of another size");
        if (field.leastArea() < leastArea)
            return Outcome::refused("The field of slice \"" + name + "\" would fold it");
    }
    return Outcome::done();
}

std::string oneLine(std::string name) {
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return name;
}

} // namespace

Outcome bendStack(Stack& stack, const std::vector<ElasticField>& fields, const std::string& folder,
                  const std::string& base, bool overwrite, ProgressSubject& progress) {
    if (const Outcome good = checkFields(stack, fields); !good)
        return good;
    const int n = stack.getNumSlices();
    for (int i = 0; i < n; ++i)
        if (!fields[std::size_t(i)].isNull() && !overwrite && FileInfo::isTaken(imageName(folder, base, i)))
            return Outcome::refused("There is a file " + imageName(folder, base, i) + " already");
    if (wouldReplaceImages(stack, fields, folder, base))
        return Outcome::refused("The new images would replace those of the stack: name another folder");
    NewFiles files;
    std::vector<std::unique_ptr<ImageSourceFile>> sources(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        const ElasticField& field = fields[std::size_t(i)];
        if (!field.isNull()) {
            Image image;
            ImageReader().read(image, stack.getSlice(i).getImageSource());
            bend(image, gridOf(stack.getSlice(i)), field);
            const std::string name = imageName(folder, base, i);
            ImageWriter().write(image, name, overwrite);
            files.add(name);
            sources[std::size_t(i)] = std::make_unique<ImageSourceFile>();
            sources[std::size_t(i)]->setFilename(name);
        }
        progress.notifyProgressed(static_cast<unsigned int>(i + 1), static_cast<unsigned int>(n));
        if (progress.isCanceled())
            return Outcome::refused("It was cancelled");
    }
    for (int i = 0; i < n; ++i)
        if (sources[std::size_t(i)] != nullptr) {
            StackSlice& slice = stack.getSlice(i);
            carryOutlines(slice, gridOf(slice), fields[std::size_t(i)]);
            slice.setImageSource(*sources[std::size_t(i)]);
        }
    files.keep();
    return Outcome::done();
}

void saveElasticFields(const std::string& fileName, const Stack& stack, const std::vector<ElasticField>& fields,
                       bool overwrite) {
    constexpr const char* where = "void saveElasticFields(...)";
    if (!overwrite)
        FileInfo::requireFree(fileName, where);
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(12);
    text << fieldTitle << '\n';
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const ElasticField& field = fields.at(std::size_t(i));
        if (field.isNull())
            continue;
        text << "slice " << field.rows() << ' ' << field.columns() << ' ' << field.width() << ' ' << field.height()
             << ' ' << oneLine(stack.getSlice(i).getName()) << '\n';
        for (int row = 0; row < field.rows(); ++row) {
            for (int column = 0; column < field.columns(); ++column)
                text << (column > 0 ? " " : "") << field.way(row, column).x << ' ' << field.way(row, column).y;
            text << '\n';
        }
    }
    text << "end\n";
    if (!SafeFile::save(fileName, text.str()))
        throw FileWriteError(where, "Cannot open file for writing", fileName);
}

std::vector<ElasticField> loadElasticFields(const std::string& fileName, const Stack& stack) {
    constexpr const char* where = "std::vector<ElasticField> loadElasticFields(...)";
    const auto fail = [&](const char* what) { throw FileReadError(where, what, fileName); };
    std::ifstream file(fileName);
    file.imbue(std::locale::classic());
    std::string line;
    if (!file || std::filesystem::is_directory(fileName))
        fail("Cannot open file for reading");
    if (!std::getline(file, line) || line != fieldTitle)
        fail("This is no file of elastic fields");
    std::vector<ElasticField> fields(static_cast<std::size_t>(stack.getNumSlices()));
    for (std::string word; file >> word && word != "end";) {
        int rows = 0, columns = 0;
        double width = 0, height = 0;
        std::string name;
        if (word != "slice" || !(file >> rows >> columns >> width >> height) || file.get() != ' ' ||
            !std::getline(file, name) || rows < 2 || columns < 2 || rows > 4000000 / columns)
            fail("A line of this file of elastic fields can't be understood");
        std::vector<PlanePoint> ways; // grows with what is there
        for (int i = 0; i < rows * columns; ++i) {
            PlanePoint way{0, 0};
            if (!(file >> way.x >> way.y) || !std::isfinite(way.x) || !std::isfinite(way.y))
                fail("This file of elastic fields is cut off");
            ways.push_back(way);
        }
        if (!(width > 0) || !(height > 0) || !std::isfinite(width) || !std::isfinite(height))
            fail("A slice of this file of elastic fields has no size");
        for (int i = 0; i < stack.getNumSlices(); ++i)
            if (oneLine(stack.getSlice(i).getName()) == name)
                fields[std::size_t(i)] = ElasticField(width, height, rows, columns, ways);
    }
    if (!file)
        fail("This file of elastic fields is cut off");
    return fields;
}

} // namespace vorlen
