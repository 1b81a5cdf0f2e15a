#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "document/stackio.h"
#include "document/stackiocontext.h"

namespace vorlen {

class ImageSource;
class Model;
class Stack;
class StackSlice;
struct ImageSourceKind;
struct ImageStatement;
class UnreadText;

/// Reads a stack description file into a stack. One object reads one file.
///
/// A statement in error has no effect and adds one line to the log, and to the messages with the line of the file and
/// the slice and model that it concerns; the reader goes on with the next. A stack read with errors is usable, with
/// whatever the file gave, and what could not be read is kept with the objects for the writer (see UnreadText): behind
/// the object that it follows, or at the end of the file where it should have made an object of its own.
///
/// A file that ends within a statement, or without the line that the writer puts at its end, is cut off.
///
/// Decisions on what the format leaves open:
/// - A file name without a directory stands for the file in the current directory: its images path is "./".
/// - "StackSlice name file plane" is a slice that shows one plane, counted from 0, of a voxel matrix file. The path is
///   built as for SLICE.
/// - An image that is missing or can't be read, a volume that has no such plane, and a mosaic with such a tile leave a
///   placeholder for the image, with the size that the file tells: see ImageSourcePlaceholder.
/// - A byte order mark at the beginning is skipped.
/// - The second argument of STANDARDIMAGE names the image file, which is looked for as a slice's. It is not opened with
///   alarm: a standard image whose file is missing keeps the name, and reports when it is used.
/// - A vertex without a comma is an invalid argument, and so is a mosaic that asks for more places than a file of this
///   length can fill, a negative number of rows, columns or mesh lines, and a path longer than the system's limit.
/// - Integers beyond the range of int become its nearest end.
/// - Only regular files are opened, as the description and as images: a pipe could keep the reader waiting for ever.
///
/// The file is read whole and scanned in place, in time linear in its length; memory beyond the document itself stays
/// within a small multiple of the length.
class StackReader : public StackIO {
public:
    /// A value that the statement does not take.
    class ArgValueError {};
    /// The statement has no object to act on.
    class ContextError {};
    /// A word that is no keyword.
    class KeywordError {};
    /// Too few or too many arguments.
    class NumArgsError {};

    /// The keyword and its arguments, as parts of the statement that they were split from.
    using Tokens = std::vector<std::string_view>;

    /// A reader of the kinds of image source that the system has, or of these, which must outlive it.
    StackReader();
    explicit StackReader(const std::vector<ImageSourceKind>& kinds);

    /// Reads the file, whose name gets the suffix ".sdf" if it has another, into the stack. False when the file cannot
    /// be opened: the stack is then untouched. True otherwise; see getLog() and getNumFatalErrors() for the problems.
    /// The classic locale is the global one during the reading.
    bool read(Stack& stack, const std::string& fileName);

    /// The same for a text that stands, or stood, in the file of this name: images are looked for as from there.
    void readText(Stack& stack, const std::string& text, const std::string& fileName);

    /// Notes the line of each object from now on, for lineOf(). Costs memory for each.
    void noteLines() { __notesLines = true; }

    /// Statements that were carried out, or not, otherwise than they look. None unless lines were noted.
    const std::vector<StackProblem>& getRemarks() const { return __remarks; }

    /// The line of the statement that has made this slice, model, item, pose, standard image, curve or sample; 0 when
    /// it was not noted.
    int lineOf(const UnreadText& object) const;

    /// The line of the statement that has given the stack or a slice this last: PIXWIDTH, PIXHEIGHT, PIXASPECT,
    /// POSITION, RELPOSITION, ROTATE; 0 when there was none, or it was not noted.
    int lineOf(const UnreadText& object, Keyword keyword) const;

    /// False when the file that was read last is cut off, or could not be read to its end.
    bool isWhole() const { return __whole; }

    /// Carries out one statement. Throws one of the reader's errors or an Exception when it fails.
    void parseTokens(const Tokens& tokens, StackIOContext& context);

    /// Takes the next statement from the text at cursor, which moves behind it; empty at the end of the text.
    /// Comments are gone, whitespace is squeezed, and the ";" is removed.
    static void readItemString(const char*& cursor, const char* end, std::string& statement);
    /// Splits a statement at its blanks; a string in double quotes is one token, without the quotes.
    static void splitItemString(Tokens& tokens, std::string_view statement);

private:
    using Handler = void (StackReader::*)(const Tokens&, StackIOContext&);

    static Handler handler(Keyword keyword);

