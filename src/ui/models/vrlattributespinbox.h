#pragma once

#include <optional>

#include <QSpinBox>

namespace vorlen {

/// A whole number from 0 up that may be undefined, which shows as blank and lies one step below 0.
///
/// The box remembers the number it was set to: as long as it shows it, that number is given back as it was, with its
/// fraction. A number above the range widens the range.
class VRLAttributeSpinBox : public QSpinBox {
    Q_OBJECT

public:
    explicit VRLAttributeSpinBox(int maximum, QWidget* parent = nullptr);

    void setAttribute(const std::optional<float>& attribute);
    std::optional<float> attribute() const;

private:
    int __maximum;
    std::optional<float> __own;
    int __shown = -1;
};

} // namespace vorlen
