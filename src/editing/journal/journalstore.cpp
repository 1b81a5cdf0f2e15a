#include "editing/journal/journalstore.h"

#include <algorithm>

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QList>

namespace vorlen {

namespace {

const QString suffix = ".journal";
const QString noteName = "file"; // in the folder of a journal: whose it is, and, by its date, when it was used

/// A file has one name, whichever way leads to it.
QString nameOf(const std::string& file) {
    const QFileInfo info(QFile::decodeName(file.c_str()));
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? info.absoluteFilePath() : canonical;
}

qint64 sizeOf(const QDir& folder) {
    qint64 size = 0;
    for (const QFileInfo& file : folder.entryInfoList(QDir::Files | QDir::Hidden))
        size += file.size();
    return size;
}

bool note(const QString& folder, const QByteArray& text) {
    QFile file(folder + "/" + noteName);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(text) == text.size() && file.flush();
}

} // namespace

void JournalStore::setLimits(int numDays, qint64 numBytes) {
    __numDays = numDays;
    __numBytes = numBytes;
}

QString JournalStore::folderOf(const std::string& file) const {
    const QByteArray key = QCryptographicHash::hash(nameOf(file).toUtf8(), QCryptographicHash::Sha256).toHex();
    return __directory + "/" + key.left(32) + suffix;
}

bool JournalStore::has(const std::string& file) const {
    return QFileInfo(folderOf(file)).isDir();
}

bool JournalStore::take(const QString& folder, const std::string& file) {
    const QString target = folderOf(file);
    const QString old = target + ".old";
    if (!QDir().mkpath(__directory) || !note(folder, QFile::encodeName(nameOf(file)) + '\n'))
        return false;
    QFile::setPermissions(__directory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QDir(old).removeRecursively();
    const bool replaces = QDir().rename(target, old);
    if (!QDir().rename(folder, target)) {
        if (replaces)
            QDir().rename(old, target);
        return false;
    }
    QDir(old).removeRecursively();
    return true;
}

void JournalStore::touch(const std::string& file) const {
    const QString folder = folderOf(file);
    if (QFileInfo(folder).isDir())
        note(folder, QFile::encodeName(nameOf(file)) + '\n');
}

void JournalStore::remove(const std::string& file) const {
    QDir(folderOf(file)).removeRecursively();
}

void JournalStore::prune() const {
    struct Kept {
        QDateTime used;
        QString folder;
        qint64 size;
    };
    QList<Kept> all;
    const QDateTime now = QDateTime::currentDateTime();
    for (const QFileInfo& entry : QDir(__directory).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QDateTime used = QFileInfo(entry.filePath() + "/" + noteName).lastModified();
        // What was being put in its place when the program died is an hour old before it goes.
        const bool whole = used.isValid() && entry.fileName().endsWith(suffix);
        if (whole && used.daysTo(now) <= __numDays)
            all.append({used, entry.filePath(), sizeOf(QDir(entry.filePath()))});
        else if (whole || entry.lastModified().secsTo(now) > 3600)
            QDir(entry.filePath()).removeRecursively();
    }
    std::sort(all.begin(), all.end(), [](const Kept& a, const Kept& b) { return a.used > b.used; });
    qint64 size = 0;
    for (const Kept& kept : all) {
        size += kept.size;
        if (size > __numBytes)
            QDir(kept.folder).removeRecursively();
    }
}

} // namespace vorlen
