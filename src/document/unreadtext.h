#pragma once

#include <memory>
#include <string>

namespace vorlen {

/// Statements of a stack description that could not be read, kept with the object behind which they stood, so that the
/// writer puts them there again as they were: what a newer program or a slip of an editor has put into a file outlives
/// a save. They stay with their object, and a copy of it has none.
class UnreadText {
public:
    UnreadText() = default;
    UnreadText(const UnreadText&) {}
    UnreadText& operator=(const UnreadText&) { return *this; }

    /// The statements with their line ends; empty when all was read.
    const std::string& getUnreadText() const {
        static const std::string none;
        return __text ? *__text : none;
    }

    void appendUnreadText(const std::string& text) {
        if (!__text)
            __text = std::make_unique<std::string>();
        *__text += text;
    }

private:
    std::unique_ptr<std::string> __text; // hardly any object has one
};

} // namespace vorlen
