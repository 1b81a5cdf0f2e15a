#pragma once

#include "numerics/exception.h"

#include <string>

/// One-line raising of the error family in the image layer: the place, the sentence and, for file errors, the file.
namespace ImageErrors {

template <class Error>
[[noreturn]] void raise(const std::string& where, const std::string& what) {
    Error error;
    error.setWhere(where);
    error.setWhat(what);
    throw error;
}

template <class Error>
[[noreturn]] void raiseFile(const std::string& where, const std::string& what, const std::string& file) {
    Error error;
    error.setWhere(where);
    error.setWhat(what);
    error.setFile(file);
    throw error;
}

} // namespace ImageErrors
