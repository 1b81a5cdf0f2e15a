#pragma once

#include <string>

#include "document/stack.h"
#include "document/stackreader.h"
#include "document/stackwriter.h"
#include "editing/journal/journalrecord.h"

namespace vorlen {

/// Of a document as it stands.
inline std::string hashOf(const Stack& stack) {
    return JournalFormat::hash(StackWriter().toText(stack));
}

/// Of a document as a file gives it back: an outline that an edit has turned over turns the usual way there.
inline std::string hashAsRead(const Stack& stack) {
    Stack read;
    StackReader().readText(read, StackWriter().toText(stack), "/");
    return hashOf(read);
}

} // namespace vorlen
