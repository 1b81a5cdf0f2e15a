#pragma once

#include <string>
#include <utility>

namespace vorlen {

/// What an operation came to: done, or a reason in plain words why it was refused. A refused operation has changed
/// nothing.
class Outcome {
public:
    static Outcome done() { return Outcome({}); }
    /// Throws nothing; an empty reason would read as done, so there is always one.
    static Outcome refused(std::string reason) {
        return Outcome(reason.empty() ? std::string("This can't be done here") : std::move(reason));
    }

    explicit operator bool() const { return __reason.empty(); }
    /// One sentence for the user; empty when done.
    const std::string& getReason() const { return __reason; }

private:
    explicit Outcome(std::string reason) : __reason(std::move(reason)) {}

    std::string __reason;
};

} // namespace vorlen
