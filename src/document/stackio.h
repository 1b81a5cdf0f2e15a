#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "document/stackproblem.h"
#include "progress/progresssubject.h"

namespace vorlen {

/// What reader and writer of stack description files share: the vocabulary, the version and the log.
///
/// A stack description is a text file with the suffix "sdf", made of statements, each a keyword and arguments, ended by
/// a line with a ";". A keyword may have several spellings; the first is the one that is written. The vocabulary is one
/// constant table for all objects, so that the static lookups need no object to exist.
///
/// Names and annotations may hold characters that would end a statement, a string or a line of the file. Annotations go
/// through exportString() and importString(). What then is left to break a statement (a "#" starts a comment wherever
/// it stands, a leading blank closes its string) is written by protect() as "__X" with two hexadecimal digits and "__";
/// unprotect() undoes it. Text without such characters is written as it is.
class StackIO : public ProgressSubject {
public:
    /// One for each keyword; UNKNOWN stands for any other word.
    enum Keyword {
        Annotation,
        BeginCap,
        BRILLIANCY,
        CALIBRATIONCURVE,
        COLOR,
        ECORENDERING,
        EndCap,
        FileFormatVersion,
        FILLEDIN,
        FIT,
        HIDDEN3D,
        IMAGE,
        ImagesPath,
        AbsoluteImagesPathPolicy,
        LASTSEGMENTEDSLICE,
        LASTREGISTEREDSLICE,
        LengthUnitScale,
        MODEL,
        MODELITEM,
        MODELITEMDATA,
        PIXASPECT,
        PIXHEIGHT,
        PIXWIDTH,
        POINTSIZE,
        POSE,
        POSEROTATION,
        POSESHIFT,
        POSEZOOM,
        AMBIENTLIGHT,
        DIFFUSELIGHT,
        SPECULARLIGHT,
        POSITION,
        PRIMITIVE,
        RELPOSITION,
        RENDERINGMODE,
        RESAMPLING,
        ROTATE,
        SAMPLE,
        SAMPLECOORDS,
        SAMPLEVALUE,
        SHIFT,
        SLICE,
        SliceSize1,
        SliceSize2,
        STACK,
        StackSlice,
        STANDARDIMAGE,
        THICKNESS,
        TRANSPARENCY,
        VERTEXSYMBOL,
        UNKNOWN,
        GREYSCALE, // behind the others, whose numbers stay what they were
        MODELGROUP,
    };

    ~StackIO() override = default;

    void setFileFormatVersion(float version);
    float getFileFormatVersion() const;
    /// Whether the version is at least the given one, within 0.00001.
    bool ensureFileFormatVersion(float version) const;

    /// One message for each problem, in file order. At most maxLogLines of them; one line more says so when there were
    /// more, so that a broken file cannot fill the memory with messages.
    const std::vector<std::string>& getLog() const;
    /// The same for users, with the place that each problem concerns: "... (line 12, model "m", slice "s1")".
    const std::vector<std::string>& getMessages() const { return __messages; }
    /// The same with code and place, for programs.
    const std::vector<StackProblem>& getProblems() const { return __problems; }
    /// Problems that cost the stack an image.
    int getNumFatalErrors() const;

    /// The keyword with this spelling, compared exactly; UNKNOWN for any other word.
    static Keyword getKeyword(const std::string& word);
    /// The spelling that is written; empty for UNKNOWN.
    static std::string getString(Keyword keyword);

    /// Replaces ";" by "__SC__", the newline by "__NL__" and the double quote by "__DQ__".
    static std::string exportString(const std::string& text);
    /// The opposite of exportString().
    static std::string importString(const std::string& text);
    /// Replaces every occurrence of from, which must not be empty, by to; what was put in is not searched again.
    static void replace(std::string& text, const std::string& from, const std::string& to);

    /// Writes "#", double quotes, control characters, and blanks at the beginning as "__Xhh__"; with everyBlank the
    /// blanks behind a blank as well, which the reader would squeeze.
    static std::string protect(const std::string& text, bool everyBlank);
    /// The opposite of protect().
    static std::string unprotect(std::string_view text);

    static constexpr int maxLogLines = 1000;

    /// Comments that the writer puts into a file: that its last line says that it is whole, and that line.
    static constexpr std::string_view wholeFileAnnouncement = "# The last line of a whole file says so.\n";
    static constexpr std::string_view wholeFileMark = "# This file is whole.\n";

protected:
    StackIO() = default;

    void clearLog();
    /// The place goes to the messages and problems alone.
    void log(StackProblem problem);
    /// False when there is no room for another problem, which is then only counted: its place need not be looked for.
    bool logsMore() const { return static_cast<int>(__log.size()) < maxLogLines; }
    void addFatalError();

private:
    using KeywordMap = std::map<Keyword, std::vector<std::string>>;

    static const KeywordMap& __keywordMap();

    std::vector<std::string> __log;
    std::vector<std::string> __messages;
    std::vector<StackProblem> __problems;
    int __numFatalErrors = 0;
    float __fileFormatVersion = 1.03f;
};

} // namespace vorlen
