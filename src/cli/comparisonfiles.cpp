#include "cli/comparisonfiles.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "cli/jsonwriter.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr const char* formatName = "vorlen permutation maxima";

std::vector<float> floats(const QJsonValue& value) {
    std::vector<float> result;
    const QJsonArray array = value.toArray();
    result.reserve(std::size_t(array.size()));
    for (const auto& each : array)
        result.push_back(float(each.toDouble()));
    return result;
}

void writeFloats(JsonWriter& json, const std::string& name, const std::vector<float>& values) {
    json.key(name);
    json.beginArray();
    for (const float value : values)
        json.value(double(value));
    json.endArray();
}

} // namespace

void writeMaxima(std::ostream& stream, const ComparisonKey& key, const PermutationMaxima& maxima) {
    JsonWriter json(stream);
    json.beginObject();
    json.member("format", std::string(formatName));
    json.member("statistic", key.statistic);
    json.member("inputs", key.inputs);
    json.member("seed", std::to_string(key.seed));
    json.member("permutations", double(key.permutations));
    json.member("clusterThreshold", double(key.clusterThreshold));
    json.member("first", double(maxima.first));
    writeFloats(json, "maxima", maxima.statistics);
    writeFloats(json, "masses", maxima.masses);
    json.endObject();
    stream << '\n';
}

PermutationMaxima readMaxima(const std::string& file, const ComparisonKey& key) {
    const char* const where = "PermutationMaxima readMaxima(const string&, const ComparisonKey&)";
    QFile input(QFile::decodeName(file.c_str()));
    if (!input.open(QIODevice::ReadOnly))
        throw FileReadError(where, "Cannot open file for reading", file);
    const QJsonObject object = QJsonDocument::fromJson(input.readAll()).object();
    if (object.value("format").toString() != formatName)
        throw FileReadError(where, "This is no part of a comparison", file);
    ComparisonKey found;
    found.statistic = object.value("statistic").toString().toStdString();
    found.inputs = object.value("inputs").toString().toStdString();
    found.seed = object.value("seed").toString().toULongLong();
    found.permutations = std::uint64_t(object.value("permutations").toDouble());
    found.clusterThreshold = float(object.value("clusterThreshold").toDouble());
    if (!(found == key))
        throw UsageError(where, file + " is a part of another comparison: its inputs or options differ");
    PermutationMaxima maxima;
    maxima.first = std::uint64_t(object.value("first").toDouble());
    maxima.statistics = floats(object.value("maxima"));
    maxima.masses = floats(object.value("masses"));
    return maxima;
}

} // namespace vorlen
