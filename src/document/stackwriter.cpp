#include "document/stackwriter.h"

#include <bit>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "document/calibrationcurve.h"
#include "document/model.h"
#include "document/modelitem.h"
#include "document/pose.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "document/standardimage.h"
#include "document/standardsample.h"
#include "document/uniquenames.h"
#include "files/fileinfo.h"
#include "files/safefile.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagesourceplaceholder.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "images/volumes/voxelmatrix.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr const char* endOfStatement = ";\n";
constexpr float writtenVersion = 1.03f;
constexpr int verticesPerLine = 7;

const char* word(bool value) {
    return value ? "true" : "false";
}

/// The fewest digits that read back as the same number, in the form of printf's %g in the classic locale.
template <class Real>
void appendReal(std::string& text, Real value) {
    char buffer[40];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general).ptr;
    text.append(buffer, end);
}

/// Enough for any number without an exponent: at most as many zeros behind the point as the least number has, and 17
/// digits.
constexpr std::size_t longestNumber = 352;

/// In the fewest digits that read back as the same, without an exponent; a whole number without point, as readers of
/// old expect. The end of what was written.
char* writePixels(char* at, char* end, double value) {
    const bool whole = std::trunc(value) == value && std::abs(value) <= INT_MAX;
    return whole ? std::to_chars(at, end, static_cast<int>(value)).ptr
                 : std::to_chars(at, end, value, std::chars_format::fixed).ptr;
}

/// The same of a pixel, which is most of what a file holds: four digits are made at once and those in front that are
/// zero shifted out, since the processor cannot guess how many it will be. Writes up to three bytes behind the end.
char* writePixel(char* at, std::int16_t value) {
    const auto magnitude = static_cast<std::uint32_t>(std::abs(int(value)));
    *at = '-';
    at += value < 0;
    if (magnitude >= 10000 || std::endian::native != std::endian::little)
        return std::to_chars(at, at + longestNumber, magnitude).ptr;
    const std::uint32_t front = magnitude / 100, back = magnitude % 100;
    const std::uint32_t digits = front / 10 | front % 10 << 8 | back / 10 << 16 | back % 10 << 24 | 0x30303030U;
    const int count = 1 + int(magnitude >= 10) + int(magnitude >= 100) + int(magnitude >= 1000);
    const std::uint32_t shown = digits >> 8 * (4 - count);
    std::memcpy(at, &shown, sizeof shown);
    return at + count;
}

/// The same of thousandths.
char* writeThousandths(char* at, std::int32_t value) {
    if (value < 0)
        *at++ = '-';
    const std::uint32_t magnitude = value < 0 ? 0U - static_cast<std::uint32_t>(value) : std::uint32_t(value);
    at = std::to_chars(at, at + longestNumber, magnitude / 1000).ptr;
    std::uint32_t rest = magnitude % 1000;
    if (rest > 0)
        *at++ = '.';
    for (std::uint32_t place = 100; rest > 0; rest %= place, place /= 10)
        *at++ = char('0' + rest / place);
    return at;
}

/// So many vertices, of which write(at, i, axis) writes a coordinate and gives the end of what it wrote.
template <class Write>
void appendVertices(std::string& text, int size, const Write write) {
    // A vertex is a blank, two numbers, a comma and a line end; as many as fit go into the text at once.
    constexpr std::size_t longestVertex = 2 * longestNumber + 3;
    char buffer[8 * longestVertex];
    char* at = buffer;
    for (int i = 0; i < size; ++i) {
        if (at > buffer + sizeof buffer - longestVertex) {
            text.append(buffer, at);
            at = buffer;
        }
        *at++ = ' ';
        at = write(at, i, 0);
        *at++ = ',';
        at = write(at, i, 1);
        if (i % verticesPerLine == verticesPerLine - 1 && i != size - 1)
            *at++ = '\n';
    }
    text.append(buffer, at);
}

void appendShift(std::string& text, double value) {
    char buffer[longestNumber];
    text.append(buffer, writePixels(buffer, buffer + sizeof buffer, value));
}

/// Readers of whole numbers take the digits in front: an exponent would be lost on them.
std::string plainDigits(float value) {
    std::string digits;
    appendReal(digits, value);
    if (digits.find('e') != std::string::npos) {
        char buffer[64];
        digits.assign(buffer, std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed).ptr);
    }
    return digits;
}

