#pragma once

#include <QDoubleSpinBox>

namespace vorlen {

/// A field for a decimal number that is shown with a point in every locale, as the program's files and tables have it.
/// A comma that is typed becomes a point.
class VRLDecimalBox : public QDoubleSpinBox {
    Q_OBJECT

public:
    explicit VRLDecimalBox(QWidget* parent = nullptr);

    QValidator::State validate(QString& input, int& position) const override;
};

} // namespace vorlen
