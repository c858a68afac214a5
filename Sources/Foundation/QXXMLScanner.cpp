#include "Foundation/QXXMLScanner.h"

#include "Foundation/QXUnicode.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace {

bool isWhiteSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::optional<char32_t> namedCharacter(std::string_view name)
{
    static constexpr std::pair<std::string_view, char32_t> names[] = {
        {"amp", U'&'}, {"lt", U'<'}, {"gt", U'>'}, {"quot", U'"'}, {"apos", U'\''}};
    const auto* found = std::ranges::find(names, name, [](const auto& entry) { return entry.first; });
    return found == std::end(names) ? std::nullopt : std::optional(found->second);
}

// "#38", "#x26"
std::optional<char32_t> numberedCharacter(std::string_view name)
{
    if (!name.starts_with('#')) {
        return std::nullopt;
    }
    name.remove_prefix(1);
    const bool isHexadecimal = name.starts_with('x');
    name.remove_prefix(isHexadecimal ? 1 : 0);
    std::uint32_t code = 0;
    const auto [end, error] =
        std::from_chars(name.data(), name.data() + name.size(), code, isHexadecimal ? 16 : 10);
    const bool isNumber = error == std::errc() && end == name.data() + name.size();
    return isNumber && QXIsXMLCharacter(code) ? std::optional(char32_t{code}) : std::nullopt;
}

} // namespace

bool QXIsXMLCharacter(char32_t character)
{
    if (character < 0x20) {
        return character == '\t' || character == '\n' || character == '\r';
    }
    return character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF) && character != 0xFFFE
           && character != 0xFFFF;
}

std::nullopt_t QXXMLScanner::fail(std::size_t position, std::string_view what)
{
    if (_error.empty()) {
        const auto line = 1 + std::ranges::count(_text.substr(0, position), '\n');
        _error = std::string(_kind) + "line " + std::to_string(line) + ": ";
        _error += what;
    }
    return std::nullopt;
}

void QXXMLScanner::_skipWhiteSpace()
{
    while (_position < _text.size() && isWhiteSpace(_text[_position])) {
        ++_position;
    }
}

bool QXXMLScanner::_skipBehind(std::string_view end)
{
    const std::size_t found = _text.find(end, _position);
    if (found == std::string_view::npos) {
        fail(_position, "the file ends too early");
        return false;
    }
    _position = found + end.size();
    return true;
}

bool QXXMLScanner::_skipCommentOrInstruction()
{
    const bool isComment = _at("<!--");
    _position += isComment ? 4 : 2;
    return _skipBehind(isComment ? "-->" : "?>");
}

bool QXXMLScanner::skipMiscellaneous()
{
    _skipWhiteSpace();
    while (_atCommentOrInstruction()) {
        if (!_skipCommentOrInstruction()) {
            return false;
        }
        _skipWhiteSpace();
    }
    return true;
}

bool QXXMLScanner::_checkCharacters()
{
    std::size_t position = 0;
    while (position < _text.size()) {
        const auto decoded = QXDecodeUTF8(_text, position);
        if (!decoded) {
            fail(position, "a byte that is not UTF-8");
            return false;
        }
        if (!QXIsXMLCharacter(decoded->character)) {
            fail(position, "a control character, which XML cannot hold");
            return false;
        }
        position += decoded->length;
    }
    return true;
}