    void inputAnnotation(const Tokens& tokens, StackIOContext& context);
    void inputBeginCap(const Tokens& tokens, StackIOContext& context);
    void inputBrilliancy(const Tokens& tokens, StackIOContext& context);
    void inputCalibrationCurve(const Tokens& tokens, StackIOContext& context);
    void inputColor(const Tokens& tokens, StackIOContext& context);
    void inputEcoRendering(const Tokens& tokens, StackIOContext& context);
    void inputEndCap(const Tokens& tokens, StackIOContext& context);
    void inputFileFormatVersion(const Tokens& tokens, StackIOContext& context);
    void inputFilledIn(const Tokens& tokens, StackIOContext& context);
    void inputFit(const Tokens& tokens, StackIOContext& context);
    void inputGreyScale(const Tokens& tokens, StackIOContext& context);
    void inputHidden3D(const Tokens& tokens, StackIOContext& context);
    void inputImageStatement(const Tokens& tokens, StackIOContext& context);
    void inputImagesPath(const Tokens& tokens, StackIOContext& context);
    void inputAbsoluteImagesPathPolicy(const Tokens& tokens, StackIOContext& context);
    void inputLastSegmentedSlice(const Tokens& tokens, StackIOContext& context);
    void inputLastRegisteredSlice(const Tokens& tokens, StackIOContext& context);
    void inputLengthUnitScale(const Tokens& tokens, StackIOContext& context);
    void inputModel(const Tokens& tokens, StackIOContext& context);
    void inputModelGroup(const Tokens& tokens, StackIOContext& context);
    void inputModelItem(const Tokens& tokens, StackIOContext& context);
    void inputModelItemData(const Tokens& tokens, StackIOContext& context);
    void inputPixAspect(const Tokens& tokens, StackIOContext& context);
    void inputPixHeight(const Tokens& tokens, StackIOContext& context);
    void inputPixWidth(const Tokens& tokens, StackIOContext& context);
    void inputPointSize(const Tokens& tokens, StackIOContext& context);
    void inputPose(const Tokens& tokens, StackIOContext& context);
    void inputPoseRotation(const Tokens& tokens, StackIOContext& context);
    void inputPoseShift(const Tokens& tokens, StackIOContext& context);
    void inputPoseZoom(const Tokens& tokens, StackIOContext& context);
    void inputAmbientLight(const Tokens& tokens, StackIOContext& context);
    void inputDiffuseLight(const Tokens& tokens, StackIOContext& context);
    void inputSpecularLight(const Tokens& tokens, StackIOContext& context);
    void inputPosition(const Tokens& tokens, StackIOContext& context);
    void inputPrimitive(const Tokens& tokens, StackIOContext& context);
    void inputRelPosition(const Tokens& tokens, StackIOContext& context);
    void inputRenderingMode(const Tokens& tokens, StackIOContext& context);
    void inputResampling(const Tokens& tokens, StackIOContext& context);
    void inputRotate(const Tokens& tokens, StackIOContext& context);
    void inputSample(const Tokens& tokens, StackIOContext& context);
    void inputSampleCoords(const Tokens& tokens, StackIOContext& context);
    void inputSampleValue(const Tokens& tokens, StackIOContext& context);
    void inputShift(const Tokens& tokens, StackIOContext& context);
    void inputSliceSize(const Tokens& tokens, StackIOContext& context);
    void inputStack(const Tokens& tokens, StackIOContext& context);
    void inputStandardImage(const Tokens& tokens, StackIOContext& context);
    void inputThickness(const Tokens& tokens, StackIOContext& context);
    void inputTransparency(const Tokens& tokens, StackIOContext& context);
    void inputVertexSymbol(const Tokens& tokens, StackIOContext& context);

    void readText(Stack& stack, std::string_view text, const std::string& name, int error, char* own);
    bool opensObject(Keyword keyword, const Tokens& tokens) const;
    void parseStatement(const Tokens& tokens, StackIOContext& context, std::string_view text);
    void carryOut(Keyword keyword, const Tokens& tokens, StackIOContext& context);
    void openObject(Keyword keyword, const StackIOContext& context, std::string_view text);
    void keepUnread(std::string_view text, Stack& stack);
    void remark(std::string_view statement, const Tokens& tokens, const StackIOContext& context, std::string_view text);
    StackProblem placed(StackProblem problem, const Tokens& tokens, const StackIOContext& context,
                        std::string_view text);
    void noteValue(Keyword keyword, const StackIOContext& context, std::string_view text);
    bool isKnown(Keyword keyword, const Tokens& tokens) const;
    int lineOf(const char* position);
    void renameDuplicates(Stack& stack);
    bool scanOutline(const char*& cursor, const char* end);
    const ImageSourceKind& imageSourceKind(const Tokens& tokens) const;
    ImageStatement imageStatement(const ImageSourceKind& kind, const Tokens& tokens, const StackIOContext& context);
    void beginSlice(const ImageSourceKind& kind, const Tokens& tokens, StackIOContext& context);
    void addToImage(const ImageSourceKind& kind, const Tokens& tokens, StackIOContext& context);
    void addSlice(std::string_view name, const ImageSource& source, StackIOContext& context);
    std::string imagePath(std::string_view file, const StackIOContext& context) const;
    vorlen::StackSlice* findSlice(Stack& stack, const std::string& name);
    Model* findModel(Stack& stack, const std::string& name);

    const std::vector<ImageSourceKind>& __imageSourceKinds;
    /// Names of the stack's slices and models as far as they have been looked at; of slices of one name the
    /// first counts, of models the last.
    std::unordered_map<std::string, vorlen::StackSlice*> __sliceNames;
    std::unordered_map<std::string, Model*> __modelNames;
    const Stack* __indexedStack = nullptr;
    int __numIndexedSlices = 0;
    int __numIndexedModels = 0;
    /// Coordinates of the outline that scanOutline() found; empty when the tokens hold them.
    std::vector<double> __outline;
    /// The object that was opened last, which takes what follows it and can't be read.
    UnreadText* __latest = nullptr;
    /// The last statement that should have made an object has failed.
    bool __lost = false;
    std::unordered_map<const UnreadText*, int> __objectLines;
    std::map<std::pair<const UnreadText*, Keyword>, int> __valueLines;
    bool __notesLines = false;
    std::vector<StackProblem> __remarks;
    /// The line at a place of the text, from which the next is counted on.
    const char* __counted = nullptr;
    int __line = 1;
    bool __whole = true;
    /// Places for parts of images that the rest of the file may still ask for.
    long long __placesLeft = 1 << 20;
};

} // namespace vorlen
