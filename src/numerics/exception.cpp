#include "numerics/exception.h"

#include <ostream>

namespace vorlen {

Exception::Exception() : __what("Undocumented error") {
}

Exception::Exception(const std::string& where, const std::string& what) : __where(where), __what(what) {
}

Exception::~Exception() = default;

void Exception::setWhere(const std::string& where) {
    __where = where;
}

const std::string& Exception::getWhere() const {
    return __where;
}

void Exception::setWhat(const std::string& what) {
    __what = what;
}

const std::string& Exception::getWhat() const {
    return __what;
}

void Exception::addWhere(const std::string& where) {
    ++__numCalls;
    if (__numCalls > 1)
        __callStack += '\n';
    __callStack.append("[").append(std::to_string(__numCalls)).append("] ").append(where);
}

void Exception::addCall(const std::string& where) {
    addWhere(where);
}

std::string Exception::callStack() const {
    return "[0] " + __where + "\n" + __callStack;
}

std::ostream& operator<<(std::ostream& stream, const Exception& exception) {
    return stream << "Exception raised:" << std::endl
                  << "  What: " << exception.getWhat() << std::endl
                  << "  Where: " << exception.getWhere() << std::endl
                  << "  " << exception.callStack() << std::endl;
}

FileError::FileError() {
    setWhat("Undocumented file error");
}

FileError::FileError(const std::string& where, const std::string& what, const std::string& file)
    : Exception(where, what), __file(file) {
}

void FileError::setFile(const std::string& file) {
    __file = file;
}

const std::string& FileError::getFile() const {
    return __file;
}

FileFormatError::FileFormatError() {
    setWhat("Undocumented file format error");
}

FileFormatError::FileFormatError(const std::string& where, const std::string& what, const std::string& file)
    : FileError(where, what, file) {
}

FileReadError::FileReadError() {
    setWhat("Undocumented file read error");
}

FileReadError::FileReadError(const std::string& where, const std::string& what, const std::string& file)
    : FileError(where, what, file) {
}

FileWriteError::FileWriteError() {
    setWhat("Undocumented file write error");
}

FileWriteError::FileWriteError(const std::string& where, const std::string& what, const std::string& file)
    : FileError(where, what, file) {
}

MathError::MathError() {
    setWhat("Undocumented mathematical error");
}

MathError::MathError(const std::string& where, const std::string& what) : Exception(where, what) {
}

ProgramError::ProgramError() {
    setWhat("Undocumented program error");
}

ProgramError::ProgramError(const std::string& where, const std::string& what) : Exception(where, what) {
}

RangeError::RangeError() {
    setWhat("Undocumented range error");
}

RangeError::RangeError(const std::string& where, const std::string& what) : Exception(where, what) {
}

SizeError::SizeError() {
    setWhat("Undocumented size error");
}

SizeError::SizeError(const std::string& where, const std::string& what) : Exception(where, what) {
}

TypeError::TypeError() {
    setWhat("Undocumented type error");
}

TypeError::TypeError(const std::string& where, const std::string& what) : Exception(where, what) {
}

UsageError::UsageError() {
    setWhat("Undocumented usage error");
}

UsageError::UsageError(const std::string& where, const std::string& what) : Exception(where, what) {
}

ValueError::ValueError() {
    setWhat("Undocumented value error");
}

ValueError::ValueError(const std::string& where, const std::string& what) : Exception(where, what) {
}

DepthError::DepthError() {
    setWhat("Image depth error");
}

DepthError::DepthError(const std::string& where, const std::string& what) : Exception(where, what) {
}

ColormapError::ColormapError() {
    setWhat("Colormap error");
}

ColormapError::ColormapError(const std::string& where, const std::string& what) : Exception(where, what) {
}

} // namespace vorlen
