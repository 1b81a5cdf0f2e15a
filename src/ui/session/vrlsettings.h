#pragma once

#include <QDir>
#include <QSize>
#include <QString>
#include <QStringList>

namespace vorlen {

/// What the program remembers from one start to the next, apart from the windows' own geometry. Read from the settings
/// store once at start and written once at exit.
class VRLSettings {
public:
    VRLSettings();

    void load();
    void save() const;

    /// Where files are read from, where they are written to: the directories of the last file dialogs. A directory that
    /// is gone is replaced by the home directory when the settings are loaded.
    void setInputDirectory(const QDir& directory);
    const QDir& getInputDirectory() const { return __inputDirectory; }
    void setOutputDirectory(const QDir& directory);
    const QDir& getOutputDirectory() const { return __outputDirectory; }

    /// Paths of the stacks opened last, at most ten, the latest addition first.
    static const QStringList& getRecentFilesList() { return __recentFilesList; }

    /// Puts a path at the front; nothing when the list has it already.
    static void addRecentFile(const QString& path);

    static void setOpenStackDialogSize(const QSize& size);
    static const QSize& getOpenStackDialogSize() { return __openStackDialogSize; }

    /// The one object of this class.
    static VRLSettings settings;

private:
    QDir __inputDirectory;
    QDir __outputDirectory;

    static QStringList __recentFilesList;
    static QSize __openStackDialogSize;
    static const int __maxNumRecentFiles;
};

} // namespace vorlen
