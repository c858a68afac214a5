// The lower half of reading XML files: tags and text, one after the other. It knows XML as far as property lists and
// feeds use it: names with their prefixes as they are written, and no declarations inside the document type.
//
// After the first error every operation fails; error() keeps the first, as one line.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Whether XML 1.0 can express the character at all.
bool QXIsXMLCharacter(char32_t character);

struct QXXMLTag {
    std::string_view name;
    std::size_t position = 0;
    bool isClosing = false;
    bool isEmpty = false; // <name/>
    std::string_view attributes = {}; // as they are written
};

class QXXMLScanner {
public:
    // The text must outlive the scanner and the tags it gives. Errors begin with what kind of file it is.
    explicit QXXMLScanner(std::string_view text, std::string_view kind = "XML property list, ")
        : _text(text), _kind(kind)
    {
    }

    // What may precede the root element: declaration, document type, comments, instructions. Also looks the
    // whole text over for what XML cannot hold.
    bool skipProlog();

    // White space, comments and processing instructions. False for one that does not end.
    bool skipMiscellaneous();
    bool isAtEnd() const { return _position == _text.size(); }
    std::size_t position() const { return _position; }

    // The next tag, with nothing but the above before it.
    std::optional<QXXMLTag> nextTag();

    // The text inside an element whose opening tag was the last one, its closing tag included.
    std::optional<std::string> textOf(const QXXMLTag& element);

    // Goes on behind the element whose opening tag was the last one, whatever is in it.
    bool skipElement(const QXXMLTag& element);

    // None when the tag has no attribute of that name, or one that refers to an unknown character.
    std::optional<std::string> attribute(const QXXMLTag& tag, std::string_view name) const;

    const std::string& error() const { return _error; }
    std::nullopt_t fail(std::size_t position, std::string_view what);

private:
    bool _at(std::string_view expected) const { return _text.substr(_position).starts_with(expected); }
    bool _atCommentOrInstruction() const { return _at("<!--") || _at("<?"); }
    void _skipWhiteSpace();
    bool _skipBehind(std::string_view end);
    bool _skipCommentOrInstruction();
    bool _checkCharacters();
    bool _checkEncoding();
    bool _skipDocumentType();
    bool _skipAttribute();
    void _appendRun(std::string& content, std::size_t end);
    bool _appendCharacterData(std::string& content);
    bool _appendReference(std::string& content);
    bool _appendMarkup(std::string& content);

    std::string_view _text;
    std::string_view _kind;
    std::size_t _position = 0;
    std::string _error;
};
