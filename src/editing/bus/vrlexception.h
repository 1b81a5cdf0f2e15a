#pragma once

#include <QException>

#include "numerics/exception.h"

namespace vorlen {

/// Carries a failure of the numeric layers across the border of a worker thread.
class VRLException : public QException, public Exception {
public:
    VRLException() = default;
    explicit VRLException(const Exception& failure) : Exception(failure) {}

    void raise() const override { throw *this; }
    VRLException* clone() const override { return new VRLException(*this); }
};

} // namespace vorlen
