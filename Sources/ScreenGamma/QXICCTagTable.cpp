#include "ScreenGamma/QXICCTagTable.h"

#include "ScreenGamma/QXBigEndian.h"

#include <algorithm>
#include <compare>
#include <utility>

namespace {

constexpr std::size_t sizeOffset = 0;
constexpr std::size_t fileSignatureOffset = 36;
constexpr QXTagSignature fileSignature = QXMakeTagSignature("acsp");
constexpr std::size_t profileIDOffset = 84;
constexpr std::size_t profileIDSize = 16;
constexpr std::size_t headerSize = 128;
constexpr std::size_t tagCountSize = 4;
constexpr std::size_t entrySize = 12; // signature, offset, size

std::unexpected<std::string> unusable(std::string reason)
{
    return std::unexpected("it is no usable ICC profile: " + std::move(reason));
}

constexpr std::uint64_t padded(std::uint64_t size)
{
    return (size + 3) / 4 * 4;
}

// Where some bytes were: tags with the same place share them.
struct Place {
    const QXData* owner;
    std::size_t offset;
    std::size_t size;

    friend auto operator<=>(const Place&, const Place&) = default;
};

template<class Tags> std::vector<Place> distinctPlaces(const Tags& tags)
{
    std::vector<Place> places;
    places.reserve(tags.size());
    for (const auto& tag : tags) {
        places.push_back({tag.owner.get(), tag.offset, tag.size});
    }
    std::ranges::sort(places);
    const auto repeated = std::ranges::unique(places);
    places.erase(repeated.begin(), repeated.end());
    return places;
}

} // namespace

std::expected<QXICCTagTable, std::string> QXICCTagTable::tableWithData(QXData data)
{
    if (data.size() < headerSize + tagCountSize) {
        return unusable("it is shorter than a header");
    }
    if (QXBigEndian32(data, fileSignatureOffset) != fileSignature) {
        return unusable("it does not have the signature \"acsp\"");
    }
    const std::size_t size = QXBigEndian32(data, sizeOffset);
    if (size > data.size() || size < headerSize + tagCountSize) {
        return unusable("its header says " + std::to_string(size) + " bytes, and it has "
                        + std::to_string(data.size()));
    }
    if (data.size() > largestSize) {
        return unusable("it is larger than " + std::to_string(largestSize) + " bytes");
    }
    QXICCTagTable table(std::make_shared<const QXData>(std::move(data)));
    if (const auto read = table._readTags(); !read) {
        return std::unexpected(read.error());
    }
    return table;
}

std::expected<void, std::string> QXICCTagTable::_readTags()
{
    const std::size_t fileSize = QXBigEndian32(*_file, sizeOffset);
    const std::size_t count = QXBigEndian32(*_file, headerSize);
    if (count > mostTags) {
        return unusable("it has " + std::to_string(count) + " tags");
    }
    const std::size_t end = headerSize + tagCountSize + count * entrySize;
    if (end > fileSize) {
        return unusable("it ends within its table of tags");
    }
    _tags.reserve(count);
    for (std::size_t entry = headerSize + tagCountSize; entry < end; entry += entrySize) {
        const std::uint64_t offset = QXBigEndian32(*_file, entry + 4);
        const std::uint64_t size = QXBigEndian32(*_file, entry + 8);
        if (offset < end || offset + size > fileSize) {
            return unusable("tag " + std::to_string(_tags.size() + 1) + " lies outside of it");
        }
        _tags.push_back({QXBigEndian32(*_file, entry), _file, offset, size});
    }
    // Tags may share bytes only as a whole; overlapping in other ways, a small file could stand for a huge one.
    if (_distinctSize() > largestSize) {
        return unusable("its tags are larger than " + std::to_string(largestSize) + " bytes");
    }
    return {};
}

std::uint64_t QXICCTagTable::_distinctSize() const
{
    std::uint64_t sum = 0;
    for (const Place& place : distinctPlaces(_tags)) {
        sum += padded(place.size);
    }
    return sum;
}

std::optional<std::span<const std::uint8_t>> QXICCTagTable::tag(QXTagSignature signature) const
{
    const auto found = std::ranges::find(_tags, signature, &Tag::signature);
    if (found == _tags.end()) {
        return std::nullopt;
    }
    return std::span(*found->owner).subspan(found->offset, found->size);
}

void QXICCTagTable::setTag(QXTagSignature signature, QXData data)
{
    const auto bytes = std::make_shared<const QXData>(std::move(data));
    const Tag tag{signature, bytes, 0, bytes->size()};
    const auto found = std::ranges::find(_tags, signature, &Tag::signature);
    if (found == _tags.end()) {
        _tags.push_back(tag);
    } else {
        *found = tag;
        _tags.erase(
            std::remove_if(found + 1, _tags.end(), [=](const Tag& other) { return other.signature == signature; }),
            _tags.end());
    }
    _isChanged = true;
}

void QXICCTagTable::removeTag(QXTagSignature signature)
{
    if (std::erase_if(_tags, [=](const Tag& tag) { return tag.signature == signature; }) > 0) {
        _isChanged = true;
    }
}

std::vector<QXTagSignature> QXICCTagTable::signatures() const
{
    std::vector<QXTagSignature> all;
    all.reserve(_tags.size());
    for (const Tag& tag : _tags) {
        all.push_back(tag.signature);
    }
    return all;
}

std::expected<QXData, std::string> QXICCTagTable::data() const
{
    if (!_isChanged) {
        return *_file;
    }
    const std::uint64_t size = headerSize + tagCountSize + _tags.size() * entrySize + _distinctSize();
    if (size > largestSize || _tags.size() > mostTags) {
        return std::unexpected("the profile would have " + std::to_string(_tags.size()) + " tags and "
                               + std::to_string(size) + " bytes");
    }
    QXData file(static_cast<std::size_t>(size));
    std::copy_n(_file->begin(), headerSize, file.begin());
    std::fill_n(file.begin() + profileIDOffset, profileIDSize, std::uint8_t{0});
    QXPutBigEndian32(file, sizeOffset, static_cast<std::uint32_t>(size));
    QXPutBigEndian32(file, headerSize, static_cast<std::uint32_t>(_tags.size()));

    const std::vector<Place> places = distinctPlaces(_tags);
    std::vector<std::size_t> written(places.size()); // where each has been put; 0: not yet
    std::size_t entry = headerSize + tagCountSize;
    std::size_t next = entry + _tags.size() * entrySize;
    for (const Tag& tag : _tags) {
        const Place place{tag.owner.get(), tag.offset, tag.size};
        const auto found = std::ranges::lower_bound(places, place);
        std::size_t& offset = written[static_cast<std::size_t>(found - places.begin())];
        if (offset == 0) {
            offset = next;
            std::ranges::copy(std::span(*tag.owner).subspan(tag.offset, tag.size), file.data() + offset);
            next += static_cast<std::size_t>(padded(tag.size));
        }
        QXPutBigEndian32(file, entry, tag.signature);
        QXPutBigEndian32(file, entry + 4, static_cast<std::uint32_t>(offset));
        QXPutBigEndian32(file, entry + 8, static_cast<std::uint32_t>(tag.size));
        entry += entrySize;
    }
    return file;
}
