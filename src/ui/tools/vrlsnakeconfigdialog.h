#pragma once

#include <QDialog>

#include "ui/tools/vrlsnakeconfig.h"

namespace vorlen {

class VRLSnakeConfigEditor;

/// Asks for the parameters of a snake before it runs.
class VRLSnakeConfigDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLSnakeConfigDialog(QWidget* parent = nullptr);

    void setConfig(const VRLSnakeConfig& config);
    VRLSnakeConfig getConfig() const;

private:
    VRLSnakeConfigEditor* __editor;
};

} // namespace vorlen
