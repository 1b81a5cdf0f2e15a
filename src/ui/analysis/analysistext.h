#pragma once

#include <QString>

namespace vorlen {

class Exception;
class Stack;

/// Texts that the tables of the analysis have in common.

/// "name\n[unit]", the unit being the stack's length unit, to the power where that is above 1: "Area\n[mm^2]".
QString headerWithUnit(const QString& name, const Stack& stack, int power = 1);

/// Why a measurement failed, for a tool tip.
QString failureText(const Exception& failure);

} // namespace vorlen
