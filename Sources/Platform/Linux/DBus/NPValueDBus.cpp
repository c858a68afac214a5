#include "Platform/Linux/DBus/NPValueDBus.h"

#include "Foundation/QXUnicode.h"
#include "Platform/Linux/DBus/NPErrorDBus.h"

#include <algorithm>
#include <utility>

namespace {

const std::string anyValue = "v";
const std::string namedValue = "sv";

sdbus::Error unknownType(const std::string& type)
{
    return {"org.freedesktop.DBus.Error.InvalidArgs", "there is a value of an unknown type (" + type + ")"};
}

sdbus::Error beyondLimit(const std::string& message)
{
    return NPBusErrorFromControlError({true, message});
}

bool isNoncharacter(char32_t character)
{
    return (character >= 0xFDD0 && character <= 0xFDEF) || (character & 0xFFFE) == 0xFFFE;
}

bool isArrayOfReals(const QXArray& array)
{
    return std::ranges::all_of(array, [](const QXValue& item) { return item.kind() == QXValue::Kind::real; });
}

void writeValue(sdbus::Message& message, const QXValue& value);

template<class Item> void writeBasic(sdbus::Message& message, const std::string& type, const Item& item)
{
    message.openVariant(type);
    message << item;
    message.closeVariant();
}

void writeArray(sdbus::Message& message, const QXArray& array)
{
    const bool reals = isArrayOfReals(array);
    const std::string itemType = reals ? "d" : anyValue;
    message.openVariant("a" + itemType);
    message.openContainer(itemType);
    for (const QXValue& item : array) {
        if (reals) {
            message << item.real().value_or(0.0);
        } else {
            writeValue(message, item);
        }
    }
    message.closeContainer();
    message.closeVariant();
}

void writeValue(sdbus::Message& message, const QXValue& value)
{
    switch (value.kind()) {
    case QXValue::Kind::boolean:
        return writeBasic(message, "b", value.boolean().value_or(false));
    case QXValue::Kind::integer:
        return writeBasic(message, "x", value.integer().value_or(0));
    case QXValue::Kind::unsignedInteger:
        return writeBasic(message, "t", static_cast<std::uint64_t>(value.integer().value_or(0)));
    case QXValue::Kind::real:
        return writeBasic(message, "d", value.real().value_or(0.0));
    case QXValue::Kind::string:
        return writeBasic(message, "s", NPTextForBus(*value.string()));
    case QXValue::Kind::array:
        return writeArray(message, *value.array());
    case QXValue::Kind::dictionary:
        message.openVariant("a{sv}");
        NPWriteDictionary(message, *value.dictionary());
        message.closeVariant();
        return;
    case QXValue::Kind::date:
    case QXValue::Kind::data:
        break; // no result has them
    }
    throw unknownType("date or data");
}

QXValue readValue(sdbus::Message& message);

template<class Item> Item readBasic(sdbus::Message& message)
{
    Item item{};
    message >> item;
    return item;
}

bool isAtEnd(sdbus::Message& message)
{
    std::string type;
    std::string contents;
    message.peekType(type, contents);
    return type.empty() || type.front() == '\0';
}

template<class ReadItem> QXArray readArray(sdbus::Message& message, const std::string& itemType, ReadItem readItem)
{
    QXArray array;
    message.enterContainer(itemType);
    while (!isAtEnd(message)) {
        array.emplace_back(readItem(message));
    }
    message.exitContainer();
    return array;
}

QXValue readContent(sdbus::Message& message, const std::string& type)
{
    if (type == "b") {
        return readBasic<bool>(message);
    }
    if (type == "x") {
        return readBasic<std::int64_t>(message);
    }
    if (type == "t") {
        return readBasic<std::uint64_t>(message);
    }
    if (type == "d") {
        return readBasic<double>(message);
    }
    if (type == "s") {
        return NPReadText(message);
    }
    if (type == "ad") {
        return readArray(message, "d", readBasic<double>);
    }
    if (type == "av") {
        return readArray(message, anyValue, readValue);
    }
    if (type == "a{sv}") {
        return NPReadDictionary(message);
    }
    throw unknownType(type);
}

// sd-bus bounds how deep the values may be nested.
QXValue readValue(sdbus::Message& message)
{
    std::string variant;
    std::string type;
    message.peekType(variant, type);
    message.enterVariant(type);
    QXValue value = readContent(message, type);
    message.exitVariant();
    return value;
}

} // namespace

