#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace vorlen {

/// Writes JSON to a stream, value by value, with line breaks and indentation.
///
/// Numbers carry 17 significant digits, so that a double reads back as the same double; values that are no numbers
/// become null. Bytes of a text that are not UTF-8 are replaced, so that the result is always valid JSON.
class JsonWriter {
public:
    explicit JsonWriter(std::ostream& stream) : __stream(stream) {}

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();

    /// The name of the next value of an object.
    void key(const std::string& name);

    void value(const std::string& text);
    void value(const char* text);
    void value(double number);
    void value(int number);
    void value(bool truth);
    void null();

    /// A member of an object: its name and its value.
    template <class T>
    void member(const std::string& name, const T& content) {
        key(name);
        value(content);
    }

private:
    struct Level {
        char close;
        bool empty;
    };

    void open(char bracket, char close);
    void close();
    void separate();

    std::ostream& __stream;
    std::vector<Level> __levels;
    bool __afterKey = false;
};

} // namespace vorlen
