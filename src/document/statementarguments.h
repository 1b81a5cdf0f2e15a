#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "document/stackreader.h"

namespace vorlen {

/// What the handlers of StackReader share: from the words of a statement to values. A word gives the number that it
/// begins with, 0 without one.
namespace statements {

inline bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Where the statement begins in a text that may have empty lines and comments in front of it.
std::size_t statementStart(std::string_view text);

/// The leading decimal number, 0 without one; beyond the range of int its nearest end.
int toInt(std::string_view text);

/// Throws ArgValueError for a negative one.
int toSize(std::string_view text);

/// A coordinate of a vertex, a value of a pose: the leading decimal number within the range of int, 0 without one.
double toCoordinate(std::string_view text);

float toReal(std::string_view text);
double toDouble(std::string_view text);

/// Widths and the like: 0 for what is no number.
float toFinite(std::string_view text);

/// Pixels and decimals of them; 0 for what is no number, and no more than an int holds.
double toShift(std::string_view text);

bool toBool(std::string_view text);

std::string toName(std::string_view text);

/// Throws NumArgsError unless the statement has this many arguments.
void requireArguments(const StackReader::Tokens& tokens, std::size_t number);

/// The directory of a file, "./" for a name without one.
std::string directoryOf(const std::string& fileName);

bool isAbsolute(std::string_view path);

/// Throws ArgValueError for a path that is longer than the system's limit.
void requirePathLength(const std::string& path);

/// The current object of a statement that needs one. Throws ContextError.
template <class T>
T& required(T* object) {
    if (object == nullptr)
        throw StackReader::ContextError();
    return *object;
}

} // namespace statements

} // namespace vorlen
