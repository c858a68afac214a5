#include "Foundation/QXPropertyListForms.h"
#include "Foundation/QXUnicode.h"

#include <algorithm>
#include <bit>
#include <unordered_map>

namespace {

// The file is: magic, objects, the table of the objects' offsets, trailer. Containers hold the indices of
// their elements, keys before values. The root is object 0; each distinct text is stored once.
struct Object {
    const QXValue* value;  // nullptr for a text
    std::string_view text; // what is stored for a text
    std::vector<std::size_t> references;
};

class Writer {
public:
    QXData write(const QXValue& root);

private:
    std::size_t _add(const QXValue& value);
    std::size_t _addText(std::string_view text);

    void _writeObject(const Object& object);
    void _writeInteger(const QXValue& value);
    void _writeText(std::string_view text);
    void _writeContainer(std::uint8_t marker, const Object& object, std::size_t count);
    void _writeMarkerAndCount(std::uint8_t marker, std::size_t count);
    void _writeNumber(std::uint64_t number, std::size_t width);
    void _writeTrailer(std::size_t offsetWidth, std::size_t tableOffset);

    std::vector<Object> _objects;
    std::unordered_map<std::string_view, std::size_t> _indexOfText;
    std::size_t _referenceWidth = 1;
    QXData _bytes;
};

// The smallest width in bytes, of those that integers have in this form, that holds a number.
std::size_t widthOf(std::uint64_t number)
{
    return number <= 0xFF ? 1 : number <= 0xFFFF ? 2 : number <= 0xFFFFFFFF ? 4 : 8;
}

std::size_t Writer::_addText(std::string_view text)
{
    const auto [entry, isNew] = _indexOfText.try_emplace(text, _objects.size());
    if (isNew) {
        _objects.push_back({nullptr, text, {}});
    }
    return entry->second;
}

std::size_t Writer::_add(const QXValue& value)
{
    if (const std::string* string = value.string()) {
        return _addText(*string);
    }
    const std::size_t index = _objects.size();
    _objects.push_back({&value, {}, {}});
    std::vector<std::size_t> references;
    if (const QXArray* array = value.array()) {
        for (const QXValue& element : *array) {
            references.push_back(_add(element));
        }
    } else if (const QXDictionary* dictionary = value.dictionary()) {
        for (const auto& entry : *dictionary) {
            references.push_back(_addText(entry.first));
        }
        for (const auto& entry : *dictionary) {
            references.push_back(_add(entry.second));
        }
    }
    _objects[index].references = std::move(references);
    return index;
}

QXData Writer::write(const QXValue& root)
{
    _add(root);
    _referenceWidth = widthOf(_objects.size() - 1);
    _bytes.assign(QXBinaryPropertyListMagic.begin(), QXBinaryPropertyListMagic.end());
    std::vector<std::size_t> offsets;
    for (const Object& object : _objects) {
        offsets.push_back(_bytes.size());
        _writeObject(object);
    }
    const std::size_t tableOffset = _bytes.size();
    const std::size_t offsetWidth = widthOf(offsets.back());
    for (const std::size_t offset : offsets) {
        _writeNumber(offset, offsetWidth);
    }
    _writeTrailer(offsetWidth, tableOffset);
    return std::move(_bytes);
}

void Writer::_writeObject(const Object& object)
{
    if (object.value == nullptr) {
        _writeText(object.text);
        return;
    }
    const QXValue& value = *object.value;
    switch (value.kind()) {
    case QXValue::Kind::boolean:
        _bytes.push_back(*value.boolean() ? 0x09 : 0x08);
        break;
    case QXValue::Kind::real:
        _bytes.push_back(0x23);
        _writeNumber(std::bit_cast<std::uint64_t>(*value.real()), 8);
        break;
    case QXValue::Kind::date:
        _bytes.push_back(0x33);
        _writeNumber(std::bit_cast<std::uint64_t>(value.date()->timeIntervalSinceReferenceDate), 8);
        break;
    case QXValue::Kind::data:
        _writeMarkerAndCount(0x40, value.data()->size());
        _bytes.insert(_bytes.end(), value.data()->begin(), value.data()->end());
        break;
    case QXValue::Kind::array:
        _writeContainer(0xA0, object, object.references.size());
        break;
    case QXValue::Kind::dictionary:
        _writeContainer(0xD0, object, object.references.size() / 2);
        break;
    default:
        _writeInteger(value);
    }
}

// One, two and four bytes are unsigned and eight are signed, so that negative numbers always take eight and
// those above the signed range sixteen.
void Writer::_writeInteger(const QXValue& value)
{
    const auto number = static_cast<std::uint64_t>(*value.integer());
    if (value.kind() == QXValue::Kind::unsignedInteger) {
        _bytes.push_back(0x14);
        _writeNumber(0, 8);
        _writeNumber(number, 8);
        return;
    }
    const std::size_t width = widthOf(number);
    _bytes.push_back(static_cast<std::uint8_t>(0x10 + std::countr_zero(width)));
    _writeNumber(number, width);
}

void Writer::_writeText(std::string_view text)
{
    const bool isASCII = std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (isASCII) {
        _writeMarkerAndCount(0x50, text.size());
        _bytes.insert(_bytes.end(), text.begin(), text.end());
        return;
    }
    const std::u16string units = QXUTF16FromUTF8(text);
    _writeMarkerAndCount(0x60, units.size());
    for (const char16_t unit : units) {
        _writeNumber(unit, 2);
    }
}

void Writer::_writeContainer(std::uint8_t marker, const Object& object, std::size_t count)
{
    _writeMarkerAndCount(marker, count);
    for (const std::size_t reference : object.references) {
        _writeNumber(reference, _referenceWidth);
    }
}

// Counts from 15 on stand behind the marker as an integer.
void Writer::_writeMarkerAndCount(std::uint8_t marker, std::size_t count)
{
    _bytes.push_back(static_cast<std::uint8_t>(marker | std::min<std::size_t>(count, 15)));
    if (count >= 15) {
        _writeInteger(QXValue(static_cast<std::uint64_t>(count)));
    }
}

void Writer::_writeNumber(std::uint64_t number, std::size_t width)
{
    for (std::size_t i = width; i-- > 0;) {
        _bytes.push_back(static_cast<std::uint8_t>(number >> (8 * i) & 0xFF));
    }
}

void Writer::_writeTrailer(std::size_t offsetWidth, std::size_t tableOffset)
{
    _writeNumber(0, 6);
    _writeNumber(offsetWidth, 1);
    _writeNumber(_referenceWidth, 1);
    _writeNumber(_objects.size(), 8);
    _writeNumber(0, 8);
    _writeNumber(tableOffset, 8);
}

} // namespace

QXData QXWriteBinaryPropertyList(const QXValue& value)
{
    return Writer().write(value);
}
