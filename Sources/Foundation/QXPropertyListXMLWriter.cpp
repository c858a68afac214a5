#include "Foundation/QXBase64.h"
#include "Foundation/QXPropertyListForms.h"
#include "Foundation/QXString.h"

#include <cmath>

namespace {

constexpr std::string_view prologue = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                      "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                      "<plist version=\"1.0\">\n";
constexpr std::string_view epilogue = "</plist>\n";

class Writer {
public:
    std::string take() { return std::move(_text); }
    void write(std::string_view text) { _text += text; }
    void writeValue(const QXValue& value, std::size_t depth);

private:
    void _indent(std::size_t depth) { _text.append(depth, '\t'); }
    void _writeElement(std::string_view name, std::string_view content);
    void _writeData(const QXData& data, std::size_t depth);
    void _writeArray(const QXArray& array, std::size_t depth);
    void _writeDictionary(const QXDictionary& dictionary, std::size_t depth);

    std::string _text;
};

std::string escaped(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '\r':
            result += "&#13;"; // as it is, a reader would make a line feed of it
            break;
        default:
            result += c;
        }
    }
    return result;
}

std::string realText(double real)
{
    if (std::isinf(real)) {
        return real > 0 ? "+infinity" : "-infinity";
    }
    return QXDoubleDescription(real);
}

std::string integerText(const QXValue& value)
{
    const std::int64_t integer = *value.integer();
    const bool isUnsigned = value.kind() == QXValue::Kind::unsignedInteger;
    return isUnsigned ? std::to_string(static_cast<std::uint64_t>(integer)) : std::to_string(integer);
}

void Writer::_writeElement(std::string_view name, std::string_view content)
{
    _text += '<';
    _text += name;
    _text += '>';
    _text += content;
    _text += "</";
    _text += name;
    _text += ">\n";
}

void Writer::writeValue(const QXValue& value, std::size_t depth)
{
    _indent(depth);
    switch (value.kind()) {
    case QXValue::Kind::boolean:
        _text += *value.boolean() ? "<true/>\n" : "<false/>\n";
        break;
    case QXValue::Kind::integer:
    case QXValue::Kind::unsignedInteger:
        _writeElement("integer", integerText(value));
        break;
    case QXValue::Kind::real:
        _writeElement("real", realText(*value.real()));
        break;
    case QXValue::Kind::string:
        _writeElement("string", escaped(*value.string()));
        break;
    case QXValue::Kind::date:
        _writeElement("date", QXDateDescription(*value.date()));
        break;
    case QXValue::Kind::data:
        _writeData(*value.data(), depth);
        break;
    case QXValue::Kind::array:
        _writeArray(*value.array(), depth);
        break;
    case QXValue::Kind::dictionary:
        _writeDictionary(*value.dictionary(), depth);
        break;
    }
}

void Writer::_writeData(const QXData& data, std::size_t depth)
{
    static constexpr std::size_t lineLength = 64;
    const std::string text = QXBase64FromData(data);
    _text += "<data>\n";
    for (std::size_t i = 0; i < text.size(); i += lineLength) {
        _indent(depth);
        _text.append(text, i, lineLength);
        _text += '\n';
    }
    _indent(depth);
    _text += "</data>\n";
}

void Writer::_writeArray(const QXArray& array, std::size_t depth)
{
    if (array.empty()) {
        _text += "<array/>\n";
        return;
    }
    _text += "<array>\n";
    for (const QXValue& element : array) {
        writeValue(element, depth + 1);
    }
    _indent(depth);
    _text += "</array>\n";
}

void Writer::_writeDictionary(const QXDictionary& dictionary, std::size_t depth)
{
    if (dictionary.empty()) {
        _text += "<dict/>\n";
        return;
    }
    _text += "<dict>\n";
    for (const auto& [key, value] : dictionary) {
        _indent(depth + 1);
        _writeElement("key", escaped(key));
        writeValue(value, depth + 1);
    }
    _indent(depth);
    _text += "</dict>\n";
}

} // namespace

QXData QXWriteXMLPropertyList(const QXValue& value)
{
    Writer writer;
    writer.write(prologue);
    writer.writeValue(value, 0);
    writer.write(epilogue);
    const std::string text = writer.take();
    return {text.begin(), text.end()};
}
