#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorlen {

/// The folder in which reduced images of large sections are kept from one run of a program to the next.
///
/// The levels of a picture are a folder of TIFF files, "0.tif" and so on, the largest first. They are found again by
/// what they were made of: the file's path, its length and time of change, page and channel. A folder is written
/// under another name and takes its own when all is in it, so that what is found is whole. What was not used for the
/// longest time goes when the store takes up more bytes than its limit.
///
/// Several programs may use a store at once. What another one deletes in the meantime is made again.
class LevelStore {
public:
    static constexpr std::uint64_t defaultLimit = std::uint64_t(8) << 30;

    /// "vorlen/levels" in XDG_CACHE_HOME, or in ".cache" of the home directory where that is unset, empty or no
    /// absolute path. Empty without a home directory: nothing is kept then.
    static std::string defaultFolder();

    explicit LevelStore(const std::string& folder = defaultFolder(), std::uint64_t limit = defaultLimit);

    const std::string& getFolder() const { return __folder; }
    std::uint64_t getLimit() const { return __limit; }

    /// The files of the levels that were made of a picture, page and channel as ImageReader counts them; none where
    /// there are none. They count as used now.
    std::vector<std::string> find(const std::string& filename, int page, int channel) const;

    /// A new, empty folder to write the levels to. Throws FileWriteError where there can be none.
    std::string beginLevels() const;
    /// Gives the folder that beginLevels() made its place, as the levels of the picture as it was when its identity was
    /// taken, and makes room. Throws FileWriteError.
    void endLevels(const std::string& folder, const std::string& identity) const;
    static void dropLevels(const std::string& folder);

    /// What the levels of a picture are found by; empty for a file that there is not.
    static std::string identityOf(const std::string& filename, int page, int channel);

    /// Bytes of all that is kept.
    std::uint64_t size() const;
    /// Deletes all that is kept.
    void clear() const;

private:
    std::string folderOf(const std::string& identity) const;
    void makeRoom(const std::string& kept) const;

    std::string __folder;
    std::uint64_t __limit;
};

} // namespace vorlen
