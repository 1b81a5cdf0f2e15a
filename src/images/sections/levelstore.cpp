#include "images/sections/levelstore.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include <sys/stat.h>

#include "numerics/exception.h"

namespace vorlen {

namespace {

namespace files = std::filesystem;

const char* const identityName = "picture";
const char* const unfinished = ".part-";

/// Sixteen digits (Fowler, Noll and Vo's hash 1a). The identity itself is compared besides.
std::string digest(const std::string& text) {
    std::uint64_t hash = 14695981039346656037u;
    for (const char character : text)
        hash = (hash ^ static_cast<unsigned char>(character)) * 1099511628211u;
    std::string digits;
    for (int shift = 60; shift >= 0; shift -= 4)
        digits += "0123456789abcdef"[hash >> shift & 15];
    return digits;
}

std::uint64_t bytesIn(const files::path& folder) {
    std::uint64_t sum = 0;
    std::error_code error;
    for (files::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        if (entry->is_regular_file(ignored))
            if (const std::uintmax_t length = entry->file_size(ignored); !ignored)
                sum += length;
    }
    return sum;
}

std::string contentsOf(const files::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Whether a name is one that a store gives: other things in its folder stay as they are.
bool isLevels(const std::string& name) {
    return name.find_first_not_of("0123456789abcdef") == 16 ? name.compare(16, 6, unfinished) == 0 : name.size() == 16;
}

[[noreturn]] void fail(const std::string& folder, const std::string& reason) {
    throw FileWriteError("LevelStore::beginLevels()", "Cannot keep reduced images (" + reason + ")", folder);
}

} // namespace

std::string LevelStore::defaultFolder() {
    const auto variable = [](const char* name) {
        const char* const value = std::getenv(name);
        return files::path(value != nullptr ? value : "");
    };
    files::path base = variable("XDG_CACHE_HOME");
    if (!base.is_absolute()) {
        base = variable("HOME");
        if (!base.is_absolute())
            return {};
        base /= ".cache";
    }
    return (base / "vorlen" / "levels").string();
}

LevelStore::LevelStore(const std::string& folder, std::uint64_t limit) : __folder(folder), __limit(limit) {
}

std::string LevelStore::identityOf(const std::string& filename, int page, int channel) {
    std::error_code error;
    const files::path path = files::canonical(filename, error);
    struct stat status {};
    if (error || ::stat(path.c_str(), &status) != 0)
        return {};
    // The first number tells how levels are made and written.
    return "1\n" + path.string() + '\n' + std::to_string(status.st_size) + '\n' +
           std::to_string(status.st_mtim.tv_sec) + '.' + std::to_string(status.st_mtim.tv_nsec) + '\n' +
           std::to_string(page) + '\n' + std::to_string(channel) + '\n';
}

std::string LevelStore::folderOf(const std::string& identity) const {
    return (files::path(__folder) / digest(identity)).string();
}

std::vector<std::string> LevelStore::find(const std::string& filename, int page, int channel) const {
    std::vector<std::string> levels;
    const std::string identity = identityOf(filename, page, channel);
    if (__folder.empty() || identity.empty())
        return levels;
    const files::path folder = folderOf(identity);
    if (contentsOf(folder / identityName) != identity)
        return levels;
    std::error_code error;
    for (int i = 0; files::is_regular_file(folder / (std::to_string(i) + ".tif"), error); ++i)
        levels.push_back((folder / (std::to_string(i) + ".tif")).string());
    files::last_write_time(folder, files::file_time_type::clock::now(), error);
    return levels;
}

std::string LevelStore::beginLevels() const {
    if (__folder.empty())
        fail(__folder, "there is no home directory");
    std::error_code error;
    files::create_directories(__folder, error);
    if (error)
        fail(__folder, error.message());
    std::string pattern = (files::path(__folder) / (std::string(16, '0') + unfinished + "XXXXXX")).string();
    if (::mkdtemp(pattern.data()) == nullptr)
        fail(__folder, std::error_code(errno, std::generic_category()).message());
    return pattern;
}

void LevelStore::endLevels(const std::string& folder, const std::string& identity) const {
    std::ofstream stream(files::path(folder) / identityName, std::ios::binary);
    stream << identity;
    stream.close();
    if (!stream)
        fail(folder, "the disk may be full");
    const std::string place = folderOf(identity);
    std::error_code error;
    files::rename(folder, place, error);
    if (error) { // what stands there is of another picture, or another program was faster
        files::remove_all(place, error);
        files::rename(folder, place, error);
    }
    if (error)
        fail(folder, error.message());
    makeRoom(place);
}

void LevelStore::dropLevels(const std::string& folder) {
    std::error_code error;
    files::remove_all(folder, error);
}

std::uint64_t LevelStore::size() const {
    return __folder.empty() ? 0 : bytesIn(__folder);
}

void LevelStore::clear() const {
    std::error_code error;
    if (!__folder.empty())
        for (files::directory_iterator entry(__folder, error), end; !error && entry != end; entry.increment(error))
            if (isLevels(entry->path().filename().string()))
                dropLevels(entry->path().string());
}

/// Also of what programs that were killed have left unfinished more than a day ago.
void LevelStore::makeRoom(const std::string& kept) const {
    struct Levels {
        files::path folder;
        files::file_time_type used;
        std::uint64_t bytes;
    };
    std::vector<Levels> all;
    std::uint64_t sum = 0;
    std::error_code error;
    for (files::directory_iterator entry(__folder, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        std::error_code gone;
        const files::file_time_type used = entry->last_write_time(gone);
        if (gone || !isLevels(name))
            continue;
        if (name.size() > 16) {
            if (used < files::file_time_type::clock::now() - std::chrono::hours(24))
                dropLevels(entry->path().string());
            continue;
        }
        all.push_back({entry->path(), used, bytesIn(entry->path())});
        sum += all.back().bytes;
    }
    std::sort(all.begin(), all.end(), [](const Levels& a, const Levels& b) { return a.used < b.used; });
    for (const Levels& levels : all) {
        if (sum <= __limit)
            break;
        if (levels.folder == kept)
            continue;
        dropLevels(levels.folder.string());
        sum -= levels.bytes;
    }
}

} // namespace vorlen
