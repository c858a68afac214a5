// An ICC profile as the file format sees it: a header of 128 bytes, and tags, each a signature and bytes whose
// meaning is nobody's business here. Versions 2 and 4 are laid out alike.
//
// Every tag that is not set or removed stays as it was, byte for byte, whatever the order of the tags, the
// gaps between them, and whether several share their bytes; what shared them goes on sharing. A copy is
// cheap: the bytes are shared between copies.
#pragma once

#include "Foundation/QXValue.h"

#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

// Four characters as one number, the first in the highest byte.
using QXTagSignature = std::uint32_t;

constexpr QXTagSignature QXMakeTagSignature(const char (&text)[5])
{
    QXTagSignature signature = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        signature = signature << 8 | static_cast<unsigned char>(text[i]);
    }
    return signature;
}

class QXICCTagTable {
public:
    // No profile in use comes near these; they keep damaged or hostile files from using up the memory.
    static constexpr std::size_t largestSize = std::size_t{64} << 20; // in bytes, of a file or of all its tags
    static constexpr std::size_t mostTags = 1000;

    // The error is one line that says what is wrong. Bytes after the size that the header states are
    // ignored. A tag that lies outside the profile or in its header makes the whole of it unusable.
    static std::expected<QXICCTagTable, std::string> tableWithData(QXData data);

    // The tag's bytes, valid until this table is changed or gone. Of several tags with one signature, the
    // first.
    std::optional<std::span<const std::uint8_t>> tag(QXTagSignature signature) const;

    // Replaces the tag where it stands in the table, or appends it. Further tags of the same signature go.
    void setTag(QXTagSignature signature, QXData data);
    void removeTag(QXTagSignature signature);

    std::vector<QXTagSignature> signatures() const; // in the order of the table

    // The profile as a file. One that was not changed is what was read. A changed one has its size and
    // offsets set anew, each tag on a multiple of four bytes, and a profile ID of zero, which says "not
    // computed": the former would be wrong, and nothing needs a new one. The error is one line.
    std::expected<QXData, std::string> data() const;

private:
    using Bytes = std::shared_ptr<const QXData>;

    struct Tag {
        QXTagSignature signature;
        Bytes owner; // the file it was read from, or its own
        std::size_t offset;
        std::size_t size;
    };

    explicit QXICCTagTable(Bytes file) : _file(std::move(file)) {}

    std::expected<void, std::string> _readTags();
    std::uint64_t _distinctSize() const;

    Bytes _file;
    std::vector<Tag> _tags;
    bool _isChanged = false;
};
