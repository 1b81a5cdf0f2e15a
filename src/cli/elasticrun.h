#pragma once

#include <string>

#include "editing/operations/elasticalignment.h"

namespace vorlen {

class JsonWriter;
class TextTable;

/// The bending of slices as the command line asks for it.
struct ElasticRequest {
    bool wanted = false;
    std::string fields; ///< a file of an earlier run to take instead of looking; empty for none
    ElasticOptions options;
};

/// Bends the stack and writes its images and its fields into the directory, under this base name, with words about
/// slices that are left as they are. An exit status.
int bendByRequest(const std::string& stackFile, Stack& stack, const ElasticRequest& request,
                  const std::string& directory, const std::string& base, bool overwrite, ElasticAlignment& result);

TextTable elasticTable(const ElasticAlignment& result, bool full);

/// The member "elastic": a list with an object for each slice.
void writeElasticJson(JsonWriter& json, const ElasticAlignment& result);

} // namespace vorlen