std::string NPTextForBus(std::string_view text)
{
    std::string clean;
    clean.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const auto [character, length] = QXDecodeUTF8(text, i).value_or(QXDecodedCharacter{0, 1});
        QXAppendUTF8(clean, character == 0 || isNoncharacter(character) ? QXReplacementCharacter : character);
        i += length;
    }
    return clean;
}

void NPWriteText(sdbus::Message& message, std::string_view text)
{
    message << NPTextForBus(text);
}

void NPWriteData(sdbus::Message& message, const QXData& data)
{
    message << data;
}

void NPWriteDictionary(sdbus::Message& message, const QXDictionary& dictionary)
{
    message.openContainer("{sv}");
    for (const auto& [key, value] : dictionary) {
        message.openDictEntry(namedValue);
        NPWriteText(message, key);
        writeValue(message, value);
        message.closeDictEntry();
    }
    message.closeContainer();
}

void NPWriteDictionaries(sdbus::Message& message, const QXArray& dictionaries)
{
    message.openContainer("a{sv}");
    for (const QXValue& item : dictionaries) {
        NPWriteDictionary(message, item.dictionary() != nullptr ? *item.dictionary() : QXDictionary());
    }
    message.closeContainer();
}

// Not copied before its length is known to be right.
std::string NPReadText(sdbus::Message& message, const NPReadingLimits& limits)
{
    char* text = nullptr;
    message >> text;
    const std::string_view view(text == nullptr ? "" : text);
    if (view.size() > limits.textBytes) {
        throw beyondLimit("a text is longer than " + std::to_string(limits.textBytes) + " bytes");
    }
    return std::string(view);
}

QXData NPReadData(sdbus::Message& message, const NPReadingLimits& limits)
{
    QXData data;
    message.enterContainer("y");
    for (std::uint8_t byte = 0; message >> byte;) {
        if (data.size() == limits.dataBytes) {
            throw beyondLimit("a file is larger than " + std::to_string(limits.dataBytes) + " bytes");
        }
        data.push_back(byte);
    }
    message.clearFlags(); // the end of the bytes has set one
    message.exitContainer();
    return data;
}

NPControlSettings NPReadSettings(sdbus::Message& message, const NPReadingLimits& limits)
{
    NPControlSettings settings;
    message.enterContainer("{ss}");
    for (std::size_t count = 0; !isAtEnd(message); ++count) {
        if (count == limits.settings) {
            throw beyondLimit("there are more than " + std::to_string(limits.settings) + " settings");
        }
        message.enterDictEntry("ss");
        std::string key = NPReadText(message, limits);
        settings.insert_or_assign(std::move(key), NPReadText(message, limits));
        message.exitDictEntry();
    }
    message.exitContainer();
    return settings;
}

QXDictionary NPReadDictionary(sdbus::Message& message)
{
    QXDictionary dictionary;
    message.enterContainer("{sv}");
    while (!isAtEnd(message)) {
        message.enterDictEntry(namedValue);
        std::string key = NPReadText(message);
        dictionary.insert_or_assign(std::move(key), readValue(message));
        message.exitDictEntry();
    }
    message.exitContainer();
    return dictionary;
}

QXArray NPReadDictionaries(sdbus::Message& message)
{
    return readArray(message, "a{sv}", [](sdbus::Message& item) { return QXValue(NPReadDictionary(item)); });
}
