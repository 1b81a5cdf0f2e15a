#include "python/errors.h"

#include <exception>

#include "numerics/exception.h"

namespace py = pybind11;

namespace vorlen {

namespace {

// Live as long as the interpreter, which does not unload modules.
PyObject* error = nullptr;
PyObject* fileError = nullptr;
PyObject* refusedError = nullptr;

PyObject* newError(py::module_& module, const char* name, const char* text, PyObject* base) {
    PyObject* const made = PyErr_NewExceptionWithDoc((std::string("vorlen.") + name).c_str(), text, base, nullptr);
    if (made == nullptr)
        throw py::error_already_set();
    module.add_object(name, py::handle(made));
    return made;
}

[[noreturn]] void raise(PyObject* type, const std::string& sentence) {
    PyErr_SetString(type, sentence.c_str());
    throw py::error_already_set();
}

std::string withFile(const std::string& file, const std::string& sentence) {
    return file.empty() ? sentence : file + ": " + sentence;
}

void translate(std::exception_ptr thrown) {
    try {
        std::rethrow_exception(std::move(thrown));
    } catch (const FileError& failure) {
        PyErr_SetString(fileError, withFile(failure.getFile(), failure.getWhat()).c_str());
    } catch (const Exception& failure) {
        PyErr_SetString(error, failure.getWhat().c_str());
    }
}

} // namespace

void bindErrors(py::module_& module) {
    error = newError(module, "Error", "What Vorlen could not do, as a sentence.", PyExc_Exception);
    fileError = newError(module, "FileError", "A file that cannot be read or written.", error);
    refusedError =
        newError(module, "RefusedError", "An edit that the stack does not take; nothing has changed.", error);
    py::register_exception_translator(translate);
}

void require(const Outcome& outcome) {
    if (!outcome)
        raise(refusedError, outcome.getReason());
}

void fail(const std::string& sentence) {
    raise(error, sentence);
}

void failOnFile(const std::string& file, const std::string& sentence) {
    raise(fileError, withFile(file, sentence));
}

} // namespace vorlen
