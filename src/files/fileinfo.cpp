#include "files/fileinfo.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "files/stringtools.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

std::vector<std::string> resolvedTokens(const std::string& path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path.empty() ? "." : path, error);
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(absolute, error);
    return FileInfo::tokenize(error ? absolute.string() : resolved.string());
}

} // namespace

FileInfo::FileInfo(const std::string& path) : __path(path) {
}

bool FileInfo::fileExists() const {
    return fileExists(__path);
}

std::string FileInfo::fileName() const {
    return fileName(__path);
}

std::string FileInfo::baseName() const {
    return baseName(__path);
}

std::string FileInfo::suffixName() const {
    return suffixName(__path);
}

std::string FileInfo::dirName() const {
    return dirName(__path);
}

bool FileInfo::isAbsolutePath() const {
    return isAbsolutePath(__path);
}

bool FileInfo::isRelativePath() const {
    return isRelativePath(__path);
}

bool FileInfo::fileExists(const std::string& path) {
    // Not blocking, so that a pipe without a writer does not hold the program.
    const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (file < 0)
        return false;
    ::close(file);
    return true;
}

bool FileInfo::isSpecial(const std::string& path) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    return std::filesystem::exists(status) && !std::filesystem::is_regular_file(status);
}

void FileInfo::requireFree(const std::string& path, const std::string& where, const std::string& what) {
    if (isTaken(path))
        throw FileWriteError(where, what, path);
}

bool FileInfo::isTaken(const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(std::filesystem::symlink_status(path, error));
}

std::string FileInfo::fileName(const std::string& path) {
    const std::size_t separator = path.rfind('/');
    return separator == std::string::npos ? path : path.substr(separator + 1);
}

std::string FileInfo::baseName(const std::string& path) {
    const std::string name = fileName(path);
    return name.substr(0, name.rfind('.'));
}

std::string FileInfo::suffixName(const std::string& path) {
    const std::string name = fileName(path);
    const std::size_t point = name.rfind('.');
    return point == std::string::npos ? std::string() : name.substr(point + 1);
}

std::string FileInfo::dirName(const std::string& path) {
    const std::size_t separator = path.rfind('/');
    return separator == std::string::npos ? std::string() : path.substr(0, separator + 1);
}

bool FileInfo::isAbsolutePath(const std::string& path) {
    return !path.empty() && path[0] == '/';
}

bool FileInfo::isRelativePath(const std::string& path) {
    return !isAbsolutePath(path);
}

std::vector<std::string> FileInfo::tokenize(const std::string& path) {
    return simplifyPath(StringTools::tokenize(path, "/"));
}

std::string FileInfo::detokenize(const std::vector<std::string>& tokens) {
    const bool isRooted = !tokens.empty() && tokens[0] != "." && tokens[0] != "..";
    std::string path(isRooted ? 1 : 0, '/');
    for (const std::string& token : tokens)
        path += token + "/";
    return path;
}

std::vector<std::string> FileInfo::simplifyPath(const std::vector<std::string>& tokens) {
    std::vector<std::string> result;
    for (const std::string& token : tokens) {
        if (token == ".")
            continue;
        if (token == ".." && !result.empty() && result.back() != "..")
            result.pop_back();
        else
            result.push_back(token);
    }
    return result;
}

std::string FileInfo::simplifyPath(const std::string& path) {
    return detokenize(tokenize(path));
}

std::string FileInfo::relativePath(const std::string& from, const std::string& to) {
    if (!to.empty() && isRelativePath(to))
        return to;
    const std::vector<std::string> fromTokens = resolvedTokens(from);
    const std::vector<std::string> toTokens = resolvedTokens(to);
    const auto [fromRest, toRest] =
        std::mismatch(fromTokens.begin(), fromTokens.end(), toTokens.begin(), toTokens.end());
    std::string path;
    for (auto token = fromRest; token != fromTokens.end(); ++token)
        path += "../";
    for (auto token = toRest; token != toTokens.end(); ++token)
        path += *token + "/";
    return path;
}

} // namespace vorlen
