#pragma once

#include <QDialog>
#include <QList>

#include "ui/session/vrlrecovery.h"

class QListWidget;

namespace vorlen {

/// Offers the stacks that a run of the program left behind that did not end in the proper way.
class VRLRecoveryDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLRecoveryDialog(const QList<VRLRecovery::Leftover>& leftovers, QWidget* parent = nullptr);

    enum class Answer { Recover, Discard, Later };
    Answer answer() const { return __answer; }

    /// The stacks that are ticked.
    QList<VRLRecovery::Leftover> chosen() const;

private:
    QList<VRLRecovery::Leftover> __leftovers;
    QListWidget* __list;
    Answer __answer = Answer::Later;
};

} // namespace vorlen
