// Whatever a display says of itself, the result is an identity and a name that people can read, or none. With
// a header and a checksum put right, so that the fuzzer gets past them.
#include "Foundation/QXAssert.h"
#include "Platform/Linux/NPEdid.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace {

void check(std::span<const std::uint8_t> data)
{
    const auto edid = NPEdidParse(data);
    if (!edid) {
        return;
    }
    QXAssert(edid->identity.size() >= 8 && edid->identity.size() <= 8 + 13, "not numbers and a serial text");
    QXAssert(edid->monitorName.size() <= 13, "longer than its descriptor");
    QXAssert(std::ranges::all_of(edid->monitorName, [](char c) { return c >= ' ' && c <= '~'; }), "unreadable");
    QXAssert(!edid->monitorName.starts_with(' ') && !edid->monitorName.ends_with(' '), "padded");
}

void makeWhole(std::vector<std::uint8_t>& data)
{
    for (std::size_t i = 0; i < 8; ++i) {
        data[i] = i == 0 || i == 7 ? 0x00 : 0xFF;
    }
    const unsigned int sum = std::accumulate(data.begin(), data.begin() + 127, 0U);
    data[127] = static_cast<std::uint8_t>(0U - sum);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    check({bytes, size});
    if (size >= 128) {
        std::vector<std::uint8_t> data(bytes, bytes + size);
        makeWhole(data);
        check(data);
    }
    return 0;
}
