#include "ui/analysis/analysistext.h"

#include "document/stack.h"
#include "numerics/exception.h"

namespace vorlen {

QString headerWithUnit(const QString& name, const Stack& stack, int power) {
    QString unit = QString::fromStdString(stack.getLengthUnit().symbol());
    if (power > 1)
        unit += '^' + QString::number(power);
    return name + "\n[" + unit + ']';
}

QString failureText(const Exception& failure) {
    return "Not available: the measurement failed. " + QString::fromStdString(failure.getWhat());
}

} // namespace vorlen
