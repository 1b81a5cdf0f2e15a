#include "document/stackreader.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <string>

#include "document/statementarguments.h"

namespace vorlen {

using namespace statements;

namespace {

/// What stands behind a ";" that is not the last character of the line and not within quotes; empty for nothing.
std::string_view textBehindEnd(std::string_view statement) {
    bool quoted = false;
    for (std::size_t k = 0; k < statement.size(); ++k) {
        quoted = quoted != (statement[k] == '"');
        if (statement[k] != ';' || quoted)
            continue;
        const std::size_t next = statement.find_first_not_of("; ", k);
        return next == statement.npos ? std::string_view() : statement.substr(next);
    }
    return {};
}

/// The same as it stands in the file, where the last character of the line belongs to it, if it is found there.
std::string_view asWritten(std::string_view part, std::string_view text) {
    const std::size_t at = text.rfind(part);
    if (at == text.npos)
        return part;
    const std::string_view rest = text.substr(at);
    return rest.substr(0, std::max(part.size(), rest.find_first_of(";\r\n", part.size())));
}

/// The line of a statement of which a comment takes more than itself; empty for none.
std::string_view lineThatCommentCuts(std::string_view text) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const std::size_t hash = line.find('#');
        if (hash == line.npos || hash == 0)
            continue;
        const std::string_view before = line.substr(0, hash);
        if (!isSpace(before.back()) || std::count(before.begin(), before.end(), '"') % 2 != 0)
            return line;
    }
    return {};
}

/// Whether all of it is one number.
bool isNumber(std::string_view text) {
    if (text.starts_with('+'))
        text.remove_prefix(1);
    double value = 0;
    const std::from_chars_result found = std::from_chars(text.data(), text.data() + text.size(), value);
    return found.ec != std::errc::invalid_argument && found.ptr == text.data() + text.size();
}

bool isVertex(std::string_view text) {
    const std::size_t comma = text.find(',');
    return comma == text.npos || // which is an error of its own
           (isNumber(text.substr(0, comma)) && isNumber(text.substr(comma + 1)));
}

bool takesNumbers(StackIO::Keyword keyword) {
    static const std::set<StackIO::Keyword> all = {
        StackIO::FileFormatVersion, StackIO::LengthUnitScale, StackIO::PIXASPECT,
        StackIO::PIXWIDTH,          StackIO::PIXHEIGHT,       StackIO::RELPOSITION,
        StackIO::POSITION,          StackIO::ROTATE,          StackIO::SHIFT,
        StackIO::SliceSize1,        StackIO::SliceSize2,      StackIO::BRILLIANCY,
        StackIO::TRANSPARENCY,      StackIO::RESAMPLING,      StackIO::COLOR,
        StackIO::POINTSIZE,         StackIO::THICKNESS,       StackIO::POSEROTATION,
        StackIO::POSESHIFT,         StackIO::POSEZOOM,        StackIO::AMBIENTLIGHT,
        StackIO::DIFFUSELIGHT,      StackIO::SPECULARLIGHT};
    return all.count(keyword) != 0;
}

} // namespace

/// Notes what a reader of the file would take otherwise. To be asked before the statement is carried out.
void StackReader::remark(std::string_view statement, const Tokens& tokens, const StackIOContext& context,
                         std::string_view text) {
    if (tokens.empty() || int(__remarks.size()) > maxLogLines)
        return;
    const auto note = [&](ProblemCode code, const std::string& message) {
        __remarks.push_back(placed({code, message}, tokens, context, text));
    };
    if (const std::string_view behind = textBehindEnd(statement); !behind.empty())
        return note(ProblemCode::TextBehindEnd, "\"" + std::string(asWritten(behind, text).substr(0, 80)) +
                                                    "\" stands behind a \";\" on the same line: it is read as a part "
                                                    "of the statement in front of it.");
    if (const std::string_view line = lineThatCommentCuts(text); !line.empty())
        return note(ProblemCode::CommentCuts, "The comment in \"" + std::string(line.substr(0, 80)) +
                                                  "\" takes a part of the statement with it.");
    const Keyword keyword = getKeyword(std::string(tokens.front()));
    const bool vertices = keyword == MODELITEMDATA;
    if (!vertices && !takesNumbers(keyword))
        return;
    const auto cut = std::find_if(tokens.begin() + 1, tokens.end(), [&](std::string_view token) {
        return vertices ? !isVertex(token) : !isNumber(token);
    });
    if (cut != tokens.end())
        note(ProblemCode::NumberCut, "\"" + std::string(cut->substr(0, 80)) +
                                         (vertices ? "\" is no pair of numbers" : "\" is no number") +
                                         ": what it begins with counts, or 0.");
}

} // namespace vorlen
