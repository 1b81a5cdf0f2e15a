#include "ui/widgets/vrlsplitter.h"

#include <QSettings>

namespace vorlen {

VRLSplitter::VRLSplitter(const QString& settingsKey, Qt::Orientation orientation, QWidget* parent)
    : QSplitter(orientation, parent), __settingsKey(settingsKey) {
    connect(this, &QSplitter::splitterMoved, this, &VRLSplitter::store);
}

void VRLSplitter::addWidget(QWidget* widget, int size) {
    QSplitter::addWidget(widget);
    __sizes.append(size);
}

void VRLSplitter::restore() {
    const QSettings settings;
    if (!settings.contains(__settingsKey) || !restoreState(settings.value(__settingsKey).toByteArray()))
        setSizes(__sizes);
}

void VRLSplitter::store() const {
    QSettings().setValue(__settingsKey, saveState());
}

} // namespace vorlen
