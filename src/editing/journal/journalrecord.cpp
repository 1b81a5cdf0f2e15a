#include "editing/journal/journalrecord.h"

#include <limits>

#include <QCryptographicHash>

#include "editing/journal/journalbytes.h"
#include "numerics/exception.h"

namespace vorlen {

namespace {

constexpr std::string_view magic = "vorlen journal 1\n";
constexpr std::size_t frameLength = 16; // the payload's length and the checksum, 8 bytes each

/// FNV-1a with 64 bits, going on from a value.
std::uint64_t checksumOf(std::string_view bytes, std::uint64_t value) {
    for (const char byte : bytes)
        value = (value ^ static_cast<unsigned char>(byte)) * 1099511628211ULL;
    return value;
}

constexpr std::uint64_t firstChecksum = 14695981039346656037ULL;

void append(std::string& bytes, std::uint64_t value) {
    for (int i = 0; i < 8; ++i)
        bytes += static_cast<char>(value >> (8 * i) & 255);
}

std::uint64_t fixedNumber(std::string_view bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < 8; ++i)
        value |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
    return value;
}

/// The payload of the frame at the beginning, which goes off the bytes; false when it is not whole.
bool takeFrame(std::string_view& bytes, std::string_view& payload, std::uint64_t& checksum) {
    if (bytes.size() < frameLength)
        return false;
    const std::uint64_t length = fixedNumber(bytes);
    if (length > bytes.size() - frameLength)
        return false;
    payload = bytes.substr(frameLength, static_cast<std::size_t>(length));
    const std::uint64_t sum = checksumOf(payload, checksumOf(bytes.substr(0, 8), checksum));
    if (sum != fixedNumber(bytes.substr(8)))
        return false;
    checksum = sum;
    bytes.remove_prefix(frameLength + payload.size());
    return true;
}

/// What is no frame but has the length of one; where writing broke off there is less, or nothing but zeros.
bool claimsToBeWhole(std::string_view bytes) {
    const std::uint64_t length = bytes.size() < frameLength ? 0 : fixedNumber(bytes);
    return length > 0 && length <= bytes.size() - frameLength;
}

} // namespace

std::string JournalRecord::payload() const {
    ByteWriter bytes;
    bytes.number(static_cast<std::uint64_t>(kind));
    bytes.text(description);
    bytes.text(hash);
    delta.write(bytes);
    return bytes.take();
}

JournalRecord JournalRecord::read(std::string_view payload) {
    ByteReader bytes(payload);
    JournalRecord record;
    const std::uint64_t kind = bytes.number();
    if (kind > static_cast<std::uint64_t>(Kind::Closed))
        ByteReader::fail("The journal has a record of an unknown kind");
    record.kind = static_cast<Kind>(kind);
    record.description = bytes.text();
    record.hash = bytes.text();
    record.delta = DocumentDelta::read(bytes);
    return record;
}

std::string JournalFormat::header(const std::string& baseName, const std::string& baseHash) {
    ByteWriter bytes;
    bytes.text(baseName);
    bytes.text(baseHash);
    std::uint64_t checksum = firstChecksum;
    return std::string(magic) + frame(bytes.bytes(), checksum);
}

std::string JournalFormat::frame(std::string_view payload, std::uint64_t& checksum) {
    std::string bytes;
    bytes.reserve(frameLength + payload.size());
    append(bytes, payload.size());
    checksum = checksumOf(payload, checksumOf(bytes, checksum));
    append(bytes, checksum);
    bytes += payload;
    return bytes;
}

JournalFormat::Contents JournalFormat::read(std::string_view bytes) {
    Contents contents;
    if (bytes.substr(0, magic.size()) != magic)
        return contents;
    const std::size_t length = bytes.size();
    bytes.remove_prefix(magic.size());
    std::string_view payload;
    std::uint64_t checksum = firstChecksum;
    try {
        if (!takeFrame(bytes, payload, checksum))
            return contents;
        ByteReader header(payload);
        contents.baseName = header.text();
        contents.baseHash = header.text();
        contents.known = true;
        contents.ends.push_back(length - bytes.size());
        contents.checksums.push_back(checksum);
        while (takeFrame(bytes, payload, checksum)) {
            contents.records.push_back(JournalRecord::read(payload));
            contents.ends.push_back(length - bytes.size());
            contents.checksums.push_back(checksum);
        }
        contents.damaged = claimsToBeWhole(bytes);
    } catch (const FileFormatError&) { // what stands before is good
        contents.damaged = true;
    }
    return contents;
}

std::string JournalFormat::hash(std::string_view contents) {
    JournalHash hash;
    hash.add(contents);
    return hash.result();
}

JournalHash::JournalHash() : __hash(std::make_unique<QCryptographicHash>(QCryptographicHash::Sha256)) {
}

JournalHash::~JournalHash() = default;

void JournalHash::add(std::string_view bytes) {
    __hash->addData(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
}

std::string JournalHash::result() const {
    return __hash->result().toHex().toStdString();
}

} // namespace vorlen
