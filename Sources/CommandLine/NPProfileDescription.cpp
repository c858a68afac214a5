#include "CommandLine/NPProfileDescription.h"

#include "CommandLine/NPTextOutput.h"
#include "Foundation/QXString.h"
#include "ScreenGamma/QXVideoCardGamma.h"

namespace {

std::string signatureText(QXTagSignature signature)
{
    std::string text;
    for (const int shift : {24, 16, 8, 0}) {
        text += static_cast<char>(signature >> shift);
    }
    return NPPrintable(text);
}

QXArray formulaDescription(const QXDisplayTransferFormulas& formulas)
{
    QXArray channels;
    for (const QXDisplayTransferFormula& formula : formulas) {
        channels.emplace_back(
            QXDictionary{{"minimum", formula.minimum}, {"maximum", formula.maximum}, {"gamma", formula.gamma}});
    }
    return channels;
}

void describeBase(QXDictionary& description, const QXColorProfile& profile)
{
    const auto gamma = profile.tag(QXVideoCardGammaTag);
    QXDisplayTransferFormulas formulas;
    if (profile.tag(QXBaseTableTag)) {
        description.emplace("baseFrom", "private");
    } else if (!gamma) {
        description.emplace("baseFrom", "display");
    } else if (!QXDisplayTransferTablesFromVCGT(*gamma) && QXDisplayTransferFormulaFromVCGT(*gamma, formulas)) {
        description.emplace("baseFrom", "formula");
        description.emplace("formula", formulaDescription(formulas));
    } else {
        description.emplace("baseFrom", "table");
    }
}

std::string texts(const QXDictionary& dictionary, std::string_view key)
{
    const QXValue* const value = QXDictionaryValue(dictionary, key);
    return value != nullptr && value->string() ? *value->string() : "";
}

std::string number(const QXDictionary& dictionary, std::string_view key)
{
    const QXValue* const value = QXDictionaryValue(dictionary, key);
    return value == nullptr ? "" : QXDoubleDescription(value->real().value_or(0.0));
}

std::string baseText(const QXDictionary& description)
{
    const std::string from = texts(description, "baseFrom");
    const std::string samples = number(description, "samples") + " samples, ";
    if (from == "private") {
        return samples + "kept in Nightpane's tag";
    }
    if (from == "table") {
        return samples + "the profile's gamma table";
    }
    if (from == "display") {
        return samples + "the screen's, the profile has none";
    }
    std::string text = samples + "by the profile's formula:";
    for (const QXValue& channel : *QXDictionaryValue(description, "formula")->array()) {
        const QXDictionary& formula = *channel.dictionary();
        text +=
            ' ' + number(formula, "minimum") + '-' + number(formula, "maximum") + " ^" + number(formula, "gamma");
    }
    return text;
}

} // namespace

QXDictionary NPProfileDescription(const NPDisplayProfile& profile)
{
    QXDictionary description{{"custom", profile.profile->tag(QXBaseTableTag).has_value()},
                             {"samples", profile.baseTable.sampleCount}};
    if (profile.location) {
        description.emplace("location", *profile.location);
    }
    describeBase(description, *profile.profile);
    QXArray tags;
    for (const QXTagSignature signature : profile.profile->signatures()) {
        tags.emplace_back(
            QXDictionary{{"signature", signatureText(signature)},
                         {"size", static_cast<std::int64_t>(profile.profile->tag(signature)->size())}});
    }
    description.emplace("tags", std::move(tags));
    if (const auto content = profile.profile->copyData()) {
        description.emplace("size", static_cast<std::int64_t>(content->size()));
    }
    return description;
}

std::string NPProfileText(const QXDictionary& description)
{
    const bool isCustom = QXDictionaryValue(description, "custom")->boolean().value_or(false);
    const std::string location = texts(description, "location");
    std::string text = std::string("In use        ")
                       + (isCustom ? "a custom profile of Nightpane's" : "its own profile") + ", "
                       + number(description, "size") + " bytes\n";
    text += "Own location  " + (location.empty() ? "none" : NPPrintable(location)) + '\n';
    text += "Base table    " + baseText(description) + "\nTags         ";
    for (const QXValue& tag : *QXDictionaryValue(description, "tags")->array()) {
        text += ' ' + texts(*tag.dictionary(), "signature") + ' ' + number(*tag.dictionary(), "size") + ',';
    }
    if (text.ends_with(',')) {
        text.pop_back();
    }
    return text + '\n';
}
