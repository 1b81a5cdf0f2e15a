#pragma once

#include <QString>

class Exception;
class Stack;

/// Texts and cursor that the tables of the analysis have in common.

/// "name\n[unit]", the unit being the stack's length unit, to the power where that is above 1: "Area\n[mm^2]".
QString headerWithUnit(const QString& name, const Stack& stack, int power = 1);

/// Why a measurement failed, for a tool tip.
QString failureText(const Exception& failure);

/// Shows the wait cursor as long as it lives.
class WaitCursor {
public:
    WaitCursor();
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
    ~WaitCursor();
};
