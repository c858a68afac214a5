#include "Foundation/QXBase64.h"
#include "Foundation/QXPropertyListForms.h"
#include "Foundation/QXString.h"
#include "Foundation/QXUnicode.h"
#include "Foundation/QXXMLScanner.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace {

class Reader {
public:
    Reader(std::string_view text, const QXPropertyListLimits& limits) : _scanner(text), _limits(limits) {}
    std::expected<QXValue, std::string> read();

private:
    std::optional<QXValue> _readRoot();
    std::optional<QXValue> _readValue(const QXXMLTag& tag, std::size_t depth);
    std::optional<QXValue> _readBoolean(const QXXMLTag& tag);
    std::optional<QXValue> _readArray(const QXXMLTag& tag, std::size_t depth);
    std::optional<QXValue> _readDictionary(const QXXMLTag& tag, std::size_t depth);
    std::optional<std::string> _readKey(const QXXMLTag& tag, const QXDictionary& dictionary);
    std::optional<QXValue> _readScalar(const QXXMLTag& tag);
    bool _spendNode(const QXXMLTag& tag);

    QXXMLScanner _scanner;
    QXPropertyListLimits _limits;
    std::size_t _nodes = 0;
};

std::string_view trimmed(std::string_view text)
{
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    return start == std::string_view::npos ? std::string_view()
                                           : text.substr(start, text.find_last_not_of(" \t\r\n") - start + 1);
}

// Decimal, or hexadecimal after "0x", with an optional sign.
std::optional<QXValue> integerFromText(std::string_view text)
{
    text = trimmed(text);
    const bool negative = text.starts_with('-');
    text.remove_prefix(negative || text.starts_with('+') ? 1 : 0);
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(isHexadecimal ? 2 : 0);
    std::uint64_t magnitude = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), magnitude, isHexadecimal ? 16 : 10);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    if (!negative) {
        return QXValue(magnitude);
    }
    if (magnitude > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) + 1) {
        return std::nullopt;
    }
    return QXValue(static_cast<std::int64_t>(std::uint64_t{0} - magnitude));
}

std::optional<QXValue> realFromText(std::string_view text)
{
    const std::optional<double> real = QXParseDouble(trimmed(text));
    return real ? std::optional(QXValue(*real)) : std::nullopt;
}

// A fraction of a second is refused, as elsewhere: it could not be written again.
std::optional<QXValue> dateFromText(std::string_view text)
{
    text = trimmed(text);
    const std::optional<QXDate> date =
        text.find('.') == std::string_view::npos ? QXDateFromDescription(text) : std::nullopt;
    return date ? std::optional(QXValue(*date)) : std::nullopt;
}

std::optional<QXValue> dataFromText(std::string_view text)
{
    std::optional<QXData> data = QXDataFromBase64(text);
    return data ? std::optional(QXValue(*std::move(data))) : std::nullopt;
}

struct ScalarElement {
    std::string_view name;
    std::optional<QXValue> (*valueFromText)(std::string_view text);
    std::string_view complaint;
};

constexpr ScalarElement scalarElements[] = {
    {"string", [](std::string_view text) { return std::optional(QXValue(text)); }, {}},
    {"integer", integerFromText, "is no integer from -2^63 to 2^64-1"},
    {"real", realFromText, "is no number"},
    {"date", dateFromText, "is no date"},
    {"data", dataFromText, "is no base64"},
};

std::expected<QXValue, std::string> Reader::read()
{
    std::optional<QXValue> root;
    if (_scanner.skipProlog()) {
        root = _readRoot();
    }
    if (!root) {
        return std::unexpected(_scanner.error());
    }
    return *std::move(root);
}

std::optional<QXValue> Reader::_readRoot()
{
    const std::optional<QXXMLTag> root = _scanner.nextTag();
    if (!root) {
        return std::nullopt;
    }
    if (root->name != "plist" || root->isClosing) {
        return _scanner.fail(root->position,
                             "the root element is " + QXQuotedForLine(root->name) + ", not \"plist\"");
    }
    const std::optional<QXXMLTag> first = root->isEmpty ? root : _scanner.nextTag();
    if (!first) {
        return std::nullopt;
    }
    if (first->name == "plist") {
        return _scanner.fail(first->position, "the root element holds no value");
    }
    std::optional<QXValue> value = _readValue(*first, 0);
    const std::optional<QXXMLTag> last = value ? _scanner.nextTag() : std::nullopt;
    if (!last) {
        return std::nullopt;
    }
    if (!last->isClosing || last->name != "plist") {
        return _scanner.fail(last->position, "a second value in the root element");
    }
    if (!_scanner.skipMiscellaneous()) {
        return std::nullopt;
    }
    return _scanner.isAtEnd() ? value : _scanner.fail(_scanner.position(), "something behind the root element");
}

