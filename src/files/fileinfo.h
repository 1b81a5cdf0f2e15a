#pragma once

#include <string>
#include <vector>

namespace vorlen {

/// Parts of a path, and operations on paths. The separator is "/". Only fileExists(), requireFree(),
/// isTaken() and relativePath() look at the file system.
class FileInfo {
public:
    explicit FileInfo(const std::string& path);

    bool fileExists() const;
    std::string fileName() const;
    std::string baseName() const;
    std::string suffixName() const;
    std::string dirName() const;
    bool isAbsolutePath() const;
    bool isRelativePath() const;

    /// Whether the file, or directory, opens for reading.
    static bool fileExists(const std::string& path);

    /// Whether there is something of this name that is no ordinary file, such as a directory or a pipe: to read one
    /// might last for ever.
    static bool isSpecial(const std::string& path);
    /// Throws FileWriteError with this place and sentence when a file that may not be overwritten has the name, be it
    /// one that cannot be read, or a link that leads nowhere.
    static void requireFree(const std::string& path, const std::string& where,
                            const std::string& what = "File already exists");
    /// Whether requireFree() throws.
    static bool isTaken(const std::string& path);
    /// What follows the last separator; empty for a path that ends in one.
    static std::string fileName(const std::string& path);
    /// File name up to its last point.
    static std::string baseName(const std::string& path);
    /// What follows the last point of the file name; empty if there is none.
    static std::string suffixName(const std::string& path);
    /// Path up to and with the last separator; empty if there is none.
    static std::string dirName(const std::string& path);
    /// Whether the path starts with a separator.
    static bool isAbsolutePath(const std::string& path);
    static bool isRelativePath(const std::string& path);

    /// Names between the separators, simplified.
    static std::vector<std::string> tokenize(const std::string& path);
    /// Path of the tokens: a separator first, unless the first token is "." or "..", and one behind each token. Empty
    /// for no tokens.
    static std::string detokenize(const std::vector<std::string>& tokens);
    /// Drops each "." and each ".." together with the name before it.
    static std::vector<std::string> simplifyPath(const std::vector<std::string>& tokens);
    /// Path of the simplified tokens, in the form of detokenize().
    static std::string simplifyPath(const std::string& path);
    /// Way from directory from to directory to, ending in a separator; empty when they are the same. A relative to is
    /// returned as it stands. Links are followed as far as the paths exist; the rest is taken by its text. An empty
    /// path is the working directory.
    static std::string relativePath(const std::string& from, const std::string& to);

private:
    std::string __path;
};

} // namespace vorlen
