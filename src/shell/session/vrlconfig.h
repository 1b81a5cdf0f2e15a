#pragma once

#include <QSize>

/// Constants of the whole program.
inline constexpr const char* appName = "Vorlen";
inline constexpr const char* appVersionNumber = "1.11";
inline constexpr const char* appVersionDate = "2015.03.06";

inline constexpr QSize toolBarIconSize(24, 24);

/// Ends of the zoom of the image widgets.
inline constexpr float maximumZoomFactor = 64.0f;
inline constexpr float minimumZoomFactor = 0.05f;
