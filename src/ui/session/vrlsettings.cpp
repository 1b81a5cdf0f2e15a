#include "ui/session/vrlsettings.h"

#include <QSettings>

namespace vorlen {

namespace {

QDir storedDirectory(const QSettings& store, const QString& key) {
    const QDir directory(store.value(key, QDir::homePath()).toString());
    return directory.exists() ? directory : QDir(QDir::homePath());
}

} // namespace

VRLSettings VRLSettings::settings;
QStringList VRLSettings::__recentFilesList;
QSize VRLSettings::__openStackDialogSize(400, 300);
const int VRLSettings::__maxNumRecentFiles = 10;

VRLSettings::VRLSettings() : __inputDirectory(QDir::homePath()), __outputDirectory(QDir::homePath()) {
}

void VRLSettings::load() {
    const QSettings store;
    __inputDirectory = storedDirectory(store, "inputDirectory");
    __outputDirectory = storedDirectory(store, "outputDirectory");
    __recentFilesList = store.value("recentFiles").toStringList().mid(0, __maxNumRecentFiles);
    __openStackDialogSize = store.value("openStackDialogSize", QSize(400, 300)).toSize();
}

void VRLSettings::save() const {
    QSettings store;
    store.setValue("inputDirectory", __inputDirectory.absolutePath());
    store.setValue("outputDirectory", __outputDirectory.absolutePath());
    store.setValue("recentFiles", __recentFilesList);
    store.setValue("openStackDialogSize", __openStackDialogSize);
}

void VRLSettings::setInputDirectory(const QDir& directory) {
    __inputDirectory = directory;
}

void VRLSettings::setOutputDirectory(const QDir& directory) {
    __outputDirectory = directory;
}

void VRLSettings::addRecentFile(const QString& path) {
    if (__recentFilesList.contains(path))
        return;
    __recentFilesList.prepend(path);
    if (__recentFilesList.size() > __maxNumRecentFiles)
        __recentFilesList.removeLast();
}

void VRLSettings::setOpenStackDialogSize(const QSize& size) {
    __openStackDialogSize = size;
}

} // namespace vorlen
