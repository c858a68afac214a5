#include "Foundation/QXPropertyListForms.h"
#include "Foundation/QXUnicode.h"

#include <algorithm>
#include <bit>

namespace {

// Every position and count comes from the file. They are compared as what is left, never added up first,
// so that no sum overflows.
class Reader {
public:
    Reader(std::span<const std::uint8_t> data, const QXPropertyListLimits& limits) : _data(data), _limits(limits)
    {
    }
    std::expected<QXValue, std::string> read();

private:
    // Where the content of an object lies that says its own size.
    struct Sized {
        std::size_t count;
        std::size_t position;
    };

    bool _readTrailer();
    std::optional<QXValue> _readObject(std::uint64_t index);
    std::optional<QXValue> _readContent(std::size_t position);
    std::optional<QXValue> _readSingle(std::size_t position);
    std::optional<QXValue> _readInteger(std::size_t position);
    std::optional<QXValue> _readReal(std::size_t position);
    std::optional<QXValue> _readBytes(std::size_t position);
    std::optional<QXValue> _readASCII(std::size_t position);
    std::optional<QXValue> _readUTF16(std::size_t position);
    std::optional<QXValue> _readArray(std::size_t position);
    std::optional<QXValue> _readDictionary(std::size_t position);

    std::optional<Sized> _sized(std::size_t position, std::size_t elementWidth);
    std::optional<Sized> _container(std::size_t position, std::size_t referencesPerElement);
    std::optional<std::uint64_t> _count(std::size_t& position);
    bool _hasBytes(std::size_t position, std::uint64_t count);
    bool _spendContent(std::size_t bytes);
    bool _spendNodes(std::size_t count);
    std::uint64_t _number(std::size_t position, std::size_t width) const;
    std::uint64_t _reference(std::size_t position, std::size_t number) const;
    std::nullopt_t _fail(std::string_view what);

    std::span<const std::uint8_t> _data;
    QXPropertyListLimits _limits;
    std::size_t _tableOffset = 0; // where the objects end
    std::size_t _offsetWidth = 0;
    std::size_t _referenceWidth = 0;
    std::uint64_t _objectCount = 0;
    std::uint64_t _rootIndex = 0;
    std::vector<std::uint64_t> _path; // the objects being read, each inside the one before
    std::size_t _nodes = 0;
    std::size_t _contentBytes = 0;
    std::string _error;
};

std::expected<QXValue, std::string> Reader::read()
{
    std::optional<QXValue> root;
    if (_readTrailer() && _spendNodes(1)) {
        root = _readObject(_rootIndex);
    }
    if (!root) {
        return std::unexpected(_error);
    }
    return *std::move(root);
}

std::nullopt_t Reader::_fail(std::string_view what)
{
    _error = "binary property list: ";
    if (!_path.empty()) {
        _error += "object " + std::to_string(_path.back()) + ' ';
    }
    _error += what;
    return std::nullopt;
}

std::uint64_t Reader::_number(std::size_t position, std::size_t width) const
{
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < width; ++i) {
        number = number << 8 | _data[position + i];
    }
    return number;
}

std::uint64_t Reader::_reference(std::size_t position, std::size_t number) const
{
    return _number(position + number * _referenceWidth, _referenceWidth);
}

bool Reader::_readTrailer()
{
    if (_data.size() < QXBinaryPropertyListMagic.size() + 1 + QXBinaryPropertyListTrailerSize) {
        _fail("the file is too short");
        return false;
    }
    const std::size_t trailer = _data.size() - QXBinaryPropertyListTrailerSize;
    _offsetWidth = _data[trailer + 6];
    _referenceWidth = _data[trailer + 7];
    _objectCount = _number(trailer + 8, 8);
    _rootIndex = _number(trailer + 16, 8);
    const std::uint64_t tableOffset = _number(trailer + 24, 8);
    const bool widthsAreLegal =
        _offsetWidth >= 1 && _offsetWidth <= 8 && _referenceWidth >= 1 && _referenceWidth <= 8;
    const bool tableIsInside = tableOffset > QXBinaryPropertyListMagic.size() && tableOffset <= trailer;
    // The table fills what lies between the objects and the trailer: a file that was cut or extended fails.
    if (!widthsAreLegal || !tableIsInside || (trailer - tableOffset) % _offsetWidth != 0
        || (trailer - tableOffset) / _offsetWidth != _objectCount || _rootIndex >= _objectCount) {
        _fail("the trailer does not fit the file");
        return false;
    }
    _tableOffset = static_cast<std::size_t>(tableOffset);
    return true;
}

