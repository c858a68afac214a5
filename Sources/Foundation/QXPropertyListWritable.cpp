#include "Foundation/QXPropertyListForms.h"
#include "Foundation/QXUnicode.h"
#include "Foundation/QXXMLScanner.h"

#include <algorithm>

namespace {

// Looks a value over before it is written: what can be mended and what cannot.
class Inspection {
public:
    explicit Inspection(QXPropertyListForm form) : _form(form) {}

    // False when the value cannot be written; error() then says why.
    bool inspect(const QXValue& value, std::size_t depth = 0);
    const std::string& error() const { return _error; }
    bool foundUnwritableText() const { return _foundUnwritableText; }

private:
    bool _inspectContent(const QXValue& value, std::size_t depth);
    bool _fail(std::string error)
    {
        _error = std::move(error);
        return false;
    }
    void _inspectText(std::string_view text);

    QXPropertyListForm _form;
    QXPropertyListLimits _limits;
    std::size_t _nodes = 0;
    bool _foundUnwritableText = false;
    std::string _error;
};

QXDecodedCharacter writableCharacter(std::string_view text, std::size_t position, QXPropertyListForm form)
{
    const auto decoded = QXDecodeUTF8(text, position);
    if (!decoded) {
        return {QXReplacementCharacter, 1};
    }
    const bool writable = form == QXPropertyListForm::binary || QXIsXMLCharacter(decoded->character);
    return {writable ? decoded->character : QXReplacementCharacter, decoded->length};
}

std::string writableText(std::string_view text, QXPropertyListForm form)
{
    std::string result;
    result.reserve(text.size());
    std::size_t position = 0;
    while (position < text.size()) {
        const auto [character, length] = writableCharacter(text, position, form);
        QXAppendUTF8(result, character);
        position += length;
    }
    return result;
}

bool Inspection::inspect(const QXValue& value, std::size_t depth)
{
    if (++_nodes > _limits.nodes) {
        return _fail("a property list of more than " + std::to_string(_limits.nodes) + " values and keys");
    }
    switch (value.kind()) {
    case QXValue::Kind::string:
        _inspectText(*value.string());
        return true;
    case QXValue::Kind::date:
        if (_form == QXPropertyListForm::xml && !QXDateFromDescription(QXDateDescription(*value.date()))) {
            return _fail("a date outside the years 1 to 9999, which XML property lists cannot hold");
        }
        return true;
    case QXValue::Kind::array:
    case QXValue::Kind::dictionary:
        if (depth >= _limits.depth) {
            return _fail("values nested more than " + std::to_string(_limits.depth) + " deep");
        }
        return _inspectContent(value, depth + 1);
    default:
        return true;
    }
}

bool Inspection::_inspectContent(const QXValue& value, std::size_t depth)
{
    if (const QXArray* array = value.array()) {
        return std::ranges::all_of(*array, [&](const QXValue& element) { return inspect(element, depth); });
    }
    return std::ranges::all_of(*value.dictionary(), [&](const auto& entry) {
        ++_nodes;
        _inspectText(entry.first);
        return inspect(entry.second, depth);
    });
}

void Inspection::_inspectText(std::string_view text)
{
    const bool plain = std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
    _foundUnwritableText = _foundUnwritableText || (!plain && writableText(text, _form) != text);
}

QXValue withWritableText(const QXValue& value, QXPropertyListForm form)
{
    if (const std::string* string = value.string()) {
        return writableText(*string, form);
    }
    if (const QXArray* array = value.array()) {
        QXArray result;
        for (const QXValue& element : *array) {
            result.push_back(withWritableText(element, form));
        }
        return result;
    }
    if (const QXDictionary* dictionary = value.dictionary()) {
        // Keys that are writable as they are keep their name; the others make way.
        QXDictionary result;
        std::vector<const QXDictionary::value_type*> changed;
        for (const auto& entry : *dictionary) {
            if (writableText(entry.first, form) == entry.first) {
                result.emplace(entry.first, withWritableText(entry.second, form));
            } else {
                changed.push_back(&entry);
            }
        }
        for (const auto* entry : changed) {
            std::string key = writableText(entry->first, form);
            while (result.contains(key)) {
                QXAppendUTF8(key, QXReplacementCharacter);
            }
            result.emplace(std::move(key), withWritableText(entry->second, form));
        }
        return result;
    }
    return value;
}

} // namespace

std::expected<QXValue, std::string> QXWritablePropertyList(const QXValue& value, QXPropertyListForm form)
{
    Inspection inspection(form);
    if (!inspection.inspect(value)) {
        return std::unexpected(inspection.error());
    }
    return inspection.foundUnwritableText() ? withWritableText(value, form) : value;
}
