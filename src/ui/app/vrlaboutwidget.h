#pragma once

#include <QWidget>

namespace vorlen {

/// The logo, the program's name, and its version with its date.
class VRLAboutWidget : public QWidget {
    Q_OBJECT

public:
    explicit VRLAboutWidget(QWidget* parent = nullptr);
};

} // namespace vorlen
