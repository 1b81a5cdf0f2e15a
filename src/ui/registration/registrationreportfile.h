#pragma once

#include <QString>

namespace vorlen {

struct RegistrationReport;

/// Writes a report, as a whole or not at all; false when it can't be written. As JSON where the file's name ends so, an
/// object with the members that the command line program tells of a stack's slices, else as comma-separated values with
/// the columns that it writes. All numbers have full precision.
bool saveRegistrationReport(const RegistrationReport& report, const QString& fileName);

} // namespace vorlen
