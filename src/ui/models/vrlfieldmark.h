#pragma once

#include <QObject>
#include <QString>

class QAction;
class QLineEdit;

namespace vorlen {

/// The mark of a line edit whose text cannot be used: a red ground, a warning sign, and the reason in the tool tip.
///
/// Belongs to the line edit. The line edit's own tool tip must be set through the mark.
class VRLFieldMark : public QObject {
    Q_OBJECT

public:
    explicit VRLFieldMark(QLineEdit& field);

    /// The tool tip of a text that can be used.
    void setToolTip(const QString& text);

    /// Marks the field; an empty reason takes the mark away.
    void setProblem(const QString& reason);
    const QString& getProblem() const { return __problem; }

private:
    void show();

    QLineEdit& __field;
    QAction* __sign;
    QString __toolTip;
    QString __problem;
};

} // namespace vorlen
