#pragma once

#include <QSize>

namespace vorlen {

/// Constants of the whole program.
inline constexpr const char* appName = "Vorlen";
extern const char* const appVersionNumber;
extern const char* const appVersionDate;

inline constexpr QSize toolBarIconSize(24, 24);

/// Ends of the zoom of the image widgets.
inline constexpr float maximumZoomFactor = 64.0f;
inline constexpr float minimumZoomFactor = 0.05f;

} // namespace vorlen
