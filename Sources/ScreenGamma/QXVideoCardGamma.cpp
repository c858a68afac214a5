#include "ScreenGamma/QXVideoCardGamma.h"

#include "ScreenGamma/QXBigEndian.h"
#include "ScreenGamma/QXGammaTable.h"
#include "ScreenGamma/QXICCTagTable.h"

namespace {

constexpr QXTagSignature typeSignature = QXMakeTagSignature("vcgt");
constexpr std::size_t formOffset = 8;
constexpr std::uint32_t tableForm = 0;
constexpr std::uint32_t formulaForm = 1;
constexpr std::size_t contentOffset = 12;
constexpr std::size_t samplesOffset = 18;
constexpr std::size_t channels = 3;

bool hasForm(std::span<const std::uint8_t> tag, std::uint32_t form)
{
    return tag.size() >= contentOffset && QXBigEndian32(tag, 0) == typeSignature
           && QXBigEndian32(tag, formOffset) == form;
}

class Channel {
public:
    Channel(std::span<const std::uint8_t> bytes, std::size_t entrySize) : _bytes(bytes), _entrySize(entrySize) {}

    float entry(std::size_t index) const
    {
        return _entrySize == 1 ? static_cast<float>(_bytes[index]) / 255.0F
                               : static_cast<float>(QXBigEndian16(_bytes, 2 * index)) / 65535.0F;
    }

    // Sample i of 256, for a channel of more entries.
    float resampled(std::size_t sample, std::size_t count) const
    {
        const std::size_t scaled = sample * (count - 1);
        const std::size_t below = scaled / (QXGammaTableCapacity - 1);
        const std::size_t rest = scaled % (QXGammaTableCapacity - 1);
        if (rest == 0) {
            return entry(below);
        }
        const double low = static_cast<double>(entry(below));
        const double high = static_cast<double>(entry(below + 1));
        return static_cast<float>(low + (high - low) * (static_cast<double>(rest) / (QXGammaTableCapacity - 1)));
    }

private:
    std::span<const std::uint8_t> _bytes;
    std::size_t _entrySize;
};

double fixedPoint(std::span<const std::uint8_t> tag, std::size_t offset)
{
    return static_cast<double>(static_cast<std::int32_t>(QXBigEndian32(tag, offset))) / 65536.0;
}

} // namespace

std::optional<QXDisplayTransferTables> QXDisplayTransferTablesFromVCGT(std::span<const std::uint8_t> tag)
{
    if (!hasForm(tag, tableForm) || tag.size() < samplesOffset) {
        return std::nullopt;
    }
    const std::size_t channelCount = QXBigEndian16(tag, 12);
    const std::size_t entryCount = QXBigEndian16(tag, 14);
    const std::size_t entrySize = QXBigEndian16(tag, 16);
    // At most 3 × 65535 × 2: no overflow, on any platform.
    const bool isKnown = (channelCount == 1 || channelCount == channels) && (entrySize == 1 || entrySize == 2);
    if (!isKnown || entryCount == 0 || tag.size() - samplesOffset < channelCount * entryCount * entrySize) {
        return std::nullopt;
    }
    QXDisplayTransferTables tables;
    tables.count = entryCount > QXGammaTableCapacity ? QXGammaTableCapacity : entryCount;
    tables.values.reserve(channels * tables.count);
    for (std::size_t k = 0; k < channels; ++k) {
        const std::size_t source = channelCount == 1 ? 0 : k;
        const Channel channel(tag.subspan(samplesOffset + source * entryCount * entrySize), entrySize);
        for (std::size_t i = 0; i < tables.count; ++i) {
            tables.values.push_back(entryCount > tables.count ? channel.resampled(i, entryCount)
                                                              : channel.entry(i));
        }
    }
    return tables;
}

bool QXDisplayTransferFormulaFromVCGT(std::span<const std::uint8_t> tag, QXDisplayTransferFormulas& formulas)
{
    constexpr std::size_t channelSize = 12; // gamma, minimum, maximum
    const bool hasOneChannel = tag.size() == contentOffset + channelSize;
    if (!hasForm(tag, formulaForm) || (!hasOneChannel && tag.size() < contentOffset + channels * channelSize)) {
        return false;
    }
    for (std::size_t k = 0; k < channels; ++k) {
        const std::size_t offset = contentOffset + (hasOneChannel ? 0 : k * channelSize);
        formulas[k].gamma = fixedPoint(tag, offset);
        formulas[k].minimum = fixedPoint(tag, offset + 4);
        formulas[k].maximum = fixedPoint(tag, offset + 8);
    }
    return true;
}