bool Reader::_hasBytes(std::size_t position, std::uint64_t count)
{
    if (count > _tableOffset - position) {
        _fail("reaches beyond the objects' end");
        return false;
    }
    return true;
}

// A small file of references to shared objects can stand for any number of values, and for any amount of
// text; what each place holds is counted before it is made.
bool Reader::_spendNodes(std::size_t count)
{
    if (count > _limits.nodes - _nodes) {
        _fail("leads to more than " + std::to_string(_limits.nodes) + " values and keys");
        return false;
    }
    _nodes += count;
    return true;
}

bool Reader::_spendContent(std::size_t bytes)
{
    if (bytes > _limits.bytes - _contentBytes) {
        _fail("leads to more than " + std::to_string(_limits.bytes) + " bytes of text and data");
        return false;
    }
    _contentBytes += bytes;
    return true;
}

std::optional<QXValue> Reader::_readObject(std::uint64_t index)
{
    if (index >= _objectCount) {
        return _fail("refers to an object that is not there");
    }
    if (std::ranges::find(_path, index) != _path.end()) {
        return _fail("contains itself");
    }
    _path.push_back(index);
    const std::uint64_t offset =
        _number(_tableOffset + static_cast<std::size_t>(index) * _offsetWidth, _offsetWidth);
    if (offset < QXBinaryPropertyListMagic.size() || offset >= _tableOffset) {
        return _fail("lies outside the objects");
    }
    std::optional<QXValue> value = _readContent(static_cast<std::size_t>(offset));
    if (value) {
        _path.pop_back();
    }
    return value;
}

std::optional<QXValue> Reader::_readContent(std::size_t position)
{
    switch (_data[position] >> 4) {
    case 0x1:
        return _readInteger(position);
    case 0x2:
    case 0x3:
        return _readReal(position);
    case 0x4:
        return _readBytes(position);
    case 0x5:
        return _readASCII(position);
    case 0x6:
        return _readUTF16(position);
    case 0x8:
        return _fail("is a UID, which settings do not have");
    case 0xA:
        return _readArray(position);
    case 0xB:
    case 0xC:
        return _fail("is a set, which settings do not have");
    case 0xD:
        return _readDictionary(position);
    default:
        return _readSingle(position);
    }
}

std::optional<QXValue> Reader::_readSingle(std::size_t position)
{
    switch (_data[position]) {
    case 0x08:
        return QXValue(false);
    case 0x09:
        return QXValue(true);
    case 0x00:
        return _fail("is null, which settings do not have");
    default:
        return _fail("is of an unknown kind");
    }
}

// One, two and four bytes are unsigned, eight are signed, sixteen are signed and in use for the numbers from
// 2^63 to 2^64-1.
std::optional<QXValue> Reader::_readInteger(std::size_t position)
{
    const unsigned widthExponent = _data[position] & 0xF;
    if (widthExponent > 4) {
        return _fail("is an integer of an unknown size");
    }
    const std::size_t width = std::size_t{1} << widthExponent;
    if (!_hasBytes(position + 1, width)) {
        return std::nullopt;
    }
    if (width < 8) {
        return QXValue(_number(position + 1, width));
    }
    const std::uint64_t low = _number(position + 1 + width - 8, 8);
    const auto signedLow = static_cast<std::int64_t>(low);
    if (width == 8) {
        return QXValue(signedLow);
    }
    const std::uint64_t high = _number(position + 1, 8);
    if (high == 0) {
        return QXValue(low);
    }
    if (high == ~std::uint64_t{0} && signedLow < 0) {
        return QXValue(signedLow);
    }
    return _fail("is an integer of more than 64 bits");
}

