#include "ScreenGamma/QXColorProfile.h"

#include "Foundation/QXAssert.h"
#include "Foundation/QXURL.h"
#include "ScreenGamma/QXBigEndian.h"
#include "ScreenGamma/QXVideoCardGamma.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>

namespace {

constexpr std::size_t tableHeaderSize = 18;
constexpr std::size_t channelCount = 3;

QXGammaTable tableFromValues(const QXDisplayTransferTables& tables)
{
    QXGammaTable table;
    const auto values = std::span(tables.values);
    std::ranges::copy(values.first(tables.count), table.redTable.begin());
    std::ranges::copy(values.subspan(tables.count, tables.count), table.greenTable.begin());
    std::ranges::copy(values.subspan(2 * tables.count, tables.count), table.blueTable.begin());
    table.sampleCount = static_cast<std::uint32_t>(tables.count);
    return table;
}

void fillFromFormula(QXGammaTable::Channel& channel, const QXDisplayTransferFormula& formula)
{
    for (std::size_t i = 0; i < QXGammaTableCapacity; ++i) {
        const double position = static_cast<double>(i) / (QXGammaTableCapacity - 1);
        channel[i] = static_cast<float>(formula.minimum
                                        + (formula.maximum - formula.minimum) * std::pow(position, formula.gamma));
    }
}

QXGammaTable tableFromFormulas(const QXDisplayTransferFormulas& formulas)
{
    QXGammaTable table;
    fillFromFormula(table.redTable, formulas[0]);
    fillFromFormula(table.greenTable, formulas[1]);
    fillFromFormula(table.blueTable, formulas[2]);
    table.sampleCount = QXGammaTableCapacity;
    return table;
}

// The sizes are those that were checked.
float entryOf(std::span<const std::uint8_t> channel, std::size_t index, std::size_t size)
{
    switch (size) {
    case 1:
        return static_cast<float>(channel[index]) / 255.0F;
    case 2:
        return static_cast<float>(QXBigEndian16(channel, 2 * index)) / 65535.0F;
    default:
        return static_cast<float>(QXBigEndian32(channel, 4 * index)) * 2.3283064e-10F; // exactly 2 to the −32
    }
}

std::uint32_t word(float sample)
{
    return sample > 0.0F ? static_cast<std::uint32_t>(std::round(std::min(sample, 1.0F) * 65535.0F)) : 0;
}

// Appends numbers of one description tag.
class TagWriter {
public:
    explicit TagWriter(std::size_t size) { data.reserve(size); }

    void put16(std::uint32_t number)
    {
        data.push_back(static_cast<std::uint8_t>(number >> 8));
        data.push_back(static_cast<std::uint8_t>(number));
    }
    void put32(std::uint32_t number)
    {
        put16(number >> 16);
        put16(number);
    }
    void put(std::string_view text) { data.insert(data.end(), text.begin(), text.end()); }

    QXData data;
};

} // namespace

std::expected<QXColorProfile, std::string> QXColorProfile::profileWithData(QXData data,
                                                                           std::optional<std::string> url)
{
    auto tags = QXICCTagTable::tableWithData(std::move(data));
    if (!tags) {
        return std::unexpected(tags.error());
    }
    return QXColorProfile(std::move(*tags), std::move(url));
}

QXGammaTable QXColorProfileGetGammaTable(const QXColorProfile& profile)
{
    if (const auto base = profile.tag(QXBaseTableTag)) {
        return _QXColorProfileGetGammaTableFromVGCTData(*base);
    }
    const auto tag = profile.tag(QXVideoCardGammaTag).value_or(std::span<const std::uint8_t>());
    const auto tables = QXDisplayTransferTablesFromVCGT(tag);
    if (tables && tables->count >= 1 && tables->count <= QXGammaTableCapacity) {
        return tableFromValues(*tables);
    }
    QXDisplayTransferFormulas formulas;
    QXDisplayTransferFormulaFromVCGT(tag, formulas); // without a formula it stays the neutral one
    return tableFromFormulas(formulas);
}

