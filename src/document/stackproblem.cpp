#include "document/stackproblem.h"

namespace vorlen {

const std::vector<ProblemKind>& problemKinds() {
    using enum ProblemCode;
    using enum Severity;
    static const std::vector<ProblemKind> kinds = {
        {FileCut, "file-cut", Error, false,
         "The file ends too early: what stood behind is lost. Nothing is mended in it."},
        {FileReadError, "file-read-error", Error, false, "The file could not be read to its end."},
        {VersionNewer, "version-newer", Warning, false,
         "The file is of a newer version of the format; what this version does not know is kept as it is."},
        {MoreProblems, "more-problems", Error, false, "There are more problems than are listed."},
        {UnknownKeyword, "unknown-keyword", Warning, false,
         "A statement that the format does not have. It has no effect, and is kept when the stack is saved."},
        {InvalidArgument, "invalid-argument", Error, false,
         "A value that the statement does not take, such as an unknown model or slice. The statement has no effect."},
        {ArgumentCount, "argument-count", Error, false, "Too few or too many values behind a keyword."},
        {WrongContext, "wrong-context", Error, false, "A statement that has no slice, model or outline to act on."},
        {StatementFailed, "statement-failed", Error, false, "A statement that could not be carried out."},
        {TextBehindEnd, "text-behind-end", Warning, false,
         "Text behind a \";\" on a line: a statement goes on to the end of the line, and reads otherwise than it "
         "looks."},
        {NumberCut, "number-cut", Warning, false,
         "A value that is no number as a whole, such as one with a decimal comma: what it begins with counts, or 0."},
        {CommentCuts, "comment-cuts", Warning, false,
         "A comment without a blank in front of it, which takes the last character with it, or a \"#\" within quotes, "
         "which begins a comment: the statement goes on in the next line."},
        {StackEmpty, "stack-empty", Warning, false, "The stack has no slices."},
        {ImageMissing, "image-missing", Error, true,
         "There is no such image file. The slice keeps its name, size and outlines; --images tells where to look."},
        {ImageUnreadable, "image-unreadable", Error, true, "The image file is there and cannot be read as an image."},
        {ImageFault, "image-fault", Error, false, "The image file does not hold what its header promises."},
        {PixelFault, "pixel-fault", Error, false,
         "The pixels of the image cannot all be read. Looked for with --pixels."},
        {ImagePages, "image-pages", Note, false,
         "The image file holds several pages, of which the slice shows the first. Looked for with --pixels."},
        {ImageSize, "image-size", Warning, false,
         "The image has another size than the file says: it may have been exchanged or scaled since it was outlined."},
        {ImageRepeated, "image-repeated", Note, false, "Two slices show the same image."},
        {SliceNameDuplicate, "slice-name-duplicate", Error, true,
         "Two slices have one name. The file does not tell their outlines apart: all stand on the first."},
        {SliceNameEmpty, "slice-name-empty", Note, false, "A slice has no name."},
        {PositionInvalid, "position-invalid", Error, false, "A position or spacing is no finite number."},
        {PositionZero, "position-zero", Error, false,
         "Slices lie at one position, as without a spacing: there is no volume between them."},
        {PositionOrder, "position-order", Error, false, "Positions go back where those before went forth."},
        {CalibrationInvalid, "calibration-invalid", Error, false,
         "Pixel width, height or aspect ratio is not a finite number above 0."},
        {CalibrationAspect, "calibration-aspect", Warning, false,
         "Pixel height and width do not have the aspect ratio that is given."},
        {CalibrationMissing, "calibration-missing", Note, false, "No pixel size is given: lengths count pixels."},
        {RegistrationInvalid, "registration-invalid", Error, false, "A rotation is no finite number."},
        {ModelNameDuplicate, "model-name-duplicate", Error, true,
         "Two models have one name: outlines go to the one that was named last before them."},
        {ModelNameEmpty, "model-name-empty", Note, false, "A model has no name."},
        {ModelNameSlash, "model-name-slash", Warning, false,
         "A model's name holds a \"/\": its surface can't be exported to a file."},
        {ModelEmpty, "model-empty", Note, false, "A model has no outlines and no points."},
        {ModelMesh, "model-mesh", Warning, false,
         "A model asks for a mesh of no rows or columns: it has no surface in the view."},
        {OutlineEmpty, "outline-empty", Warning, true, "An outline has no vertices."},
        {OutlineShort, "outline-short", Warning, false,
         "An outline has too few vertices: a polygon needs 3, a polyline 2."},
        {OutlineOutside, "outline-outside", Warning, false, "Vertices lie outside the image."},
        {OutlineCrossing, "outline-crossing", Warning, false,
         "An outline crosses itself: inside and outside change places at each crossing."},
        {OutlineTouching, "outline-touching", Note, false, "An outline touches itself, or runs along itself."},
        {OutlineFlat, "outline-flat", Warning, false, "The vertices of a polygon lie on one line: it has no area."},
        {VerticesDoubled, "vertices-doubled", Warning, true, "A vertex stands on the one before it."},
        {OutlineDuplicate, "outline-duplicate", Error, true,
         "The same outline stands twice on a slice: the second is a hole that takes the first one's area away."},
        {PointDoubled, "point-doubled", Warning, false, "A point stands twice at one place, and counts twice."},
        {OutlineOverlapping, "outline-overlapping", Warning, false,
         "Two outlines of a model cross on a slice: what both enclose counts as a hole."},
    };
    return kinds;
}

const ProblemKind& kindOf(ProblemCode code) {
    return problemKinds()[static_cast<std::size_t>(code)];
}

std::string_view toText(Severity severity) {
    switch (severity) {
    case Severity::Note:
        return "note";
    case Severity::Warning:
        return "warning";
    case Severity::Error:
        break;
    }
    return "error";
}

std::string StackProblem::toText() const {
    std::string place;
    const auto add = [&place](const std::string& part) { place += (place.empty() ? " (" : ", ") + part; };
    if (line > 0)
        add("line " + std::to_string(line));
    if (!model.empty())
        add("model \"" + model + "\"");
    if (!slice.empty())
        add("slice \"" + slice + "\"");
    return message + (place.empty() ? "" : place + ")");
}

} // namespace vorlen
