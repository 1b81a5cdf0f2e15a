#pragma once

#include <QString>

namespace vorlen {

/// A reversible change of a document, recorded in its stack's history.
///
/// An action owns what it has taken out of the document and deletes it with itself. Every override of apply() and
/// revert() first calls the base's, so that reverted() is right before anything else happens. An apply() that throws
/// has left the document as it was.
class VRLAction {
public:
    VRLAction() = default;
    VRLAction(const VRLAction&) = delete;
    VRLAction& operator=(const VRLAction&) = delete;
    virtual ~VRLAction();

    /// The action changes nothing and need not be recorded.
    virtual bool isNull() const;

    virtual bool operator==(const VRLAction& other) const;
    virtual bool operator!=(const VRLAction& other) const;

    virtual void apply();
    virtual void revert();

    /// False for an action that changes only what is selected.
    virtual bool changesDocument() const { return true; }

    /// What the action does, for the user. The argument changes nothing.
    virtual QString description(bool verbose) const;

    /// True when the action was undone last.
    bool reverted() const { return __reverted; }

protected:
    /// Runs a part of an action; when it throws, takes back the parts before it, and the exception goes on.
    template <class Part, class Revert>
    static void rollBackUnless(Part&& part, Revert&& revert) {
        try {
            part();
        } catch (...) {
            revert();
            throw;
        }
    }

private:
    bool __reverted = false;
};

} // namespace vorlen