/// The pixel height does not follow from width and aspect ratio, beyond their rounding.
bool needsPixelHeight(const PixelCalibration& calibration) {
    const float height = calibration.getPixelHeight();
    const float implied = calibration.getPixelWidth() * calibration.getAspectRatio();
    return std::abs(height - implied) > 3e-7f * std::abs(height);
}

std::string absoluteDirectory(const std::string& directory) {
    if (FileInfo::isAbsolutePath(directory))
        return directory;
    std::error_code error;
    std::string path = std::filesystem::current_path(error).string() + "/" + directory;
    path = std::filesystem::path(path).lexically_normal().string();
    return path.empty() || path.back() == '/' ? path : path + "/";
}

/// About how long the text gets: that it grows by copying costs as much as its making in a large stack.
std::size_t estimatedLength(const Stack& stack) {
    constexpr std::size_t perObject = 256, perItem = 64, perVertex = 9;
    std::size_t length = perObject * std::size_t(1 + stack.getNumSlices() + stack.getNumModels());
    for (int i = 0; i < stack.getNumModels(); ++i)
        for (int j = 0; j < stack.getModel(i).getNumItems(); ++j)
            length += perItem + perVertex * std::size_t(stack.getModel(i).getItem(j).getSize());
    return length;
}

const char* fitWord(int mode) {
    if (mode == CalibrationCurve::Polynomial2Fit)
        return "Polynomial2";
    return mode == CalibrationCurve::Polynomial3Fit ? "Polynomial3" : "Linear";
}

} // namespace

bool StackWriter::write(const Stack& stack, const std::string& fileName) {
    notifyStarted("Writing " + fileName + "...");
    constexpr unsigned int share = 60; // the file takes about as long as its text
    __share = share;
    const std::string text = toText(stack, FileInfo::dirName(fileName));
    __share = 100;
    notifyProgressed(share, 100);
    const bool written = SafeFile::save(fileName, text, [this, &text](std::size_t done) {
        notifyProgressed(share + static_cast<unsigned int>((99 - share) * done / text.size()), 100);
    });
    notifyProgressed(100, 100);
    notifyFinished("");
    return written;
}

std::string StackWriter::toText(const Stack& stack, const std::string& directory) {
    return toText(stack, directory, stack.getAbsoluteImagesPathPolicy());
}

std::string StackWriter::toText(const Stack& stack) {
    return toText(stack, "", true);
}

std::string StackWriter::toText(const Stack& stack, const std::string& directory, bool absolutePaths) {
    setFileFormatVersion(writtenVersion);
    __text.clear();
    __text.reserve(estimatedLength(stack));
    __directory = absoluteDirectory(directory);
    __absolutePolicy = absolutePaths;
    __previousPath.clear();
    __lastImageDirectory.clear();
    __numSteps = 0;
    __totalSteps = stack.getNumSlices() + stack.getNumModels() + 1;
    nameSlices(stack);
    writeHeader(stack);
    writeSlices(stack);
    writeModels(stack);
    writePoses(stack);
    writeStandardImages(stack);
    __text += stack.unreadObjects().getUnreadText();
    __text += '\n';
    __text += wholeFileMark;
    return std::move(__text);
}

/// Slices of one name get names of their own in the file, so that each keeps its outlines there.
void StackWriter::nameSlices(const Stack& stack) {
    __sliceNames.clear();
    UniqueNames first, names;
    bool unique = true;
    for (int i = 0; i < stack.getNumSlices(); ++i)
        unique = first.take(stack.getSlice(i).getName()) == stack.getSlice(i).getName() && unique;
    for (int i = 0; !unique && i < stack.getNumSlices(); ++i)
        __sliceNames[&stack.getSlice(i)] = names.take(stack.getSlice(i).getName());
}

const std::string& StackWriter::sliceName(const Slice& slice) const {
    const auto own = __sliceNames.find(&slice);
    return own == __sliceNames.end() ? slice.getName() : own->second;
}

