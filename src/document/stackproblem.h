#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vorlen {

/// How much a problem matters.
enum class Severity {
    Note,    ///< worth knowing; numbers and pictures are right
    Warning, ///< something may be wrong with numbers or pictures
    Error    ///< something is lost or wrong
};

/// What can be wrong with a stack description and the stack in it, one for each code.
enum class ProblemCode {
    // The file.
    FileCut,
    FileReadError,
    VersionNewer,
    MoreProblems,
    // Its statements.
    UnknownKeyword,
    InvalidArgument,
    ArgumentCount,
    WrongContext,
    StatementFailed,
    TextBehindEnd,
    NumberCut,
    CommentCuts,
    // Slices and their images.
    StackEmpty,
    ImageMissing,
    ImageUnreadable,
    ImageFault,
    PixelFault,
    ImagePages,
    ImageSize,
    ImageRepeated,
    SliceNameDuplicate,
    SliceNameEmpty,
    // Geometry of the stack.
    PositionInvalid,
    PositionZero,
    PositionOrder,
    CalibrationInvalid,
    CalibrationAspect,
    CalibrationMissing,
    RegistrationInvalid,
    // Models.
    ModelNameDuplicate,
    ModelNameEmpty,
    ModelNameSlash,
    ModelEmpty,
    ModelMesh,
    // Outlines and points.
    OutlineEmpty,
    OutlineShort,
    OutlineOutside,
    OutlineCrossing,
    OutlineTouching,
    OutlineFlat,
    VerticesDoubled,
    OutlineDuplicate,
    PointDoubled,
    OutlineOverlapping,
};

/// What is said of a code wherever it comes up.
struct ProblemKind {
    ProblemCode code;
    std::string_view word; ///< as it is printed: "unknown-keyword"
    Severity severity;
    bool fixable; ///< can be mended without guessing
    std::string_view meaning;
};

/// All kinds, in the order of the codes.
const std::vector<ProblemKind>& problemKinds();

const ProblemKind& kindOf(ProblemCode code);

/// "note", "warning" or "error".
std::string_view toText(Severity severity);

/// One thing that is wrong, and where.
struct StackProblem {
    StackProblem() = default;
    StackProblem(ProblemCode problemCode, std::string sentence, int lineNumber = 0, std::string modelName = "",
                 std::string sliceName = "")
        : code(problemCode), message(std::move(sentence)), line(lineNumber), model(std::move(modelName)),
          slice(std::move(sliceName)) {}

    ProblemCode code = ProblemCode::StatementFailed;
    std::string message; ///< a sentence
    int line = 0;        ///< of the file, from 1; 0 for none
    std::string model;   ///< empty for none
    std::string slice;   ///< empty for none

    /// The message, and the place in brackets: "... (line 12, model "m", slice "s1")".
    std::string toText() const;
};

} // namespace vorlen
