#pragma once

#include <string>

namespace vorlen {

/// Prompts for the console: each writes "<Input> ", the text and ": " to the standard output and reads one line from
/// the standard input. A line that is no number of the kind asked for is asked for again. The end of the input throws
/// FileReadError.
std::string ask4string(const std::string& text);
int ask4int(const std::string& text);
unsigned int ask4uint(const std::string& text);
float ask4float(const std::string& text);

} // namespace vorlen
