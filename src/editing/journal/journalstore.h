#pragma once

#include <string>

#include <QString>

namespace vorlen {

/// The journals of stack files that are closed, each in a folder of its own, so that what was done to a file can be
/// undone after it was opened again.
///
/// What is kept is bounded: journals go that were not used for so many days, and the ones used longest ago when all
/// take more than so many bytes. Operations tell no failure: a journal that can't be kept is none.
class JournalStore {
public:
    explicit JournalStore(const QString& directory) : __directory(directory) {}

    /// 60 days and 500 MB, unless other limits are set.
    void setLimits(int numDays, qint64 numBytes);

    const QString& getDirectory() const { return __directory; }

    /// Where the journal of the file lies, if there is one.
    QString folderOf(const std::string& file) const;
    bool has(const std::string& file) const;

    /// Moves the journal of a folder, which must lie on the same file system, in the place of the one that was kept for
    /// the file, as a whole. False when that can't be; nothing has changed then.
    bool take(const QString& folder, const std::string& file);

    /// Says that the journal was used now.
    void touch(const std::string& file) const;

    void remove(const std::string& file) const;

    /// Removes what goes beyond the bounds, and what is no journal.
    void prune() const;

private:
    QString __directory;
    int __numDays = 60;
    qint64 __numBytes = qint64(500) << 20;
};

} // namespace vorlen