bool Reader::_spendNode(const QXXMLTag& tag)
{
    if (_nodes == _limits.nodes) {
        _scanner.fail(tag.position, "more than " + std::to_string(_limits.nodes) + " values and keys");
        return false;
    }
    ++_nodes;
    return true;
}

std::optional<QXValue> Reader::_readValue(const QXXMLTag& tag, std::size_t depth)
{
    if (tag.isClosing) {
        return _scanner.fail(tag.position,
                             "the closing tag of " + QXQuotedForLine(tag.name) + " at the wrong place");
    }
    if (!_spendNode(tag)) {
        return std::nullopt;
    }
    if (tag.name == "true" || tag.name == "false") {
        return _readBoolean(tag);
    }
    const bool isArray = tag.name == "array";
    if (!isArray && tag.name != "dict") {
        return _readScalar(tag);
    }
    if (depth >= _limits.depth) {
        return _scanner.fail(tag.position, "values nested more than " + std::to_string(_limits.depth) + " deep");
    }
    return isArray ? _readArray(tag, depth + 1) : _readDictionary(tag, depth + 1);
}

std::optional<QXValue> Reader::_readBoolean(const QXXMLTag& tag)
{
    const std::optional<std::string> text = _scanner.textOf(tag);
    if (!text) {
        return std::nullopt;
    }
    if (!trimmed(*text).empty()) {
        return _scanner.fail(tag.position, "text inside " + QXQuotedForLine(tag.name));
    }
    return QXValue(tag.name == "true");
}

std::optional<QXValue> Reader::_readScalar(const QXXMLTag& tag)
{
    const auto* element = std::ranges::find(scalarElements, tag.name, &ScalarElement::name);
    if (element == std::end(scalarElements)) {
        return _scanner.fail(tag.position, "the unknown element " + QXQuotedForLine(tag.name));
    }
    const std::optional<std::string> text = _scanner.textOf(tag);
    if (!text) {
        return std::nullopt;
    }
    std::optional<QXValue> value = element->valueFromText(*text);
    if (!value) {
        return _scanner.fail(tag.position, QXQuotedForLine(*text) + ' ' + std::string(element->complaint));
    }
    return value;
}

std::optional<QXValue> Reader::_readArray(const QXXMLTag& tag, std::size_t depth)
{
    QXArray array;
    while (!tag.isEmpty) {
        const std::optional<QXXMLTag> next = _scanner.nextTag();
        if (!next) {
            return std::nullopt;
        }
        if (next->isClosing && next->name == tag.name) {
            break;
        }
        std::optional<QXValue> element = _readValue(*next, depth);
        if (!element) {
            return std::nullopt;
        }
        array.push_back(*std::move(element));
    }
    return QXValue(std::move(array));
}

std::optional<std::string> Reader::_readKey(const QXXMLTag& tag, const QXDictionary& dictionary)
{
    if (tag.name != "key" || tag.isClosing) {
        return _scanner.fail(tag.position, QXQuotedForLine(tag.name) + " where a key is expected");
    }
    std::optional<std::string> key = _spendNode(tag) ? _scanner.textOf(tag) : std::nullopt;
    if (key && dictionary.contains(*key)) {
        return _scanner.fail(tag.position, "the key " + QXQuotedForLine(*key) + " for the second time");
    }
    return key;
}

std::optional<QXValue> Reader::_readDictionary(const QXXMLTag& tag, std::size_t depth)
{
    QXDictionary dictionary;
    while (!tag.isEmpty) {
        const std::optional<QXXMLTag> next = _scanner.nextTag();
        if (!next) {
            return std::nullopt;
        }
        if (next->isClosing && next->name == tag.name) {
            break;
        }
        std::optional<std::string> key = _readKey(*next, dictionary);
        const std::optional<QXXMLTag> valueTag = key ? _scanner.nextTag() : std::nullopt;
        if (!valueTag) {
            return std::nullopt;
        }
        if (valueTag->isClosing || valueTag->name == "key") {
            return _scanner.fail(valueTag->position, "the key " + QXQuotedForLine(*key) + " without a value");
        }
        std::optional<QXValue> value = _readValue(*valueTag, depth);
        if (!value) {
            return std::nullopt;
        }
        dictionary.emplace(*std::move(key), *std::move(value));
    }
    return QXValue(std::move(dictionary));
}

} // namespace

std::expected<QXValue, std::string> QXReadXMLPropertyList(std::string_view text,
                                                          const QXPropertyListLimits& limits)
{
    return Reader(text, limits).read();
}