void StackWriter::writeHeader(const Stack& stack) {
    const PixelCalibration& calibration = stack.getDefaultPixelCalibration();
    char version[16];
    std::snprintf(version, sizeof version, "%d.%02d", 1, static_cast<int>(std::lround(writtenVersion * 100)) % 100);
    __text += getString(FileFormatVersion) + " " + version + endOfStatement;
    __text += wholeFileAnnouncement;
    name(STACK, stack.getName());
    statement(LengthUnitScale, stack.getLengthUnit().getScale());
    statement(PIXASPECT, calibration.getAspectRatio());
    statement(PIXWIDTH, calibration.getPixelWidth());
    if (needsPixelHeight(calibration))
        statement(PIXHEIGHT, calibration.getPixelHeight());
    statement(RELPOSITION, stack.getDefaultRelativePosition());
    name(LASTSEGMENTEDSLICE, stack.getLastSegmentedSlice());
    name(LASTREGISTEREDSLICE, stack.getLastRegisteredSlice());
    if (const auto& scale = stack.getGreyScale()) {
        __text += getString(GREYSCALE);
        for (const float value : {scale->low, scale->high, scale->white}) {
            __text += ' ';
            appendReal(__text, value);
        }
        __text += endOfStatement;
    }
    annotation(stack.getAnnotation());
    statement(AbsoluteImagesPathPolicy, stack.getAbsoluteImagesPathPolicy());
    __text += stack.getUnreadText();
}

void StackWriter::writeSlices(const Stack& stack) {
    const PixelCalibration& common = stack.getDefaultPixelCalibration();
    const bool commonHeight = needsPixelHeight(common);
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const vorlen::StackSlice& slice = stack.getSlice(i);
        const ImageSource& source = slice.getImageSource();
        __text += '\n';
        writeImage(sliceName(slice), source);
        writeSize(slice);
        if (!slice.useRelativePosition())
            statement(POSITION, slice.getAbsolutePosition());
        else if (slice.getRelativePosition() != stack.getDefaultRelativePosition())
            statement(RELPOSITION, slice.getRelativePosition());
        const PixelCalibration& own = slice.getPixelCalibration();
        if (own.getAspectRatio() != common.getAspectRatio())
            statement(PIXASPECT, own.getAspectRatio());
        if (own.getPixelWidth() != common.getPixelWidth())
            statement(PIXWIDTH, own.getPixelWidth());
        // A height of the stack's own would hold for the slice too.
        if (commonHeight ? own.getPixelHeight() != common.getPixelHeight() : needsPixelHeight(own))
            statement(PIXHEIGHT, own.getPixelHeight());
        const Registration& registration = slice.getRegistration();
        if (registration.getRotationAngle() != 0)
            statement(ROTATE, registration.getRotationAngle());
        if (registration.getHorShift() != 0 || registration.getVerShift() != 0)
            plainNumbers(SHIFT, {registration.getHorShift(), registration.getVerShift()});
        if (!slice.getAnnotation().empty())
            annotation(slice.getAnnotation());
        __text += slice.getUnreadText();
        reportProgress(1);
    }
}

/// A lost image whose size nobody knows has none.
void StackWriter::writeSize(const Slice& slice) {
    const ImageSource& source = slice.getImageSource();
    Slice::StatedSize size = {source.getSize1(), source.getSize2()};
    if (__keepsStatedSizes && slice.getStatedSize().height > 0 && slice.getStatedSize().width > 0)
        size = slice.getStatedSize();
    const auto* const lost = dynamic_cast<const ImageSourcePlaceholder*>(&source);
    if (lost != nullptr && !lost->hasSize())
        return;
    statement(SliceSize1, size.height);
    statement(SliceSize2, size.width);
}

/// The directory of the first file comes before the slice, those of others where they begin.
void StackWriter::writeImage(const std::string& sliceName, const ImageSource& source) {
    const std::vector<std::string> files = source.getFilenames();
    if (!files.empty())
        writeImagesPath(files.front(), true);
    const ImageStatement begin = source.getStatement();
    __text += begin.keyword + " ";
    appendString(sliceName);
    appendArguments(begin, true);
    for (const ImageStatement& further : source.getFurtherStatements()) {
        for (const ImageStatement::Argument& argument : further.arguments)
            if (const auto* file = std::get_if<std::string>(&argument))
                writeImagesPath(*file, false);
        __text += further.keyword;
        appendArguments(further, false);
    }
}

void StackWriter::appendArguments(const ImageStatement& statement, bool quoted) {
    for (const ImageStatement::Argument& argument : statement.arguments) {
        __text += ' ';
        if (const int* number = std::get_if<int>(&argument))
            append(*number);
        else
            appendFile(std::get<std::string>(argument), quoted);
    }
    __text += endOfStatement;
}