std::optional<QXValue> Reader::_readReal(std::size_t position)
{
    const unsigned marker = _data[position];
    const std::size_t width = marker == 0x22 ? 4 : 8;
    if (marker != 0x22 && marker != 0x23 && marker != 0x33) {
        return _fail(marker >> 4 == 2 ? "is a real of an unknown size" : "is a date of an unknown size");
    }
    if (!_hasBytes(position + 1, width)) {
        return std::nullopt;
    }
    const std::uint64_t bits = _number(position + 1, width);
    if (width == 4) {
        return QXValue(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    }
    const double real = std::bit_cast<double>(bits);
    return marker == 0x33 ? QXValue(QXDate{real}) : QXValue(real);
}

// The count of a sized object: in its marker up to 14, else in an integer behind it. Moves the position
// behind both.
std::optional<std::uint64_t> Reader::_count(std::size_t& position)
{
    const unsigned inMarker = _data[position] & 0xF;
    ++position;
    if (inMarker < 15) {
        return inMarker;
    }
    if (!_hasBytes(position, 1)) {
        return std::nullopt;
    }
    const unsigned marker = _data[position];
    ++position;
    if (marker < 0x10 || marker > 0x13) {
        return _fail("has a count that is no integer");
    }
    const std::size_t width = std::size_t{1} << (marker & 0xF);
    if (!_hasBytes(position, width)) {
        return std::nullopt;
    }
    const std::uint64_t count = _number(position, width);
    position += width;
    return count;
}

std::optional<Reader::Sized> Reader::_sized(std::size_t position, std::size_t elementWidth)
{
    const std::optional<std::uint64_t> count = _count(position);
    if (!count) {
        return std::nullopt;
    }
    if (*count > (_tableOffset - position) / elementWidth) {
        return _fail("reaches beyond the objects' end");
    }
    return Sized{static_cast<std::size_t>(*count), position};
}

std::optional<QXValue> Reader::_readBytes(std::size_t position)
{
    const std::optional<Sized> sized = _sized(position, 1);
    if (!sized || !_spendContent(sized->count)) {
        return std::nullopt;
    }
    const auto bytes = _data.subspan(sized->position, sized->count);
    return QXValue(QXData(bytes.begin(), bytes.end()));
}

std::optional<QXValue> Reader::_readASCII(std::size_t position)
{
    const std::optional<Sized> sized = _sized(position, 1);
    if (!sized || !_spendContent(sized->count)) {
        return std::nullopt;
    }
    const auto bytes = _data.subspan(sized->position, sized->count);
    if (std::ranges::any_of(bytes, [](std::uint8_t byte) { return byte >= 0x80; })) {
        return _fail("is an ASCII text with other bytes");
    }
    return QXValue(std::string(bytes.begin(), bytes.end()));
}

std::optional<QXValue> Reader::_readUTF16(std::size_t position)
{
    const std::optional<Sized> sized = _sized(position, 2);
    if (!sized || !_spendContent(2 * sized->count)) {
        return std::nullopt;
    }
    std::u16string units;
    units.reserve(sized->count);
    for (std::size_t i = 0; i < sized->count; ++i) {
        units += static_cast<char16_t>(_number(sized->position + 2 * i, 2));
    }
    std::optional<std::string> text = QXUTF8FromUTF16(units);
    if (!text) {
        return _fail("is a text with half a surrogate pair");
    }
    return QXValue(*std::move(text));
}

std::optional<Reader::Sized> Reader::_container(std::size_t position, std::size_t referencesPerElement)
{
    if (_path.size() > _limits.depth) {
        return _fail("is nested more than " + std::to_string(_limits.depth) + " deep");
    }
    const std::optional<Sized> sized = _sized(position, referencesPerElement * _referenceWidth);
    if (!sized || !_spendNodes(referencesPerElement * sized->count)) {
        return std::nullopt;
    }
    return sized;
}

std::optional<QXValue> Reader::_readArray(std::size_t position)
{
    const std::optional<Sized> sized = _container(position, 1);
    if (!sized) {
        return std::nullopt;
    }
    QXArray array;
    array.reserve(sized->count);
    for (std::size_t i = 0; i < sized->count; ++i) {
        std::optional<QXValue> element = _readObject(_reference(sized->position, i));
        if (!element) {
            return std::nullopt;
        }
        array.push_back(*std::move(element));
    }
    return QXValue(std::move(array));
}

std::optional<QXValue> Reader::_readDictionary(std::size_t position)
{
    const std::optional<Sized> sized = _container(position, 2);
    if (!sized) {
        return std::nullopt;
    }
    QXDictionary dictionary;
    for (std::size_t i = 0; i < sized->count; ++i) {
        const std::optional<QXValue> key = _readObject(_reference(sized->position, i));
        if (!key) {
            return std::nullopt;
        }
        if (!key->string()) {
            return _fail("has a key that is no text");
        }
        if (dictionary.contains(*key->string())) {
            return _fail("has the key " + QXQuotedForLine(*key->string()) + " twice");
        }
        std::optional<QXValue> value = _readObject(_reference(sized->position, sized->count + i));
        if (!value) {
            return std::nullopt;
        }
        dictionary.emplace(*key->string(), *std::move(value));
    }
    return QXValue(std::move(dictionary));
}

} // namespace

std::expected<QXValue, std::string> QXReadBinaryPropertyList(std::span<const std::uint8_t> data,
                                                             const QXPropertyListLimits& limits)
{
    return Reader(data, limits).read();
}
