#include "document/stackreader.h"

#include <algorithm>
#include <set>
#include <string>
#include <unordered_set>

#include "document/calibrationcurve.h"
#include "document/model.h"
#include "document/modelitem.h"
#include "document/pose.h"
#include "document/stack.h"
#include "document/stackslice.h"
#include "document/standardimage.h"
#include "document/standardsample.h"
#include "document/statementarguments.h"
#include "document/uniquenames.h"

namespace vorlen {

using namespace statements;

/// Notes the object that a statement has just made.
void StackReader::openObject(Keyword keyword, const StackIOContext& context, std::string_view text) {
    __lost = false;
    switch (keyword) {
    case MODEL:
        __latest = context.getModel();
        break;
    case MODELITEM:
        __latest = context.getItem();
        break;
    case POSE:
        __latest = context.getPose();
        break;
    case STANDARDIMAGE:
        __latest = context.getStandardImage();
        break;
    case CALIBRATIONCURVE:
        if (context.getStandardImage() != nullptr)
            __latest = context.getCalibrationCurve();
        break;
    case SAMPLE:
        __latest = context.getSample();
        break;
    default:
        __latest = context.getSlice();
    }
    if (__notesLines)
        __objectLines[__latest] = lineOf(text.data() + statementStart(text));
}

void StackReader::noteValue(Keyword keyword, const StackIOContext& context, std::string_view text) {
    static const std::set<Keyword> noted = {PIXWIDTH, PIXHEIGHT, PIXASPECT, POSITION, RELPOSITION, ROTATE};
    if (noted.count(keyword) == 0)
        return;
    const UnreadText* object = context.getSlice();
    if (object == nullptr)
        object = context.getStack();
    __valueLines[{object, keyword}] = lineOf(text.data() + statementStart(text));
}

int StackReader::lineOf(const UnreadText& object, Keyword keyword) const {
    const auto found = __valueLines.find({&object, keyword});
    return found == __valueLines.end() ? 0 : found->second;
}

int StackReader::lineOf(const UnreadText& object) const {
    const auto found = __objectLines.find(&object);
    return found == __objectLines.end() ? 0 : found->second;
}

/// The line of a place that is not before the one asked for last.
int StackReader::lineOf(const char* position) {
    __line += static_cast<int>(std::count(__counted, position, '\n'));
    __counted = position;
    return __line;
}

void StackReader::keepUnread(std::string_view text, Stack& stack) {
    std::string kept(text.substr(statementStart(text)));
    if (kept.empty() || kept.back() != '\n')
        kept += '\n';
    (__lost ? stack.unreadObjects() : *__latest).appendUnreadText(kept);
}

/// The problem with where the statement stands and what it concerns.
StackProblem StackReader::placed(StackProblem problem, const Tokens& tokens, const StackIOContext& context,
                                 std::string_view text) {
    if (!tokens.empty() && getKeyword(std::string(tokens.front())) == MODELITEM) {
        problem.model = tokens.size() > 1 ? toName(tokens[1]) : "";
        problem.slice = tokens.size() > 2 ? toName(tokens[2]) : "";
    } else if (!__lost && context.getItem() != nullptr) {
        problem.model = context.getItem()->getModel()->getName();
        problem.slice = context.getItem()->getSlice()->getName();
    } else if (!__lost && context.getModel() != nullptr) {
        problem.model = context.getModel()->getName();
    } else if (!__lost && context.getSlice() != nullptr) {
        problem.slice = context.getSlice()->getName();
    }
    problem.line = lineOf(text.data() + statementStart(text));
    return problem;
}

/// Gives slices and models of one name names of their own, since the outlines of a file find theirs by name.
void StackReader::renameDuplicates(Stack& stack) {
    // Later ones keep out of the way of names that stand further down.
    UniqueNames sliceNames, modelNames;
    std::unordered_set<std::string> seen;
    for (int i = 0; i < stack.getNumSlices(); ++i)
        if (seen.insert(stack.getSlice(i).getName()).second)
            sliceNames.take(stack.getSlice(i).getName());
    seen.clear();
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        vorlen::StackSlice& slice = stack.getSlice(i);
        const std::string old = slice.getName();
        if (seen.insert(old).second)
            continue;
        slice.setName(sliceNames.take(old));
        log({ProblemCode::SliceNameDuplicate,
             "Two slices are named \"" + old + "\": slice " + std::to_string(i + 1) + " is now \"" + slice.getName() +
                 "\". The file does not tell the outlines of the two apart: all stand on the first.",
             lineOf(slice), "", slice.getName()});
    }
    seen.clear();
    for (int i = 0; i < stack.getNumModels(); ++i)
        if (seen.insert(stack.getModel(i).getName()).second)
            modelNames.take(stack.getModel(i).getName());
    seen.clear();
    for (int i = 0; i < stack.getNumModels(); ++i) {
        Model& model = stack.getModel(i);
        const std::string old = model.getName();
        if (seen.insert(old).second)
            continue;
        model.setName(modelNames.take(old));
        log({ProblemCode::ModelNameDuplicate,
             "Two models are named \"" + old + "\": model " + std::to_string(i + 1) + " is now \"" + model.getName() +
                 "\".",
             lineOf(model), model.getName()});
    }
}

} // namespace vorlen