void StackWriter::writeModels(const Stack& stack) {
    for (int i = 0; i < stack.getNumModels(); ++i) {
        writeModel(stack.getModel(i));
        for (int j = 0; j < stack.getModel(i).getNumItems(); ++j)
            writeItem(stack.getModel(i), stack.getModel(i).getItem(j));
        reportProgress(1);
    }
}

/// What a model leaves undefined keeps the default of a new model.
void StackWriter::writeModel(const Model& model) {
    const ModelProperties& properties = model.getProperties();
    const ModelItemProperties& look = model.getItemProperties();
    __text += '\n';
    name(MODEL, model.getName());
    if (properties.definesSurfaceShininess())
        wholeNumber(BRILLIANCY, properties.getSurfaceShininess());
    writeColor(look);
    if (properties.definesEconomicRendering())
        statement(ECORENDERING, properties.getEconomicRendering());
    if (look.definesVertexSymbolFilling())
        statement(FILLEDIN, look.getVertexSymbolFilling());
    if (look.definesRenderingVisibility())
        statement(HIDDEN3D, !look.getRenderingVisibility());
    if (look.definesPointSize())
        wholeNumber(POINTSIZE, look.getPointSize());
    if (properties.definesGeometry())
        statement(PRIMITIVE, ModelProperties::toString(properties.getGeometry()));
    if (properties.definesRenderingMode())
        statement(RENDERINGMODE, ModelProperties::toString(properties.getRenderingMode()));
    if (properties.definesQuadMeshWidth() && properties.definesQuadMeshHeight()) {
        __text += getString(RESAMPLING) + " " + std::to_string(properties.getQuadMeshWidth()) + " " +
                  std::to_string(properties.getQuadMeshHeight()) + endOfStatement;
    }
    if (look.definesLineWidth())
        wholeNumber(THICKNESS, look.getLineWidth());
    if (properties.definesSurfaceOpacity())
        wholeNumber(TRANSPARENCY, properties.getSurfaceOpacity());
    if (look.definesVertexSymbol())
        statement(VERTEXSYMBOL, ModelItemProperties::toString(look.getVertexSymbol()));
    if (properties.hasBeginCapFlag())
        statement(BeginCap, properties.getBeginCapFlag());
    if (properties.hasEndCapFlag())
        statement(EndCap, properties.getEndCapFlag());
    if (!model.getGroup().empty())
        name(MODELGROUP, model.getGroup());
    __text += model.getUnreadText();
}

void StackWriter::writeItem(const Model& model, const ModelItem& item) {
    if (item.getSlice() == nullptr)
        return;
    const ModelItemProperties& look = item.getProperties();
    __text += '\n' + getString(MODELITEM) + " ";
    appendString(model.getName());
    __text += ' ';
    appendString(sliceName(*item.getSlice()));
    __text += endOfStatement;
    writeColor(look);
    if (look.definesVertexSymbolFilling())
        statement(FILLEDIN, look.getVertexSymbolFilling());
    if (look.definesRenderingVisibility())
        statement(HIDDEN3D, !look.getRenderingVisibility());
    if (look.definesPointSize())
        wholeNumber(POINTSIZE, look.getPointSize());
    if (look.definesLineWidth())
        wholeNumber(THICKNESS, look.getLineWidth());
    if (look.definesVertexSymbol())
        statement(VERTEXSYMBOL, ModelItemProperties::toString(look.getVertexSymbol()));

    const int size = item.getSize();
    if (size == 0 && !item.getUnreadText().empty()) { // what was read stands for the vertices
        __text += item.getUnreadText();
        return;
    }
    __text += getString(MODELITEMDATA) + "\n";
    const std::int16_t* const pixels = item.getPacked().getPixels();
    const std::int32_t* const thousandths = item.getPacked().getThousandths();
    const Vertices<double>* const vertices = item.getPacked().getSize() > 0 ? nullptr : &item.getVertices();
    if (pixels != nullptr)
        appendVertices(__text, size,
                       [=](char* at, std::ptrdiff_t i, int axis) { return writePixel(at, pixels[2 * i + axis]); });
    else if (thousandths != nullptr)
        appendVertices(__text, size, [=](char* at, std::ptrdiff_t i, int axis) {
            return writeThousandths(at, thousandths[2 * i + axis]);
        });
    else
        appendVertices(__text, size, [&](char* at, int i, int axis) {
            return writePixels(at, at + longestNumber, vertices ? (*vertices)[i][axis] : item.getCoordinate(i, axis));
        });
    __text += endOfStatement;
    __text += item.getUnreadText();
}

