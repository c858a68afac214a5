#include "Shell/QXAppcast.h"

#include "Foundation/QXUnicode.h"
#include "Foundation/QXXMLScanner.h"

#include <charconv>

namespace {

std::string trimmed(std::string text)
{
    constexpr std::string_view whiteSpace = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(whiteSpace);
    if (begin == std::string::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(whiteSpace) + 1 - begin);
}

std::uint64_t length(const std::string& text)
{
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? value : 0;
}

class Reader {
public:
    explicit Reader(std::string_view text) : _scanner(text, "") {}

    std::expected<std::vector<QXAppcastItem>, std::string> read()
    {
        const bool isFeed = _scanner.skipProlog() && _readRoot() && _scanner.skipMiscellaneous();
        if (isFeed && !_scanner.isAtEnd()) {
            _scanner.fail(_scanner.position(), "text after the end of the feed");
        }
        if (!_scanner.error().empty()) {
            return std::unexpected(_scanner.error());
        }
        return std::move(_items);
    }

private:
    // Calls the reaction with each element in the one whose opening tag was the last one; the reaction reads it to its
    // end. False after an error.
    template<class Reaction> bool _forEachChild(const QXXMLTag& parent, Reaction reaction)
    {
        if (parent.isEmpty) {
            return true;
        }
        for (;;) {
            const std::optional<QXXMLTag> tag = _scanner.nextTag();
            if (!tag) {
                return false;
            }
            if (tag->isClosing) {
                if (tag->name != parent.name) {
                    _scanner.fail(tag->position, "an end tag of another element");
                    return false;
                }
                return true;
            }
            if (!reaction(*tag)) {
                return false;
            }
        }
    }

    bool _readRoot()
    {
        const std::optional<QXXMLTag> root = _scanner.nextTag();
        if (!root) {
            return false;
        }
        if (root->name != "rss" || root->isClosing) {
            _scanner.fail(root->position, QXQuotedForLine(root->name) + " where an update feed has \"rss\"");
            return false;
        }
        return _forEachChild(*root, [this](const QXXMLTag& tag) {
            return tag.name == "channel" ? _readChannel(tag) : _scanner.skipElement(tag);
        });
    }

    bool _readChannel(const QXXMLTag& channel)
    {
        return _forEachChild(channel, [this](const QXXMLTag& tag) {
            return tag.name == "item" ? _readItem(tag) : _scanner.skipElement(tag);
        });
    }

    bool _readItem(const QXXMLTag& element)
    {
        QXAppcastItem item;
        if (!_forEachChild(element, [&](const QXXMLTag& tag) { return _readProperty(tag, item); })) {
            return false;
        }
        if (!item.version.empty()) { // without one, nobody can tell whether it is newer
            if (item.shortVersion.empty()) {
                item.shortVersion = item.version;
            }
            _items.push_back(std::move(item));
        }
        return true;
    }

    bool _readProperty(const QXXMLTag& tag, QXAppcastItem& item)
    {
        static constexpr std::pair<std::string_view, std::string QXAppcastItem::*> texts[] = {
            {"sparkle:version", &QXAppcastItem::version},
            {"sparkle:shortVersionString", &QXAppcastItem::shortVersion},
            {"sparkle:minimumSystemVersion", &QXAppcastItem::minimumSystemVersion},
            {"sparkle:releaseNotesLink", &QXAppcastItem::releaseNotesURL},
            {"sparkle:channel", &QXAppcastItem::channel},
            {"description", &QXAppcastItem::releaseNotes},
            {"link", &QXAppcastItem::downloadPage},
        };
        for (const auto& [name, member] : texts) {
            if (tag.name == name) {
                std::optional<std::string> text = _scanner.textOf(tag);
                item.*member = trimmed(text.value_or(""));
                return text.has_value();
            }
        }
        if (tag.name == "enclosure") {
            _readEnclosure(tag, item);
        }
        item.isCritical = item.isCritical || tag.name == "sparkle:criticalUpdate";
        return _scanner.skipElement(tag);
    }

    // Older feeds have the version here.
    void _readEnclosure(const QXXMLTag& tag, QXAppcastItem& item)
    {
        const auto attribute = [&](std::string_view name) { return _scanner.attribute(tag, name).value_or(""); };
        if (item.version.empty()) {
            item.version = attribute("sparkle:version");
        }
        if (item.shortVersion.empty()) {
            item.shortVersion = attribute("sparkle:shortVersionString");
        }
        item.enclosures.push_back({attribute("url"), attribute("sparkle:os"), attribute("sparkle:edSignature"),
                                   length(attribute("length"))});
    }

    QXXMLScanner _scanner;
    std::vector<QXAppcastItem> _items;
};

} // namespace

std::expected<std::vector<QXAppcastItem>, std::string> QXAppcastItemsFromText(std::string_view text)
{
    return Reader(text).read();
}
