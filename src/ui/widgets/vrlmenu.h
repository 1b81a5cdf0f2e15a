#pragma once

#include <QMenu>

namespace vorlen {

/// A menu that tells the text of the entry that was chosen.
class VRLMenu : public QMenu {
    Q_OBJECT

public:
    explicit VRLMenu(const QString& title, QWidget* parent = nullptr);

signals:
    void triggered(const QString& text);
};

} // namespace vorlen
