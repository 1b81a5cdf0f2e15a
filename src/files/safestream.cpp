#include "files/safestream.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <locale>
#include <sstream>
#include <streambuf>

#include <unistd.h>

#include "files/safefile.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

/// Hands what is written to a descriptor on in pieces.
class DescriptorBuffer : public std::streambuf {
public:
    explicit DescriptorBuffer(int descriptor) : __descriptor(descriptor) {
        setp(__pieces.data(), __pieces.data() + __pieces.size());
    }

    /// The number of the error that has ended the writing; 0 as long as it goes well.
    int getError() const { return __error; }

protected:
    int_type overflow(int_type character) override {
        if (!flushPiece())
            return traits_type::eof();
        if (!traits_type::eq_int_type(character, traits_type::eof()))
            sputc(traits_type::to_char_type(character));
        return traits_type::not_eof(character);
    }

    int sync() override { return flushPiece() ? 0 : -1; }

    pos_type seekoff(off_type offset, std::ios_base::seekdir way, std::ios_base::openmode) override {
        if (!flushPiece())
            return pos_type(off_type(-1));
        const int whence = way == std::ios_base::beg ? SEEK_SET : way == std::ios_base::cur ? SEEK_CUR : SEEK_END;
        return pos_type(off_type(::lseek(__descriptor, offset, whence)));
    }

    pos_type seekpos(pos_type position, std::ios_base::openmode mode) override {
        return seekoff(off_type(position), std::ios_base::beg, mode);
    }

private:
    bool flushPiece() {
        for (const char* from = pbase(); __error == 0 && from < pptr();) {
            const ssize_t written = ::write(__descriptor, from, static_cast<std::size_t>(pptr() - from));
            if (written >= 0)
                from += written;
            else if (errno != EINTR)
                __error = errno;
        }
        setp(__pieces.data(), __pieces.data() + __pieces.size());
        return __error == 0;
    }

    int __descriptor;
    int __error = 0;
    std::array<char, 1 << 16> __pieces{};
};

} // namespace

bool saveStreamed(const std::string& fileName, const std::function<void(std::ostream&)>& work) {
    SafeFile file(fileName);
    if (!file.isOpen())
        return false;
    if (!file.isBeside()) {
        std::ostringstream text;
        text.imbue(std::locale::classic());
        work(text);
        return SafeFile::save(fileName, std::move(text).str());
    }
    DescriptorBuffer buffer(file.descriptor());
    std::ostream stream(&buffer);
    stream.imbue(std::locale::classic());
    const auto fail = [&] {
        throw FileWriteError("bool saveStreamed(...)",
                             std::string("The file cannot be written: ") + std::strerror(buffer.getError()), fileName);
    };
    try {
        work(stream);
    } catch (const Exception&) {
        if (buffer.getError() != 0) // which is why
            fail();
        throw;
    }
    stream.flush();
    if (!stream)
        fail();
    file.commit();
    return true;
}

} // namespace vorlen