QXGammaTable _QXColorProfileGetGammaTableFromVGCTData(std::span<const std::uint8_t> data)
{
    QXGammaTable table;
    if (data.size() < tableHeaderSize || QXBigEndian32(data, 0) != QXVideoCardGammaTag
        || QXBigEndian32(data, 8) != 0) {
        return table;
    }
    const std::uint64_t channels = QXBigEndian16(data, 12);
    const std::uint64_t count = QXBigEndian16(data, 14);
    const std::uint64_t size = QXBigEndian16(data, 16);
    const bool isUsable =
        channels > 0 && count > 0 && count <= QXGammaTableCapacity && (size == 1 || size == 2 || size == 4);
    if (!isUsable || data.size() < tableHeaderSize + channels * count * size) {
        return table;
    }
    QXGammaTable::Channel* const targets[channelCount] = {&table.redTable, &table.greenTable, &table.blueTable};
    for (std::uint64_t k = 0; k < channelCount; ++k) {
        QXAssert(k < channels, "bytes != nil"); // on purpose: such a tag is not damaged, it is not ours
        const auto bytes = data.subspan(static_cast<std::size_t>(tableHeaderSize + k * count * size));
        for (std::size_t i = 0; i < count; ++i) {
            (*targets[k])[i] = entryOf(bytes, i, static_cast<std::size_t>(size));
        }
    }
    table.sampleCount = static_cast<std::uint32_t>(count);
    return table;
}

void _QXColorProfileSetGammaTableForTag(QXColorProfile& profile, const QXGammaTable& table,
                                        QXTagSignature signature)
{
    const std::size_t totalSize = tableHeaderSize + std::size_t{6} * table.sampleCount;
    TagWriter tag(totalSize);
    tag.put32(QXVideoCardGammaTag); // the type, also inside "NP^b"
    tag.put32(0);
    tag.put32(0); // the table form
    tag.put16(channelCount);
    tag.put16(table.sampleCount);
    tag.put16(2);
    for (const QXGammaTable::Channel* channel : {&table.redTable, &table.greenTable, &table.blueTable}) {
        for (const float sample : std::span(*channel).first(table.sampleCount)) {
            tag.put16(word(sample));
        }
    }
    QXAssert(tag.data.size() == totalSize, "CFDataGetLength(data) == totalSize");
    profile.setTag(signature, std::move(tag.data));
}

void QXColorProfileSetGammaTable(QXColorProfile& profile, const QXGammaTable& table)
{
    _QXColorProfileSetGammaTableForTag(profile, table, QXVideoCardGammaTag);
}

void QXColorProfileSetBaseGammaTable(QXColorProfile& profile, const QXGammaTable& table)
{
    _QXColorProfileSetGammaTableForTag(profile, table, QXBaseTableTag);
}

std::optional<std::string> QXColorProfileCopyBaseURL(const QXColorProfile& profile)
{
    const auto tag = profile.tag(QXBaseURLTag);
    if (!tag) {
        return profile.url();
    }
    std::string text(tag->begin(), tag->end());
    return QXIsAbsoluteURL(text) ? std::optional(std::move(text)) : std::nullopt;
}

bool QXColorProfileIsCustom(const QXColorProfile& profile)
{
    return profile.tag(QXBaseTableTag).has_value();
}

bool QXColorProfileShowsBaseTable(const QXColorProfile& profile)
{
    const auto base = profile.tag(QXBaseTableTag);
    const auto shown = profile.tag(QXVideoCardGammaTag);
    return base && shown && std::ranges::equal(*base, *shown);
}

void QXColorProfileSetBaseURL(QXColorProfile& profile, const std::optional<std::string>& url)
{
    if (url) {
        profile.setTag(QXBaseURLTag, QXData(url->begin(), url->end()));
    } else {
        profile.removeTag(QXBaseURLTag);
    }
}

void QXColorProfileSetDescription(QXColorProfile& profile, const char* name)
{
    const std::string_view text(name, std::strlen(name) + 1); // the terminating zero counts everywhere
    const auto count = static_cast<std::uint32_t>(text.size());
    TagWriter tag(23 + 4 * text.size());
    tag.put32(QXDescriptionTag);
    tag.put32(0);
    tag.put32(count);
    tag.put(text);
    tag.put32(0); // Unicode language
    tag.put32(count);
    for (const char byte : text) {
        // Each byte widened with its sign, not decoded: 0x80 becomes 0xFF80. Kept, as is the ScriptCode part
        // below without its usual padding to 67 bytes, so that the tag's length follows from the name's.
        const int widened = static_cast<signed char>(byte); // NOLINT(bugprone-signed-char-misuse)
        tag.put16(static_cast<std::uint32_t>(widened) & 0xFFFF);
    }
    tag.put16(0); // ScriptCode
    tag.data.push_back(static_cast<std::uint8_t>(count));
    tag.put(text);
    profile.setTag(QXDescriptionTag, std::move(tag.data));
    profile.removeTag(QXLocalizedDescriptionTag);
}
