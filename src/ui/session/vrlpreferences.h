#pragma once

#include <QColor>

namespace vorlen {

/// What the user can choose in the preferences dialog. Read from the settings store once at start and written once at
/// exit; values from the store are brought into their ranges.
class VRLPreferences {
public:
    VRLPreferences(const VRLPreferences&) = delete;
    VRLPreferences& operator=(const VRLPreferences&) = delete;

    static void load();
    static void save();

    /// Number of backups kept of a stack's file, 0 to 10.
    static void setMaxNumBackups(int n);
    static int getMaxNumBackups() { return __maxNumBackups; }

    /// Whether automatic contours are decimated.
    static void enableAutoDecimation(bool enable);
    static bool autoDecimationEnabled() { return __autoDecimation; }

    /// Whether panoramas show the names of the slices.
    static void setPanoramaLabelEnabled(bool enabled);
    static bool isPanoramaLabelEnabled() { return __panoramaLabelEnabled; }

    /// How far from a vertex a click may be, in screen pixels, 1 to 50.
    static void setClickTolerance(int pixels);
    static int getClickTolerance() { return __clickTolerance; }

    static void setImageCanvasBackgroundColor(const QColor& color);
    static const QColor& getImageCanvasBackgroundColor() { return __imageCanvasBackgroundColor; }

private:
    VRLPreferences();

    static VRLPreferences __preferences;
    static int __maxNumBackups;
    static bool __autoDecimation;
    static bool __panoramaLabelEnabled;
    static int __clickTolerance;
    static QColor __imageCanvasBackgroundColor;
};

} // namespace vorlen
