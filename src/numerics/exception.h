#pragma once

#include <iosfwd>
#include <string>

namespace vorlen {

/// Root of the failures of the numeric, image and shape layers.
///
/// Thrown by value. Carries the signature of the operation that failed (where), a sentence for the reader (what) and
/// the numbered signatures of the operations that passed the failure on. Not derived from std::exception: a handler
/// for one family never catches the other by accident.
///
/// Beside the setters, every class of the family has a constructor that takes where and what at once, so that a check
/// stands on one line; the file errors take the file's name as a third argument.
class Exception {
public:
    Exception();
    Exception(const std::string& where, const std::string& what);
    Exception(const Exception&) = default;
    Exception(Exception&&) = default;
    Exception& operator=(const Exception&) = default;
    Exception& operator=(Exception&&) = default;
    virtual ~Exception();

    void setWhere(const std::string& where);
    const std::string& getWhere() const;
    void setWhat(const std::string& what);
    const std::string& getWhat() const;

    /// Adds a line with the next number, from 1, to the call stack. Called by an operation that passes a failure on.
    void addWhere(const std::string& where);
    /// Same as addWhere().
    void addCall(const std::string& where);
    /// The line "[0] " with where, then the added lines. Ends with a newline only when no line was added.
    std::string callStack() const;

private:
    std::string __where;
    std::string __what;
    std::string __callStack;
    int __numCalls = 0;
};

/// Prints what, where and the call stack, and flushes.
std::ostream& operator<<(std::ostream& stream, const Exception& exception);

/// Failure on a file, whose name it carries.
class FileError : public Exception {
public:
    FileError();
    FileError(const std::string& where, const std::string& what, const std::string& file = std::string());

    void setFile(const std::string& file);
    const std::string& getFile() const;

private:
    std::string __file;
};

/// The file's contents are not what its format asks for.
class FileFormatError : public FileError {
public:
    FileFormatError();
    FileFormatError(const std::string& where, const std::string& what, const std::string& file = std::string());
};

/// The file cannot be opened or read.
class FileReadError : public FileError {
public:
    FileReadError();
    FileReadError(const std::string& where, const std::string& what, const std::string& file = std::string());
};

/// The file cannot be created or written.
class FileWriteError : public FileError {
public:
    FileWriteError();
    FileWriteError(const std::string& where, const std::string& what, const std::string& file = std::string());
};

/// A computation has no result, as the inverse of a singular matrix.
class MathError : public Exception {
public:
    MathError();
    MathError(const std::string& where, const std::string& what);
};

/// An assumption of the program itself does not hold.
class ProgramError : public Exception {
public:
    ProgramError();
    ProgramError(const std::string& where, const std::string& what);
};

/// An index or a number lies outside its range.
class RangeError : public Exception {
public:
    RangeError();
    RangeError(const std::string& where, const std::string& what);
};

/// The sizes of operands do not fit.
class SizeError : public Exception {
public:
    SizeError();
    SizeError(const std::string& where, const std::string& what);
};

/// The operation is not offered for this element type.
class TypeError : public Exception {
public:
    TypeError();
    TypeError(const std::string& where, const std::string& what);
};

/// The operation was called on an object that is not prepared for it.
class UsageError : public Exception {
public:
    UsageError();
    UsageError(const std::string& where, const std::string& what);
};

/// The value of an argument is not acceptable.
class ValueError : public Exception {
public:
    ValueError();
    ValueError(const std::string& where, const std::string& what);
};

/// The depth of an image does not suit the operation.
class DepthError : public Exception {
public:
    DepthError();
    DepthError(const std::string& where, const std::string& what);
};

/// The colormap of an image does not suit the operation, or is missing.
class ColormapError : public Exception {
public:
    ColormapError();
    ColormapError(const std::string& where, const std::string& what);
};

} // namespace vorlen
