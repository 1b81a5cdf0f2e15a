#include "checking/stackcheck.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include "checking/outlinecheck.h"
#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackreader.h"
#include "files/fileinfo.h"
#include "images/files/imagesourceplaceholder.h"

namespace vorlen {

namespace {

/// Whether a slice's numbers are those of its stack, also where they are no numbers.
bool isSameCalibration(const PixelCalibration& one, const PixelCalibration& other) {
    const auto same = [](float a, float b) { return a == b || (std::isnan(a) && std::isnan(b)); };
    return same(one.getPixelWidth(), other.getPixelWidth()) && same(one.getPixelHeight(), other.getPixelHeight()) &&
           same(one.getAspectRatio(), other.getAspectRatio());
}

bool isMeasure(float value) {
    return std::isfinite(value) && value > 0;
}

bool isDefault(const PixelCalibration& calibration) {
    return calibration.isDefaultPixelWidth() && calibration.isDefaultPixelHeight();
}

std::string sizeText(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

/// Collects the problems of one stack.
class Inspection {
public:
    Inspection(const Stack& stack, const StackReader& reader) : __stack(stack), __reader(reader) {}

    std::vector<StackProblem> run() {
        takeFromReader();
        checkSlices();
        checkPositions();
        checkCalibrations();
        checkModels();
        std::stable_sort(__problems.begin(), __problems.end(),
                         [](const StackProblem& one, const StackProblem& other) { return one.line < other.line; });
        return std::move(__problems);
    }

private:
    void add(StackProblem problem) {
        int& number = __numbers[std::size_t(problem.code)];
        if (++number > StackIO::maxLogLines + 1)
            return;
        if (number == StackIO::maxLogLines + 1)
            problem = {ProblemCode::MoreProblems,
                       "There are more of \"" + std::string(kindOf(problem.code).word) + "\" than are listed here."};
        __problems.push_back(std::move(problem));
    }

    void add(ProblemCode code, const std::string& message, const StackSlice& slice) {
        add({code, message, __reader.lineOf(slice), "", slice.getName()});
    }

    void add(ProblemCode code, const std::string& message, const Model& model) {
        add({code, message, __reader.lineOf(model), model.getName(), ""});
    }

    /// What shows in the document too is taken from there.
    void takeFromReader() {
        for (const StackProblem& problem : __reader.getProblems())
            if (problem.code != ProblemCode::OutlineEmpty && problem.code != ProblemCode::ImageMissing &&
                problem.code != ProblemCode::ImageUnreadable)
                add(problem);
        for (const StackProblem& remark : __reader.getRemarks())
            add(remark);
        constexpr float known = 1.03f;
        if (__reader.getFileFormatVersion() > known + 0.001f)
            add({ProblemCode::VersionNewer, "The file is of a newer version of the format than this program knows."});
    }

    void checkSlices() {
        if (__stack.getNumSlices() == 0)
            add({ProblemCode::StackEmpty, "The stack has no slices."});
        for (int i = 0; i < __stack.getNumSlices(); ++i) {
            const StackSlice& slice = __stack.getSlice(i);
            if (slice.getName().empty())
                add(ProblemCode::SliceNameEmpty, "Slice " + std::to_string(i + 1) + " has no name.", slice);
            if (!std::isfinite(slice.getRegistration().getRotationAngle()))
                add(ProblemCode::RegistrationInvalid, "The rotation is no number.", slice);
            if (slice.hasImageSource())
                checkImage(slice);
        }
    }

    void checkImage(const StackSlice& slice) {
        const ImageSource& source = slice.getImageSource();
        if (const auto* lost = dynamic_cast<const ImageSourcePlaceholder*>(&source)) {
            const std::string serves =
                lost->hasSize()
                    ? " The size that the file gives serves: " + sizeText(lost->getSize2(), lost->getSize1()) +
                          " pixels."
                    : " Its size is not known: nothing on the stack can be measured or exported.";
            add(isThere(*lost) ? ProblemCode::ImageUnreadable : ProblemCode::ImageMissing,
                lost->getName() + ": " + lost->getReason() + "." + serves, slice);
            return;
        }
        if (!source.isDefined())
            return;
        const Slice::StatedSize& stated = slice.getStatedSize();
        if ((stated.height > 0 && stated.height != source.getSize1()) ||
            (stated.width > 0 && stated.width != source.getSize2()))
            add(ProblemCode::ImageSize,
                "The image " + source.getName() + " has " + sizeText(source.getSize2(), source.getSize1()) +
                    " pixels, and the file says " + sizeText(stated.width, stated.height) + ".",
                slice);
        if (const std::string fault = source.findFault(); !fault.empty() && __faults.insert(fault).second)
            add(ProblemCode::ImageFault, fault + ".", slice);
        const auto [first, isNew] = __images.try_emplace(keyOf(source), &slice);
        if (!isNew)
            add(ProblemCode::ImageRepeated,
                "The slice shows the same image as slice \"" + first->second->getName() + "\".", slice);
    }

    /// Whether all of the files exist.
    static bool isThere(const ImageSourcePlaceholder& lost) {
        const std::vector<std::string> files = lost.getFilenames();
        return std::all_of(files.begin(), files.end(), [](const std::string& file) { return FileInfo::isTaken(file); });
    }

    static std::string keyOf(const ImageSource& source) {
        std::string key;
        const auto add = [&key](const ImageStatement& statement) {
            key += statement.keyword;
            for (const ImageStatement::Argument& argument : statement.arguments) {
                key += '\0';
                if (const int* number = std::get_if<int>(&argument))
                    key += std::to_string(*number);
                else
                    key += std::get<std::string>(argument);
            }
            key += '\0';
        };
        add(source.getStatement());
        for (const ImageStatement& statement : source.getFurtherStatements())
            add(statement);
        return key;
    }

    void checkPositions() {
        const int n = __stack.getNumSlices();
        const std::vector<double> positions = __stack.getAbsolutePositions();
        if (!std::isfinite(__stack.getDefaultSliceSpacing()))
            add({ProblemCode::PositionInvalid, "The spacing of the stack is no number.",
                 lineOf(__stack, StackIO::RELPOSITION)});
        int rising = 0, falling = 0, level = 0;
        for (int i = 0; i < n; ++i) {
            const StackSlice& slice = __stack.getSlice(i);
            if (!std::isfinite(slice.getPlacement().position))
                add(ProblemCode::PositionInvalid, "The position is no number.", slice);
            if (i == 0)
                continue;
            const double step = positions[std::size_t(i)] - positions[std::size_t(i - 1)];
            rising += step > 0;
            falling += step < 0;
            level += step == 0;
        }
        if (n > 1 && level == n - 1) {
            add({ProblemCode::PositionZero,
                 "All " + std::to_string(n) +
                     " slices lie at one position, as no spacing is given: there is no volume "
                     "between them.",
                 lineOf(__stack, StackIO::RELPOSITION)});
            return;
        }
        for (int i = 1; i < n; ++i) {
            const double step = positions[std::size_t(i)] - positions[std::size_t(i - 1)];
            const std::string& before = __stack.getSlice(i - 1).getName();
            if (step == 0)
                add(ProblemCode::PositionZero, "The slice lies at the position of slice \"" + before + "\".",
                    __stack.getSlice(i));
            else if (rising >= falling ? step < 0 : step > 0)
                add(ProblemCode::PositionOrder,
                    "The slice lies on the other side of slice \"" + before + "\" than most slices of theirs.",
                    __stack.getSlice(i));
        }
    }

    /// The line that has given a slice or the stack the value, else the one that has made it.
    int lineOf(const UnreadText& object, StackIO::Keyword keyword) const {
        const int line = __reader.lineOf(object, keyword);
        return line > 0 ? line : __reader.lineOf(object);
    }

    static bool contradictsItself(const PixelCalibration& calibration) {
        const float implied = calibration.getPixelWidth() * calibration.getAspectRatio();
        return std::abs(calibration.getPixelHeight() - implied) > 1e-4f * calibration.getPixelHeight();
    }

    /// Of a slice, or of the stack where the slice's name is empty. One value that is none often spoils others.
    void checkCalibration(const PixelCalibration& calibration, const UnreadText& object, const std::string& slice) {
        struct Value {
            float value;
            bool isGiven;
            const char* name;
            StackIO::Keyword keyword;
        };
        std::array<Value, 3> values = {
            {{calibration.getPixelWidth(), !calibration.isDefaultPixelWidth(), "pixel width", StackIO::PIXWIDTH},
             {calibration.getPixelHeight(), !calibration.isDefaultPixelHeight(), "pixel height", StackIO::PIXHEIGHT},
             {calibration.getAspectRatio(), !calibration.isDefaultAspectRatio(), "aspect ratio", StackIO::PIXASPECT}}};
        std::stable_partition(values.begin(), values.end(), [](const Value& value) { return value.isGiven; });
        for (const Value& value : values)
            if (!isMeasure(value.value))
                return add({ProblemCode::CalibrationInvalid,
                            std::string("The ") + value.name +
                                (std::isfinite(value.value) ? " is not above 0." : " is no number."),
                            lineOf(object, value.keyword), "", slice});
        if (contradictsItself(calibration))
            add({ProblemCode::CalibrationAspect, "Pixel height, width and aspect ratio contradict each other.",
                 lineOf(object, StackIO::PIXASPECT), "", slice});
    }

    void checkCalibrations() {
        const PixelCalibration& common = __stack.getDefaultPixelCalibration();
        checkCalibration(common, __stack, "");
        bool isGiven = !isDefault(common);
        for (int i = 0; i < __stack.getNumSlices(); ++i) {
            const PixelCalibration& own = __stack.getSlice(i).getPixelCalibration();
            isGiven = isGiven || !isDefault(own);
            if (!isSameCalibration(own, common))
                checkCalibration(own, __stack.getSlice(i), __stack.getSlice(i).getName());
        }
        if (!isGiven && __stack.getNumSlices() > 0)
            add({ProblemCode::CalibrationMissing, "No pixel size is given: lengths count pixels."});
    }

    void checkModels() {
        for (int i = 0; i < __stack.getNumModels(); ++i) {
            const Model& model = __stack.getModel(i);
            if (model.getName().empty())
                add(ProblemCode::ModelNameEmpty, "Model " + std::to_string(i + 1) + " has no name.", model);
            if (model.getName().find('/') != std::string::npos)
                add(ProblemCode::ModelNameSlash,
                    "The name holds a \"/\", which a file name can't: no surface is exported.", model);
            if (model.getNumItems() == 0)
                add(ProblemCode::ModelEmpty, "The model has no outlines and no points.", model);
            const ModelProperties& properties = model.getProperties();
            if (properties.getGeometry() != PolypointPrimitive && properties.definesQuadMeshWidth() &&
                properties.definesQuadMeshHeight() &&
                (properties.getQuadMeshWidth() == 0 || properties.getQuadMeshHeight() == 0))
                add(ProblemCode::ModelMesh, "The model asks for a mesh without rows or columns.", model);
            addProblems(model, OutlineCheck::check(model));
        }
    }

    void addProblems(const Model& model, std::vector<std::vector<StackProblem>> ofItems) {
        for (std::size_t i = 0; i < ofItems.size(); ++i)
            for (StackProblem& problem : ofItems[i]) {
                const ModelItem& item = model.getItem(int(i));
                problem.line = __reader.lineOf(item);
                problem.model = model.getName();
                problem.slice = item.getSlice()->getName();
                add(std::move(problem));
            }
    }

    const Stack& __stack;
    const StackReader& __reader;
    std::vector<StackProblem> __problems;
    std::map<std::size_t, int> __numbers; // of each code
    std::unordered_set<std::string> __faults;
    std::unordered_map<std::string, const StackSlice*> __images;
};

} // namespace

std::vector<StackProblem> checkStack(const Stack& stack, const StackReader& reader) {
    return Inspection(stack, reader).run();
}

} // namespace vorlen
