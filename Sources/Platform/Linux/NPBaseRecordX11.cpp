#include "Platform/Linux/NPBaseRecordX11.h"

#include <algorithm>

namespace {

constexpr std::uint16_t formatVersion = 1;
constexpr std::size_t headerItems = 8; // version, display 2, owner 4, size

// The high items come first.
template<typename Number>
void append(std::vector<std::uint16_t>& items, Number number)
{
    for (std::size_t shift = sizeof(Number) * 8; shift > 0; shift -= 16) {
        items.push_back(static_cast<std::uint16_t>(number >> (shift - 16)));
    }
}

template<typename Number>
Number extract(std::span<const std::uint16_t> items)
{
    Number number = 0;
    for (const std::uint16_t item : items.first(sizeof(Number) / sizeof(std::uint16_t))) {
        number = static_cast<Number>(number << 16 | item);
    }
    return number;
}

} // namespace

std::string NPBaseRecordX11Name(std::uint32_t crtc)
{
    return "_NIGHTPANE_BASE_TABLE_" + std::to_string(crtc);
}

std::vector<std::uint16_t> NPBaseRecordX11Encode(const NPBaseRecordX11& record)
{
    const auto samples = record.table.samples();
    std::vector<std::uint16_t> items;
    items.reserve(headerItems + samples.size());
    items.push_back(formatVersion);
    append(items, record.display);
    append(items, record.owner);
    items.push_back(static_cast<std::uint16_t>(record.table.size()));
    items.insert(items.end(), samples.begin(), samples.end());
    return items;
}

std::optional<NPBaseRecordX11> NPBaseRecordX11Decode(std::span<const std::uint16_t> items)
{
    if (items.size() < headerItems || items[0] != formatVersion) {
        return std::nullopt;
    }
    const std::size_t size = items[headerItems - 1];
    const auto samples = items.subspan(headerItems);
    if (size < NPHardwareTable::minimumSize || samples.size() != size * NPHardwareTable::channelCount) {
        return std::nullopt;
    }
    NPBaseRecordX11 record;
    record.display = extract<NPDisplayID>(items.subspan(1));
    record.owner = extract<std::uint64_t>(items.subspan(3));
    record.table = NPHardwareTable(size);
    std::ranges::copy(samples, record.table.samples().begin());
    if (!NPHardwareTableShowsPicture(record.table)) {
        return std::nullopt;
    }
    return record;
}
