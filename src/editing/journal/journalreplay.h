#pragma once

#include <string>
#include <vector>

namespace vorlen {

class VRLStack;
struct ImageSourceKind;
struct JournalRecord;

/// Carries the records out on a document that was read from the base of their journal, so that it becomes the one that
/// was recorded, with its steps to be undone and redone. A stack that nobody listens to as yet.
class JournalReplay {
public:
    JournalReplay(VRLStack& stack, const std::vector<ImageSourceKind>& kinds);

    /// Throws FileFormatError for a record that does not fit the document, which then is as before.
    void carryOut(const JournalRecord& record);

private:
    void keepState();

    VRLStack& __stack;
    const std::vector<ImageSourceKind>& __kinds;
    std::string __state; // of the stack, as it was recorded last
};

} // namespace vorlen
