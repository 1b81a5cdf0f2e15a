#pragma once

#include <string>

#include <pybind11/pybind11.h>

#include "editing/operations/outcome.h"

namespace vorlen {

/// The one family of exceptions of the module: vorlen.Error, and of it vorlen.FileError, for what cannot be read or
/// written, and vorlen.RefusedError, for an edit that a stack does not take, which has then changed nothing.
///
/// What the program's own layers throw arrives as one of these, with the sentence for the reader. Wrong types of
/// arguments are Python's own TypeError, numbers and names that there are not IndexError and KeyError, memory that runs
/// out is MemoryError.
void bindErrors(pybind11::module_& module);

/// Throws vorlen.RefusedError with the reason, unless the operation was done.
void require(const Outcome& outcome);

/// Throws vorlen.Error with this sentence.
[[noreturn]] void fail(const std::string& sentence);

/// Throws vorlen.FileError with this sentence.
[[noreturn]] void failOnFile(const std::string& file, const std::string& sentence);

} // namespace vorlen
