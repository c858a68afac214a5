#include "Shell/QXAboutBoxText.h"

#include "Foundation/QXSharedScope.h"
#include "Foundation/QXString.h"
#include "Foundation/QXUnicode.h"

namespace {

std::shared_ptr<QXColor> sharedTint()
{
    return QXSharedScope::current().instance<QXColor>([] { return std::make_shared<QXColor>(); });
}

// Numbers as people write them; nothing for other values, which no version is made of.
std::string description(const QXValue* value)
{
    if (!value || !value->isNumber()) {
        return value && value->string() ? *value->string() : std::string();
    }
    return value->kind() == QXValue::Kind::real ? QXDoubleDescription(*value->real())
                                                : std::to_string(*value->integer());
}

// Two bytes a character, in the order that the mark at the beginning tells.
std::optional<std::string> textFromUTF16(std::string_view bytes, bool isBigEndian)
{
    std::u16string units;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const auto second = static_cast<unsigned char>(bytes[i + 1]);
        units += static_cast<char16_t>(isBigEndian ? first << 8 | second : second << 8 | first);
    }
    return QXUTF8FromUTF16(units);
}

bool isUTF8(std::string_view text)
{
    for (std::size_t position = 0; position < text.size();) {
        const auto decoded = QXDecodeUTF8(text, position);
        if (!decoded) {
            return false;
        }
        position += decoded->length;
    }
    return true;
}

// UTF-16 or UTF-8 where a mark says so, UTF-8 where it is well-formed, or else Latin-1, which anything is.
std::string textWithDetectedEncoding(std::string_view bytes)
{
    const bool isBigEndian = bytes.starts_with("\xFE\xFF");
    if (isBigEndian || bytes.starts_with("\xFF\xFE")) {
        return textFromUTF16(bytes.substr(2), isBigEndian).value_or("");
    }
    if (bytes.starts_with("\xEF\xBB\xBF")) {
        bytes.remove_prefix(3);
    }
    if (isUTF8(bytes)) {
        return std::string(bytes);
    }
    std::string text;
    for (const char c : bytes) {
        QXAppendUTF8(text, static_cast<unsigned char>(c));
    }
    return text;
}

} // namespace

QXColor QXAboutBoxBackgroundTint()
{
    return *sharedTint();
}

void QXAboutBoxSetBackgroundTint(QXColor tint)
{
    *sharedTint() = tint;
}

std::string QXAboutBoxApplicationName(const NPBundle& bundle)
{
    const QXValue* name = QXDictionaryValue(bundle.infoDictionary(), CFBundleNameKey);
    if (name && name->string()) {
        return *name->string();
    }
    const std::string path = bundle.bundlePath();
    return path.substr(path.rfind('/') + 1);
}

std::string QXAboutBoxVersionText(const NPBundle& bundle)
{
    const std::string version =
        description(QXDictionaryValue(bundle.infoDictionary(), CFBundleShortVersionStringKey));
    const std::string build = description(QXDictionaryValue(bundle.infoDictionary(), CFBundleVersionKey));
    return build.empty() || build == version ? version : QXFormat(QXLocalizedString("%@ (%@)"), {version, build});
}

std::string QXAboutBoxCopyright(const NPBundle& bundle)
{
    return NPBundleText(bundle, NSHumanReadableCopyrightKey);
}

std::string QXAboutBoxCredits(const NPBundle& bundle)
{
    const std::optional<QXData> data = bundle.resource("Credits", "html");
    if (!data) {
        return {};
    }
    std::string credits = textWithDetectedEncoding(std::string(data->begin(), data->end()));
    constexpr std::string_view formerFont = "Lucida Grande";
    const std::size_t found = credits.find(formerFont);
    if (found != std::string::npos) {
        credits.replace(found, formerFont.size(), "Helvetica Neue");
    }
    return credits;
}

std::vector<QXAboutBoxReplacement> QXAboutBoxReplacements(std::u16string_view templateText, const NPBundle& bundle)
{
    const std::string version = QXFormat(QXLocalizedString("Version %@"), {QXAboutBoxVersionText(bundle)});
    struct Word {
        std::u16string_view word;
        std::string text;
        bool isHTML;
        QXAboutBoxFont font;
    };
    // As they stand in the template, backwards.
    const Word words[] = {
        {u"Credits", QXAboutBoxCredits(bundle), true, QXAboutBoxFont::asInTemplate},
        {u"Copyright", QXAboutBoxCopyright(bundle), false, QXAboutBoxFont::asInTemplate},
        {u"Version", version, false, QXAboutBoxFont::system},
        {u"App", QXAboutBoxApplicationName(bundle), false, QXAboutBoxFont::boldSystem},
    };
    std::vector<QXAboutBoxReplacement> replacements;
    for (const Word& word : words) {
        const std::size_t position = templateText.find(word.word);
        if (position != std::u16string_view::npos) {
            replacements.push_back(
                {position, word.word.size(), QXUTF16FromUTF8(word.text), word.isHTML, word.font});
        }
    }
    return replacements;
}