void StackWriter::writeColor(const ModelItemProperties& look) {
    if (!look.definesColor())
        return;
    __text += getString(COLOR);
    for (int k = 0; k < 3; ++k) {
        __text += ' ';
        append(look.getColor()[k]);
    }
    __text += endOfStatement;
}

void StackWriter::writePoses(const Stack& stack) {
    for (int i = 0; i < stack.getNumPoses(); ++i) {
        const Pose& pose = stack.getPose(i);
        __text += '\n';
        name(POSE, pose.getName());
        __text += getString(POSEROTATION);
        for (const float angle : pose.getRotation())
            (__text += ' ') += plainDigits(angle);
        __text += endOfStatement;
        plainNumbers(POSESHIFT, {pose.getExactXTranslation(), pose.getExactYTranslation()});
        plainNumbers(POSEZOOM, {pose.getExactZoom()});
        plainNumbers(AMBIENTLIGHT, {pose.getExactAmbientLight()});
        plainNumbers(DIFFUSELIGHT, {pose.getExactDiffuseLight()});
        plainNumbers(SPECULARLIGHT, {pose.getExactSpecularLight()});
        __text += pose.getUnreadText();
    }
}

void StackWriter::writeStandardImages(const Stack& stack) {
    for (int i = 0; i < stack.getNumCalibration(); ++i) {
        const StandardImage& image = stack.getStandardImage(i);
        std::string file = image.getFileName();
        if (!image.isEmpty()) {
            const std::vector<std::string> files = image.getImageSource().getFilenames();
            if (files.size() == 1)
                file = files.front();
        }
        __text += '\n';
        if (!file.empty())
            writeImagesPath(file, true);
        __text += getString(STANDARDIMAGE) + " ";
        appendString(image.getName());
        __text += ' ';
        appendFile(file, true);
        __text += endOfStatement;
        __text += image.getUnreadText();
        const CalibrationCurve* curve = image.getCalibrationCurve();
        if (curve == nullptr)
            continue;
        name(CALIBRATIONCURVE, curve->getName());
        statement(FIT, std::string(fitWord(curve->getFitMode())));
        __text += curve->getUnreadText();
        for (int j = 0; j < curve->getNumSamples(); ++j) {
            const StandardSample& sample = curve->getSample(j);
            const BoundingBox<int>& region = sample.getRegion();
            name(SAMPLE, sample.getName());
            if (region.getVertex1().getSize() == 2 && region.getVertex2().getSize() == 2) {
                __text += getString(SAMPLECOORDS);
                for (const Vector<int>* corner : {&region.getVertex1(), &region.getVertex2()})
                    for (int k = 0; k < 2; ++k) {
                        __text += ' ';
                        append((*corner)[k]);
                    }
                __text += endOfStatement;
            }
            __text += getString(SAMPLEVALUE) + " ";
            appendReal(__text, sample.getValue());
            __text += endOfStatement;
            __text += sample.getUnreadText();
        }
    }
}

/// Names the image's directory where it is not the one in force.
void StackWriter::writeImagesPath(const std::string& imageFile, bool emptyLine) {
    const std::string path = imagesPath(imageFile);
    if (path == __previousPath)
        return;
    __previousPath = path;
    __text += getString(ImagesPath) + " ";
    appendString(path);
    __text += endOfStatement;
    if (emptyLine)
        __text += '\n';
}

/// Neighbouring slices share their directory as a rule, and the way there asks the file system.
std::string StackWriter::imagesPath(const std::string& imageFile) {
    const std::string directory = FileInfo::dirName(imageFile);
    if (__lastImageDirectory.empty() || __lastImageDirectory != directory) {
        const std::string whole = absoluteDirectory(directory);
        __lastImageDirectory = directory;
        __lastImagesPath = __absolutePolicy ? whole : FileInfo::relativePath(__directory, whole);
    }
    return __lastImagesPath;
}

void StackWriter::statement(Keyword keyword, float value) {
    __text += getString(keyword) + " ";
    appendReal(__text, value);
    __text += endOfStatement;
}

/// In the fewest digits, with an exponent only where that is shorter.
void StackWriter::statement(Keyword keyword, double value) {
    char buffer[40];
    __text += getString(keyword) + " ";
    __text.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
    __text += endOfStatement;
}

