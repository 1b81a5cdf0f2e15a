#include "editing/journal/partstates.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <filesystem>
#include <limits>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/pose.h"
#include "document/stack.h"
#include "editing/actions/stackstate.h"
#include "editing/journal/journalbytes.h"
#include "files/fileinfo.h"
#include "images/files/imagesourcekinds.h"
#include "images/files/imagesourceplaceholder.h"
#include "numerics/exception.h"
#include "numerics/maths.h"
#include "values/imagestatement.h"
#include "values/registration.h"

namespace vorlen::partstates {

namespace {

/// Whether single precision tells the position, or the spacing, as journals of old have it.
bool isTold(double position) {
    return Maths::shortestDecimal(float(position)) == position;
}

void put(ByteWriter& bytes, const PixelCalibration& calibration) {
    bytes.integer(calibration.getLengthUnit().getScale());
    bytes.flag(!calibration.isDefaultPixelWidth());
    bytes.real(calibration.getPixelWidth());
    bytes.flag(!calibration.isDefaultPixelHeight());
    bytes.real(calibration.getPixelHeight());
    bytes.flag(!calibration.isDefaultAspectRatio());
    bytes.real(calibration.getAspectRatio());
}

/// What was not set follows from the rest, as a rule; where it does not, it is set.
PixelCalibration takeCalibration(ByteReader& bytes) {
    PixelCalibration calibration;
    calibration.setLengthUnit(LengthUnit(bytes.smallInteger()));
    const bool hasWidth = bytes.flag();
    const float width = bytes.real();
    const bool hasHeight = bytes.flag();
    const float height = bytes.real();
    const bool hasRatio = bytes.flag();
    const float ratio = bytes.real();
    if (hasWidth)
        calibration.setPixelWidth(width);
    if (hasHeight)
        calibration.setPixelHeight(height);
    if (hasRatio)
        calibration.setAspectRatio(ratio);
    const auto differs = [&] {
        return calibration.getPixelWidth() != width || calibration.getPixelHeight() != height ||
               calibration.getAspectRatio() != ratio;
    };
    if (differs())
        calibration.compute();
    if (differs()) {
        calibration.setPixelWidth(width);
        calibration.setPixelHeight(height);
        calibration.setAspectRatio(ratio);
    }
    return calibration;
}

/// What can't be read stays with its object: only a new one has to be told.
void giveUnread(const std::string& text, UnreadText& object) {
    if (!text.empty() && object.getUnreadText().empty())
        object.appendUnreadText(text);
}

template <class Value, class Put>
void putIf(ByteWriter& bytes, bool defined, Put&& put, Value&& value) {
    bytes.flag(defined);
    if (defined)
        put(value());
}

void put(ByteWriter& bytes, const ModelItemProperties& look) {
    const auto real = [&](float value) { bytes.real(value); };
    const auto integer = [&](int value) { bytes.integer(value); };
    putIf(
        bytes, look.definesColor(),
        [&](const Vector<int>& c) {
            for (int k = 0; k < 3; ++k)
                integer(c[k]);
        },
        [&]() -> const Vector<int>& { return look.getColor(); });
    putIf(
        bytes, look.definesLineWidth(), real, [&] { return look.getLineWidth(); });
    putIf(
        bytes, look.definesPointSize(), real, [&] { return look.getPointSize(); });
    putIf(
        bytes, look.definesVertexSymbol(), integer, [&] { return int(look.getVertexSymbol()); });
    putIf(
        bytes, look.definesVertexSymbolFilling(), integer, [&] { return int(look.getVertexSymbolFilling()); });
    putIf(bytes, look.definesRenderingVisibility(), integer, [&] { return int(look.getRenderingVisibility()); });
}

template <class Enumeration>
Enumeration takeEnumeration(ByteReader& bytes, Enumeration last) {
    const int value = bytes.smallInteger();
    if (value < 0 || value > static_cast<int>(last))
        ByteReader::fail("The journal names a property that there is not");
    return static_cast<Enumeration>(value);
}

ModelItemProperties takeLook(ByteReader& bytes) {
    ModelItemProperties look;
    if (bytes.flag()) {
        const int red = bytes.smallInteger(), green = bytes.smallInteger(), blue = bytes.smallInteger();
        look.setColor(red, green, blue);
    }
    if (bytes.flag())
        look.setLineWidth(bytes.real());
    if (bytes.flag())
        look.setPointSize(bytes.real());
    if (bytes.flag())
        look.setVertexSymbol(takeEnumeration(bytes, UnknownSymbol));
    if (bytes.flag())
        look.setVertexSymbolFilling(bytes.smallInteger() != 0);
    if (bytes.flag())
        look.setRenderingVisibility(bytes.smallInteger() != 0);
    return look;
}

/// What the first number of the properties says: that a geometry follows, and that a group does at the end. Journals
/// of before there were groups hold no other numbers than 0 and 1.
constexpr std::uint64_t hasGeometry = 1, hasGroup = 2;

void put(ByteWriter& bytes, const ModelProperties& properties) {
    const auto real = [&](float value) { bytes.real(value); };
    const auto integer = [&](auto value) { bytes.integer(static_cast<std::int64_t>(value)); };
    bytes.number((properties.definesGeometry() ? hasGeometry : 0) | (properties.definesGroup() ? hasGroup : 0));
    if (properties.definesGeometry())
        integer(properties.getGeometry());
    putIf(
        bytes, properties.definesRenderingMode(), integer, [&] { return properties.getRenderingMode(); });
    putIf(
        bytes, properties.definesSurfaceOpacity(), real, [&] { return properties.getSurfaceOpacity(); });
    putIf(
        bytes, properties.definesSurfaceShininess(), real, [&] { return properties.getSurfaceShininess(); });
    putIf(
        bytes, properties.definesQuadMeshWidth(), integer, [&] { return properties.getQuadMeshWidth(); });
    putIf(
        bytes, properties.definesQuadMeshHeight(), integer, [&] { return properties.getQuadMeshHeight(); });
    putIf(
        bytes, properties.definesEconomicRendering(), integer, [&] { return properties.getEconomicRendering(); });
    putIf(
        bytes, properties.hasBeginCapFlag(), integer, [&] { return properties.getBeginCapFlag(); });
    putIf(bytes, properties.hasEndCapFlag(), integer, [&] { return properties.getEndCapFlag(); });
    if (properties.definesGroup())
        bytes.text(properties.getGroup());
}

ModelProperties takeProperties(ByteReader& bytes) {
    ModelProperties properties;
    const std::uint64_t has = bytes.number();
    if (has & hasGeometry)
        properties.setGeometry(takeEnumeration(bytes, UnknownPrimitive));
    if (bytes.flag())
        properties.setRenderingMode(takeEnumeration(bytes, UnknownRendering));
    if (bytes.flag())
        properties.setSurfaceOpacity(bytes.real());
    if (bytes.flag())
        properties.setSurfaceShininess(bytes.real());
    if (bytes.flag())
        properties.setQuadMeshWidth(static_cast<unsigned int>(bytes.integer()));
    if (bytes.flag())
        properties.setQuadMeshHeight(static_cast<unsigned int>(bytes.integer()));
    if (bytes.flag())
        properties.setEconomicRendering(bytes.smallInteger() != 0);
    if (bytes.flag())
        properties.setBeginCapFlag(bytes.smallInteger() != 0);
    if (bytes.flag())
        properties.setEndCapFlag(bytes.smallInteger() != 0);
    if (has & hasGroup)
        properties.setGroup(bytes.text());
    return properties;
}

std::string absoluteName(const std::string& file) {
    std::error_code error;
    return std::filesystem::absolute(file, error).lexically_normal().string();
}

void put(ByteWriter& bytes, const ImageStatement& statement) {
    bytes.text(statement.keyword);
    bytes.number(statement.arguments.size());
    for (const ImageStatement::Argument& argument : statement.arguments) {
        const auto* file = std::get_if<std::string>(&argument);
        bytes.flag(file != nullptr);
        if (file != nullptr)
            bytes.text(absoluteName(*file));
        else
            bytes.integer(std::get<int>(argument));
    }
}

/// A pipe could keep the reader of an image waiting for ever.
void requireRegularFiles(const ImageStatement& statement) {
    for (const ImageStatement::Argument& argument : statement.arguments) {
        const auto* file = std::get_if<std::string>(&argument);
        if (file != nullptr && FileInfo::isSpecial(*file))
            throw FileReadError("partstates::makeImage(...)", "Not a regular file", *file);
    }
}

ImageStatement takeStatement(ByteReader& bytes) {
    ImageStatement statement;
    statement.keyword = bytes.text();
    const std::size_t numArguments = bytes.count();
    for (std::size_t i = 0; i < numArguments; ++i)
        if (bytes.flag())
            statement.arguments.emplace_back(bytes.text());
        else
            statement.arguments.emplace_back(bytes.smallInteger());
    return statement;
}

/// The kind that the statement is of. Throws FileFormatError for a statement of none.
const ImageSourceKind& kindOfStatement(const ImageStatement& statement, bool begins,
                                       const std::vector<ImageSourceKind>& kinds) {
    constexpr int mostPlaces = 1 << 20;
    const std::size_t numArguments = statement.arguments.size();
    const auto fits = [&](const ImageSourceKind& kind) {
        if (kind.keyword != statement.keyword || (kind.make != nullptr) != begins ||
            kind.arguments.size() != numArguments)
            return false;
        long long places = 1;
        for (std::size_t i = 0; i < numArguments; ++i) {
            const int* number = std::get_if<int>(&statement.arguments[i]);
            if ((kind.arguments[i] == ImageSourceKind::File) == (number != nullptr))
                return false;
            if (kind.arguments[i] == ImageSourceKind::Size && (*number < 0 || (places *= *number) > mostPlaces))
                return false;
        }
        return true;
    };
    for (const ImageSourceKind& kind : kinds)
        if (fits(kind))
            return kind;
    ByteReader::fail("The journal names a kind of image that there is not");
}

} // namespace

std::string ofStack(const Stack& stack) {
    const StackState state(stack);
    ByteWriter bytes;
    bytes.text(state.name);
    bytes.text(state.annotation);
    bytes.text(state.imagesPath);
    bytes.flag(state.absoluteImagesPath);
    bytes.real(float(state.sliceSpacing));
    bytes.real(state.sliceThickness);
    put(bytes, state.calibration);
    bytes.text(state.lastRegisteredSlice);
    bytes.text(stack.getLastSegmentedSlice());
    const bool hasDecimals = !isTold(state.sliceSpacing);
    if (state.greyScale || hasDecimals) {
        constexpr float none = std::numeric_limits<float>::quiet_NaN();
        const GreyScale scale = state.greyScale.value_or(GreyScale{none, none, none});
        for (const float value : {scale.low, scale.high, scale.white})
            bytes.real(value);
    }
    if (hasDecimals)
        bytes.decimal(state.sliceSpacing);
    return bytes.take();
}

void give(const std::string& state, Stack& stack) {
    ByteReader bytes(state);
    StackState given(stack);
    given.name = bytes.text();
    given.annotation = bytes.text();
    given.imagesPath = bytes.text();
    given.absoluteImagesPath = bytes.flag();
    given.sliceSpacing = Maths::shortestDecimal(bytes.real());
    given.sliceThickness = bytes.real();
    given.calibration = takeCalibration(bytes);
    given.lastRegisteredSlice = bytes.text();
    const std::string last = bytes.text();
    given.greyScale.reset();
    if (!bytes.atEnd()) {
        GreyScale& scale = given.greyScale.emplace();
        for (float* value : {&scale.low, &scale.high, &scale.white})
            *value = bytes.real();
        if (std::isnan(scale.low))
            given.greyScale.reset();
    }
    if (!bytes.atEnd())
        given.sliceSpacing = bytes.decimal();
    given.giveTo(stack);
    stack.setLastSegmentedSlice(last);
}

/// Towards zero; a shift that no int holds has none.
int wholeShift(double shift) {
    return std::abs(shift) <= std::numeric_limits<int>::max() ? static_cast<int>(shift) : 0;
}

std::string ofSlice(const StackSlice& slice) {
    const SliceState state(slice);
    ByteWriter bytes;
    bytes.text(state.name);
    bytes.text(state.annotation);
    bytes.real(state.thickness);
    bytes.real(float(state.placement.position));
    bytes.flag(state.placement.relative);
    bytes.flag(state.placement.followsDefault);
    put(bytes, state.calibration);
    const Registration& registration = state.registration;
    bytes.integer(wholeShift(registration.getHorShift()));
    bytes.integer(wholeShift(registration.getVerShift()));
    bytes.real(registration.getRotationAngle());
    bytes.text(slice.getUnreadText());
    // Decimals stand at the end, where journals of old have nothing.
    const bool hasDecimals = !isTold(state.placement.position);
    if (registration.getHorShift() != wholeShift(registration.getHorShift()) ||
        registration.getVerShift() != wholeShift(registration.getVerShift()) || hasDecimals) {
        bytes.decimal(registration.getHorShift());
        bytes.decimal(registration.getVerShift());
    }
    if (hasDecimals)
        bytes.decimal(state.placement.position);
    return bytes.take();
}

void give(const std::string& state, StackSlice& slice) {
    ByteReader bytes(state);
    SliceState given(slice);
    given.name = bytes.text();
    given.annotation = bytes.text();
    given.thickness = bytes.real();
    given.placement.position = Maths::shortestDecimal(bytes.real());
    given.placement.relative = bytes.flag();
    given.placement.followsDefault = bytes.flag();
    given.calibration = takeCalibration(bytes);
    given.registration.setHorShift(bytes.smallInteger());
    given.registration.setVerShift(bytes.smallInteger());
    given.registration.setRotationAngle(bytes.real());
    giveUnread(bytes.text(), slice);
    if (!bytes.atEnd()) {
        given.registration.setHorShift(bytes.decimal());
        given.registration.setVerShift(bytes.decimal());
    }
    if (!bytes.atEnd())
        given.placement.position = bytes.decimal();
    given.giveTo(slice);
}

std::string ofImage(const StackSlice& slice) {
    ByteWriter bytes;
    try {
        const ImageSource& source = slice.getImageSource();
        const std::vector<ImageStatement> further = source.getFurtherStatements();
        bytes.number(1 + further.size());
        put(bytes, source.getStatement());
        for (const ImageStatement& statement : further)
            put(bytes, statement);
    } catch (const ProgramError&) { // a slice without an image
        return {};
    }
    return bytes.take();
}

std::unique_ptr<ImageSource> makeImage(const std::string& state, const std::vector<ImageSourceKind>& kinds) {
    if (state.empty())
        return nullptr;
    std::vector<ImageStatement> statements;
    const ImageSourceKind* begin = nullptr;
    try {
        ByteReader bytes(state);
        const std::size_t numStatements = bytes.count();
        for (std::size_t i = 0; i < numStatements; ++i) {
            statements.push_back(takeStatement(bytes));
            const ImageSourceKind& kind = kindOfStatement(statements.back(), i == 0, kinds);
            begin = i == 0 ? &kind : begin;
        }
    } catch (const Exception&) {
        return nullptr;
    }
    if (begin == nullptr)
        return nullptr;
    try {
        for (const ImageStatement& statement : statements)
            requireRegularFiles(statement);
        std::unique_ptr<ImageSource> source = begin->make(statements[0]);
        for (std::size_t i = 1; i < statements.size(); ++i)
            source->addStatement(statements[i]);
        return source;
    } catch (const Exception& error) { // as an image that is missing when a file is read
        auto lost = std::make_unique<ImageSourcePlaceholder>(statements[0], error.getWhat());
        for (std::size_t i = 1; i < statements.size(); ++i)
            lost->addStatement(statements[i]);
        return lost;
    }
}

std::string ofModel(const Model& model) {
    ByteWriter bytes;
    bytes.text(model.getName());
    put(bytes, model.getProperties());
    put(bytes, model.getItemProperties());
    bytes.text(model.getUnreadText());
    return bytes.take();
}

void give(const std::string& state, Model& model) {
    ByteReader bytes(state);
    const std::string name = bytes.text();
    const ModelProperties properties = takeProperties(bytes);
    const ModelItemProperties look = takeLook(bytes);
    giveUnread(bytes.text(), model);
    model.setName(name);
    model.setProperties(properties);
    model.setItemProperties(look);
}

std::string ofItem(const ModelItem& item, const Stack& stack) {
    ByteWriter bytes;
    bytes.integer(item.getSlice() == nullptr ? -1 : stack.findSlice(*item.getSlice()));
    put(bytes, item.getProperties());
    // Whole numbers first, as journals always had them; where there are decimals, these stand behind all the rest.
    bool whole = true;
    bytes.number(static_cast<std::uint64_t>(item.getSize()));
    for (int i = 0; i < item.getSize(); ++i)
        for (const int axis : {0, 1}) {
            const double coordinate = item.getCoordinate(i, axis);
            const double pixel = std::floor(std::clamp<double>(coordinate, INT_MIN, INT_MAX));
            whole = whole && pixel == coordinate;
            bytes.integer(static_cast<std::int64_t>(pixel));
        }
    bytes.text(item.getUnreadText());
    for (int i = 0; !whole && i < item.getSize(); ++i)
        for (const int axis : {0, 1})
            bytes.decimal(item.getCoordinate(i, axis));
    return bytes.take();
}

void give(const std::string& state, ModelItem& item, const std::vector<StackSlice*>* slices) {
    ByteReader bytes(state);
    const int slice = bytes.smallInteger();
    if (slices != nullptr && (slice < -1 || slice >= static_cast<int>(slices->size())))
        ByteReader::fail("The journal names a slice that there is not");
    const ModelItemProperties look = takeLook(bytes);
    std::vector<double> coordinates(2 * bytes.count());
    for (double& coordinate : coordinates)
        coordinate = bytes.smallInteger();
    const std::string unread = bytes.text();
    if (!bytes.atEnd())
        for (double& coordinate : coordinates) {
            coordinate = bytes.decimal();
            if (!std::isfinite(coordinate))
                ByteReader::fail("The journal holds a vertex that is no place");
        }
    giveUnread(unread, item);
    if (slices != nullptr)
        item.setSlice(slice < 0 ? nullptr : (*slices)[static_cast<std::size_t>(slice)]);
    item.setProperties(look);
    item.setVertices(coordinates.data(), static_cast<int>(coordinates.size() / 2));
}

std::string ofPose(const Pose& pose) {
    ByteWriter bytes;
    bytes.text(pose.getName());
    for (int k = 0; k < 3; ++k)
        bytes.real(pose.getRotation()[k]);
    for (const int value : {pose.getXTranslation(), pose.getYTranslation(), pose.getZoom(), pose.getAmbientLight(),
                            pose.getDiffuseLight(), pose.getSpecularLight()})
        bytes.integer(value);
    bytes.text(pose.getUnreadText());
    return bytes.take();
}

void give(const std::string& state, Pose& pose) {
    ByteReader bytes(state);
    pose.setName(bytes.text());
    Vector<float> rotation(3);
    for (int k = 0; k < 3; ++k)
        rotation[k] = bytes.real();
    pose.setRotation(rotation);
    pose.setXTranslation(bytes.smallInteger());
    pose.setYTranslation(bytes.smallInteger());
    pose.setZoom(bytes.smallInteger());
    pose.setAmbientLight(bytes.smallInteger());
    pose.setDiffuseLight(bytes.smallInteger());
    pose.setSpecularLight(bytes.smallInteger());
    giveUnread(bytes.text(), pose);
}

} // namespace vorlen::partstates
