#include "CommandLine/NPJSON.h"

#include "Foundation/QXString.h"

#include <cmath>

namespace {

void appendString(std::string& json, std::string_view text)
{
    static constexpr std::string_view hexadecimal = "0123456789abcdef";
    json += '"';
    for (const char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            json += '\\';
            json += c;
        } else if (c == '\n') {
            json += "\\n";
        } else if (byte < 0x20) {
            json += "\\u00";
            json += hexadecimal[byte >> 4];
            json += hexadecimal[byte & 15];
        } else {
            json += c;
        }
    }
    json += '"';
}

void appendValue(std::string& json, const QXValue& value);

void appendArray(std::string& json, const QXArray& array)
{
    json += '[';
    for (std::size_t i = 0; i < array.size(); ++i) {
        json += i == 0 ? "" : ",";
        appendValue(json, array[i]);
    }
    json += ']';
}

void appendDictionary(std::string& json, const QXDictionary& dictionary)
{
    json += '{';
    bool first = true;
    for (const auto& [key, value] : dictionary) {
        json += first ? "" : ",";
        first = false;
        appendString(json, key);
        json += ':';
        appendValue(json, value);
    }
    json += '}';
}

void appendValue(std::string& json, const QXValue& value)
{
    switch (value.kind()) {
    case QXValue::Kind::boolean:
        json += *value.boolean() ? "true" : "false";
        break;
    case QXValue::Kind::integer:
        json += std::to_string(*value.integer());
        break;
    case QXValue::Kind::unsignedInteger:
        json += std::to_string(static_cast<std::uint64_t>(*value.integer()));
        break;
    case QXValue::Kind::real:
        json += std::isfinite(*value.real()) ? QXDoubleDescription(*value.real()) : "null";
        break;
    case QXValue::Kind::string:
        appendString(json, *value.string());
        break;
    case QXValue::Kind::date:
        appendString(json, QXDateDescription(*value.date()));
        break;
    case QXValue::Kind::data:
        json += "null";
        break;
    case QXValue::Kind::array:
        appendArray(json, *value.array());
        break;
    case QXValue::Kind::dictionary:
        appendDictionary(json, *value.dictionary());
        break;
    }
}

} // namespace

std::string NPJSONText(const QXValue& value)
{
    std::string json;
    appendValue(json, value);
    return json;
}
