#pragma once

#include <QDialog>

namespace vorlen {

class VRLPreferencesDialogMediator;

/// Edits the preferences of the program.
class VRLPreferencesDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLPreferencesDialog(QWidget* parent = nullptr);

    VRLPreferencesDialogMediator& getMediator() const { return *__mediator; }

private:
    VRLPreferencesDialogMediator* __mediator;
};

} // namespace vorlen
