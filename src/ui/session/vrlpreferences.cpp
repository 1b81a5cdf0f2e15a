#include "ui/session/vrlpreferences.h"

#include <algorithm>

#include <QSettings>

namespace vorlen {

int VRLPreferences::__maxNumBackups;
bool VRLPreferences::__autoDecimation;
bool VRLPreferences::__panoramaLabelEnabled;
int VRLPreferences::__clickTolerance;
QColor VRLPreferences::__imageCanvasBackgroundColor;
VRLPreferences VRLPreferences::__preferences; // behind the members, which its constructor sets

VRLPreferences::VRLPreferences() {
    __maxNumBackups = 5;
    __autoDecimation = false;
    __panoramaLabelEnabled = true;
    __clickTolerance = 10;
    __imageCanvasBackgroundColor = Qt::darkGray;
}

void VRLPreferences::load() {
    const QSettings store;
    setMaxNumBackups(store.value("preferences/maxNumBackups", 5).toInt());
    __autoDecimation = store.value("preferences/autoDecimation", false).toBool();
    __panoramaLabelEnabled = store.value("preferences/enablePanoramaLabels", true).toBool();
    setClickTolerance(store.value("preferences/clickTolerance", 10).toInt());
    const QColor color = store.value("preferences/imageCanvasBackgroundColor", QColor(Qt::darkGray)).value<QColor>();
    __imageCanvasBackgroundColor = color.isValid() ? color : QColor(Qt::darkGray);
}

void VRLPreferences::save() {
    QSettings store;
    store.setValue("preferences/maxNumBackups", __maxNumBackups);
    store.setValue("preferences/autoDecimation", __autoDecimation);
    store.setValue("preferences/enablePanoramaLabels", __panoramaLabelEnabled);
    store.setValue("preferences/clickTolerance", __clickTolerance);
    store.setValue("preferences/imageCanvasBackgroundColor", __imageCanvasBackgroundColor);
}

void VRLPreferences::setMaxNumBackups(int n) {
    __maxNumBackups = std::clamp(n, 0, 10);
}

void VRLPreferences::enableAutoDecimation(bool enable) {
    __autoDecimation = enable;
}

void VRLPreferences::setPanoramaLabelEnabled(bool enabled) {
    __panoramaLabelEnabled = enabled;
}

void VRLPreferences::setClickTolerance(int pixels) {
    __clickTolerance = std::clamp(pixels, 1, 50);
}

void VRLPreferences::setImageCanvasBackgroundColor(const QColor& color) {
    __imageCanvasBackgroundColor = color;
}

} // namespace vorlen
