#include "images/files/tifffile.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <unistd.h>

namespace vorlen {

namespace {

const char* const CLIENT_NAME = "vorlen";

int keepError(TIFF*, void* target, const char*, const char* format, va_list arguments) {
    std::string& firstError = *static_cast<std::string*>(target);
    if (firstError.empty()) {
        char text[256];
        std::vsnprintf(text, sizeof text, format, arguments);
        firstError = text;
        while (!firstError.empty() && (firstError.back() == '.' || firstError.back() == '\n'))
            firstError.pop_back();
    }
    return 1;
}

int dropWarning(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

std::string inBrackets(const std::string& text) {
    return text.empty() ? text : " (" + text + ")";
}

} // namespace

TIFFOpenOptions* TiffFile::makeOptions() {
    static std::once_flag silenced;
    std::call_once(silenced, [] {
        TIFFSetWarningHandler(nullptr);
        TIFFSetErrorHandler(nullptr);
    });
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (options != nullptr) {
        TIFFOpenOptionsSetErrorHandlerExtR(options, keepError, &__firstError);
        TIFFOpenOptionsSetWarningHandlerExtR(options, dropWarning, nullptr);
    }
    return options;
}

TiffFile::TiffFile(const std::string& filename) {
    TIFFOpenOptions* options = makeOptions();
    if (options == nullptr)
        return;
    std::error_code error;
    const std::uintmax_t length = std::filesystem::file_size(filename, error);
    const std::uintmax_t floor = std::uintmax_t(300) << 20; // a picture that is believed in one strip, and some more
    const std::uintmax_t limit = error ? floor : floor + 64 * length;
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, static_cast<tmsize_t>(limit));
    // Without mapping ("m"): a file that another program cuts while it is read would end this one.
    __tiff = TIFFOpenExt(filename.c_str(), "rm", options);
    TIFFOpenOptionsFree(options);
    if (__tiff != nullptr)
        TIFFSetClientInfo(__tiff, &__firstError, CLIENT_NAME);
}

TiffFile::TiffFile(int descriptor, const std::string& filename, bool big) {
    const int duplicate = ::dup(descriptor);
    TIFFOpenOptions* options = makeOptions();
    if (options != nullptr) {
        __tiff = TIFFFdOpenExt(duplicate, filename.c_str(), big ? "w8" : "w", options);
        TIFFOpenOptionsFree(options);
    }
    if (__tiff != nullptr)
        TIFFSetClientInfo(__tiff, &__firstError, CLIENT_NAME);
    else
        ::close(duplicate);
}

TiffFile::~TiffFile() {
    close();
}

void TiffFile::close() {
    if (__tiff != nullptr)
        TIFFClose(__tiff);
    __tiff = nullptr;
}

std::string TiffFile::reason(TIFF* tiff) {
    const void* info = TIFFGetClientInfo(tiff, CLIENT_NAME);
    return info != nullptr ? inBrackets(*static_cast<const std::string*>(info)) : std::string();
}

std::string TiffFile::reason() const {
    return inBrackets(__firstError);
}

} // namespace vorlen