void StackWriter::statement(Keyword keyword, int value) {
    __text += getString(keyword) + " ";
    append(value);
    __text += endOfStatement;
}

void StackWriter::statement(Keyword keyword, bool value) {
    statement(keyword, std::string(word(value)));
}

/// A word without quotes.
void StackWriter::statement(Keyword keyword, const std::string& value) {
    __text += getString(keyword) + " " + value + endOfStatement;
}

void StackWriter::name(Keyword keyword, const std::string& value) {
    __text += getString(keyword) + " ";
    appendString(value);
    __text += endOfStatement;
}

void StackWriter::wholeNumber(Keyword keyword, float value) {
    statement(keyword, plainDigits(value));
}

/// Each whole where it is, and without an exponent.
void StackWriter::plainNumbers(Keyword keyword, std::initializer_list<double> values) {
    __text += getString(keyword);
    for (const double value : values) {
        __text += ' ';
        appendShift(__text, value);
    }
    __text += endOfStatement;
}

void StackWriter::annotation(const std::string& text) {
    __text += getString(Annotation) + " \"" + protect(exportString(text), false) + "\"" + endOfStatement;
}

void StackWriter::append(int value) {
    char buffer[16];
    __text.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
}

void StackWriter::appendString(const std::string& text) {
    __text += '"';
    __text += protect(text, true);
    __text += '"';
}

/// The file's name without its directory; without quotes where they are not needed.
void StackWriter::appendFile(const std::string& path, bool quoted) {
    const std::string file = FileInfo::fileName(path);
    if (quoted || file.empty() || file.find(' ') != std::string::npos)
        appendString(file);
    else
        __text += protect(file, true);
}

void StackWriter::reportProgress(int numSteps) {
    __numSteps += numSteps;
    notifyProgressed(static_cast<unsigned int>(1LL * __share * __numSteps / __totalSteps), 100);
}

template <class T>
void StackWriter::saveAsStack(const VoxelMatrix<T>& volume, const std::string& name, const std::string& imagesPath,
                              const std::string& stackPath, const PixelCalibration& calibration, float spacing,
                              VoxelBytes bytes) {
    T first = 0, last = 255;
    if (bytes == VoxelBytes::Scaled && volume.getSize1() > 0 && volume.getSize2() > 0 && volume.getSize3() > 0) {
        const Vector<T> range = volume.range();
        first = range[0];
        last = range[1];
    }
    Stack stack;
    for (int k = 0; k < volume.getSize3(); ++k) {
        char number[16];
        std::snprintf(number, sizeof number, "%03d", k);
        const std::string fileName = name + "_" + number + ".tif";
        Image image;
        volume[k].convertToImage(image, first, last, 0, 255);
        ImageHeader header = image.getHeader();
        header.setPixelCalibration(calibration);
        image.setHeader(header);
        ImageWriter().write(image, imagesPath + fileName, true);
        ImageSourceFile source;
        source.setFilename(imagesPath + fileName);
        auto slice = std::make_unique<vorlen::StackSlice>();
        slice->setName(fileName);
        slice->setStack(&stack);
        slice->setImageSource(source);
        slice->setPixelCalibration(calibration);
        slice->setRelativePosition(spacing);
        stack.addSlice(slice.release());
    }
    stack.setName(name);
    stack.setDefaultPixelCalibration(calibration);
    stack.setDefaultSliceSpacing(spacing);
    stack.setImagesPath(imagesPath);
    const std::string fileName = stackPath + name + ".sdf";
    if (!StackWriter().write(stack, fileName))
        throw FileWriteError("void StackWriter::saveAsStack(...)", "The file cannot be opened for writing", fileName);
}

template void StackWriter::saveAsStack(const VoxelMatrix<int>&, const std::string&, const std::string&,
                                       const std::string&, const PixelCalibration&, float, VoxelBytes);
template void StackWriter::saveAsStack(const VoxelMatrix<float>&, const std::string&, const std::string&,
                                       const std::string&, const PixelCalibration&, float, VoxelBytes);
template void StackWriter::saveAsStack(const VoxelMatrix<double>&, const std::string&, const std::string&,
                                       const std::string&, const PixelCalibration&, float, VoxelBytes);
template void StackWriter::saveAsStack(const VoxelMatrix<long double>&, const std::string&, const std::string&,
                                       const std::string&, const PixelCalibration&, float, VoxelBytes);

} // namespace vorlen
