#include "cli/elasticrun.h"

#include <cmath>
#include <iostream>

#include "cli/commands.h"
#include "cli/consolemonitor.h"
#include "cli/interruption.h"
#include "cli/jsonwriter.h"
#include "cli/outputformat.h"
#include "cli/stackfile.h"
#include "cli/texttable.h"
#include "document/stack.h"
#include "progress/progresssubject.h"

namespace vorlen {

namespace {

/// Fields of an earlier run, with what can be told of them without looking at images.
ElasticAlignment alignmentOf(const Stack& stack, std::vector<ElasticField> fields) {
    ElasticAlignment result;
    for (int i = 0; i < stack.getNumSlices(); ++i) {
        const ElasticField& field = fields[std::size_t(i)];
        const double pixel = stack.getSlice(i).getPixelCalibration().getPixelWidth();
        SliceBending one;
        one.name = stack.getSlice(i).getName();
        one.bent = !field.isNull();
        one.rms = field.rms() / (pixel > 0 ? pixel : 1);
        one.greatest = field.greatest() / (pixel > 0 ? pixel : 1);
        result.slices.push_back(one);
    }
    result.fields = std::move(fields);
    return result;
}

} // namespace

int bendByRequest(const std::string& stackFile, Stack& stack, const ElasticRequest& request,
                  const std::string& directory, const std::string& base, bool overwrite, ElasticAlignment& result) {
    const std::string fieldFile = directory + "/" + base + ".fields";
    if (!mayWrite(fieldFile, overwrite))
        return ExitFileError;
    ConsoleMonitor terminal;
    ProgressSubject progress;
    progress.addMonitor(terminal);
    Interruption interruption;
    progress.addMonitor(interruption);
    if (request.fields.empty()) {
        if (const Outcome good = checkElasticOptions(stack, request.options); !good) {
            std::cerr << "vorlen-cli: " << stackFile << ": " << good.getReason() << '\n';
            return ExitProblems;
        }
        result = findElasticAlignment(stack, request.options, progress);
    } else
        result = alignmentOf(stack, loadElasticFields(request.fields, stack));
    for (const SliceBending& one : result.slices)
        if (!one.reason.empty())
            std::cerr << "vorlen-cli: " << stackFile << ": slice \"" << one.name << "\" is not bent: " << one.reason
                      << '\n';
    const auto endIfInterrupted = [&] {
        if (!interruption.hasCome())
            return;
        std::cerr << "vorlen-cli: " << stackFile << ": interrupted, no stack is written\n";
        interruption.end();
    };
    endIfInterrupted();
    if (const Outcome bent = bendStack(stack, result.fields, directory, base, overwrite, progress); !bent) {
        endIfInterrupted();
        std::cerr << "vorlen-cli: " << stackFile << ": " << bent.getReason() << '\n';
        return ExitProblems;
    }
    saveElasticFields(fieldFile, stack, result.fields, overwrite);
    return ExitGood;
}

TextTable elasticTable(const ElasticAlignment& result, bool full) {
    const auto number = [full](double value) {
        return full ? fullNumber(value) : shortNumber(std::round(value * 1e4) / 1e4);
    };
    TextTable table(
        {"Slice", "Bent", "RMS [pixel]", "Greatest [pixel]", "Blocks", "ScoreBefore", "ScoreAfter", "Reason"});
    for (const SliceBending& one : result.slices)
        table.addRow({one.name, one.bent ? "yes" : "no", number(one.rms), number(one.greatest),
                      std::to_string(one.numBlocks), number(one.scoreBefore), number(one.scoreAfter), one.reason});
    return table;
}

void writeElasticJson(JsonWriter& json, const ElasticAlignment& result) {
    json.key("elastic");
    json.beginArray();
    for (const SliceBending& one : result.slices) {
        json.beginObject();
        json.member("name", one.name);
        json.member("bent", one.bent);
        json.member("reason", one.reason);
        json.member("rms", one.rms);
        json.member("greatest", one.greatest);
        json.member("blocks", one.numBlocks);
        json.member("scoreBefore", one.scoreBefore);
        json.member("scoreAfter", one.scoreAfter);
        json.endObject();
    }
    json.endArray();
}

} // namespace vorlen