// The declaration may name an encoding; ASCII is a part of UTF-8.
bool QXXMLScanner::_checkEncoding()
{
    if (!_at("<?xml")) {
        return true;
    }
    const std::string_view declaration = _text.substr(_position, _text.find("?>", _position) - _position);
    const std::size_t found = declaration.find("encoding");
    if (found == std::string_view::npos) {
        return true;
    }
    const std::size_t open = declaration.find_first_of("\"'", found);
    const std::size_t close =
        open == std::string_view::npos ? open : declaration.find(declaration[open], open + 1);
    const std::string_view name =
        close == std::string_view::npos ? std::string_view() : declaration.substr(open + 1, close - open - 1);
    std::string lower(name);
    std::ranges::transform(lower, lower.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    if (lower != "utf-8" && lower != "utf8" && lower != "us-ascii" && lower != "ascii") {
        fail(_position, "the encoding " + QXQuotedForLine(name) + ", where only UTF-8 is read");
        return false;
    }
    return true;
}

// Entities of the file's own would be declared inside the document type: they are how a small file grows
// without bounds, and no property list needs them.
bool QXXMLScanner::_skipDocumentType()
{
    char quote = 0;
    for (; _position < _text.size(); ++_position) {
        const char c = _text[_position];
        if (quote != 0) {
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '[') {
            fail(_position, "declarations inside the document type, which are not read");
            return false;
        } else if (c == '>') {
            ++_position;
            return true;
        }
    }
    fail(_position, "the file ends too early");
    return false;
}

bool QXXMLScanner::skipProlog()
{
    if (!_checkCharacters()) {
        return false;
    }
    _skipWhiteSpace();
    if (!_checkEncoding() || !skipMiscellaneous()) {
        return false;
    }
    return !_at("<!DOCTYPE") || (_skipDocumentType() && skipMiscellaneous());
}

// Whether somebody asks for it or not, it must be well-formed.
bool QXXMLScanner::_skipAttribute()
{
    const std::size_t start = _position;
    _position = std::min(_text.find_first_of("= \t\r\n/><", _position), _text.size());
    const bool isNamed = _position > start;
    _skipWhiteSpace();
    if (!isNamed || !_at("=")) {
        fail(start, "a tag that is not well-formed");
        return false;
    }
    ++_position;
    _skipWhiteSpace();
    if (!_at("\"") && !_at("'")) {
        fail(start, "an attribute without quotation marks");
        return false;
    }
    const char quote = _text[_position];
    ++_position;
    return _skipBehind({&quote, 1});
}

std::optional<QXXMLTag> QXXMLScanner::nextTag()
{
    if (!skipMiscellaneous()) {
        return std::nullopt;
    }
    if (isAtEnd()) {
        return fail(_position, "the file ends too early");
    }
    if (!_at("<") || _at("<!")) {
        const std::size_t end = std::min(_text.find_first_of("<\r\n", _position + 1), _text.size());
        return fail(_position,
                    QXQuotedForLine(_text.substr(_position, end - _position)) + " where an element is expected");
    }
    QXXMLTag tag;
    tag.position = _position;
    ++_position;
    tag.isClosing = _at("/");
    _position += tag.isClosing ? 1 : 0;
    const std::size_t end = std::min(_text.find_first_of(" \t\r\n/><", _position), _text.size());
    tag.name = _text.substr(_position, end - _position);
    _position = end;
    const std::size_t attributes = end;
    if (tag.name.empty()) {
        return fail(tag.position, "a tag without a name");
    }
    for (;;) {
        _skipWhiteSpace();
        tag.isEmpty = !tag.isClosing && _at("/>");
        if (tag.isEmpty || _at(">")) {
            tag.attributes = _text.substr(attributes, _position - attributes);
            _position += tag.isEmpty ? 2 : 1;
            return tag;
        }
        if (isAtEnd()) {
            return fail(tag.position, "the file ends inside a tag");
        }
        if (!_skipAttribute()) {
            return std::nullopt;
        }
    }
}

// Every kind of line break counts as a line feed.
void QXXMLScanner::_appendRun(std::string& content, std::size_t end)
{
    for (; _position < end; ++_position) {
        const char c = _text[_position];
        if (c != '\r') {
            content += c;
        } else if (!_text.substr(_position + 1).starts_with('\n')) {
            content += '\n';
        }
    }
}

bool QXXMLScanner::_appendCharacterData(std::string& content)
{
    _position += std::string_view("<![CDATA[").size();
    const std::size_t end = _text.find("]]>", _position);
    if (end == std::string_view::npos) {
        fail(_position, "the file ends too early");
        return false;
    }
    _appendRun(content, end);
    _position = end + 3;
    return true;
}

bool QXXMLScanner::_appendReference(std::string& content)
{
    static constexpr std::size_t longest = 16;
    const std::size_t length = _text.substr(_position, longest).find(';');
    const bool ends = length != std::string_view::npos;
    const std::string_view name = ends ? _text.substr(_position + 1, length - 1) : std::string_view();
    std::optional<char32_t> character = namedCharacter(name);
    if (!character) {
        character = numberedCharacter(name);
    }
    if (!character) {
        fail(_position, "an \"&\" that begins no known character");
        return false;
    }
    QXAppendUTF8(content, *character);
    _position += length + 1;
    return true;
}

bool QXXMLScanner::_appendMarkup(std::string& content)
{
    if (_at("&")) {
        return _appendReference(content);
    }
    return _at("<![CDATA[") ? _appendCharacterData(content) : _skipCommentOrInstruction();
}

std::optional<std::string> QXXMLScanner::textOf(const QXXMLTag& element)
{
    std::string content;
    if (element.isEmpty) {
        return content;
    }
    for (;;) {
        _appendRun(content, std::min(_text.find_first_of("<&", _position), _text.size()));
        const bool isTag = _at("<") && !_atCommentOrInstruction() && !_at("<![CDATA[");
        if (!isTag && !isAtEnd()) {
            if (!_appendMarkup(content)) {
                return std::nullopt;
            }
            continue;
        }
        const std::optional<QXXMLTag> tag = nextTag();
        if (!tag) {
            return std::nullopt;
        }
        if (!tag->isClosing || tag->name != element.name) {
            return fail(tag->position, "something else than text inside " + QXQuotedForLine(element.name));
        }
        return content;
    }
}

bool QXXMLScanner::skipElement(const QXXMLTag& element)
{
    std::vector<std::string_view> open;
    if (!element.isEmpty) {
        open.push_back(element.name);
    }
    std::string ignored;
    while (!open.empty()) {
        _position = std::min(_text.find('<', _position), _text.size());
        if (_at("<![CDATA[") || _atCommentOrInstruction()) {
            if (!_appendMarkup(ignored)) {
                return false;
            }
            continue;
        }
        const std::optional<QXXMLTag> tag = nextTag();
        if (!tag) {
            return false;
        }
        if (tag->isClosing && tag->name != open.back()) {
            fail(tag->position, "an end tag of another element");
            return false;
        }
        if (tag->isClosing) {
            open.pop_back();
        } else if (!tag->isEmpty) {
            open.push_back(tag->name);
        }
    }
    return true;
}

// The tag has been read, so its attributes are well-formed.
std::optional<std::string> QXXMLScanner::attribute(const QXXMLTag& tag, std::string_view name) const
{
    QXXMLScanner scanner(tag.attributes, _kind);
    for (scanner._skipWhiteSpace(); !scanner.isAtEnd(); scanner._skipWhiteSpace()) {
        const std::size_t start = scanner._position;
        if (!scanner._skipAttribute()) {
            return std::nullopt;
        }
        const std::string_view whole = tag.attributes.substr(start, scanner._position - start);
        const std::size_t quote = whole.find_first_of("\"'");
        if (whole.substr(0, whole.find_first_of("= \t\r\n")) != name) {
            continue;
        }
        QXXMLScanner value(whole.substr(quote + 1, whole.size() - quote - 2), _kind);
        std::string text;
        while (!value.isAtEnd()) {
            value._appendRun(text, std::min(value._text.find('&', value._position), value._text.size()));
            if (value._at("&") && !value._appendReference(text)) {
                return std::nullopt;
            }
        }
        return text;
    }
    return std::nullopt;
}
