// Whatever another program writes into a record of a display's own table, it is exactly what we write, or none.
#include "Foundation/QXAssert.h"
#include "Platform/Linux/NPBaseRecordX11.h"

#include <algorithm>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    std::vector<std::uint16_t> items(size / sizeof(std::uint16_t));
    if (!items.empty()) {
        std::memcpy(items.data(), bytes, items.size() * sizeof(std::uint16_t));
    }
    if (const auto record = NPBaseRecordX11Decode(items)) {
        QXAssert(NPHardwareTableShowsPicture(record->table), "a dark table");
        QXAssert(NPBaseRecordX11Encode(*record) == items, "not what we write");
    }
    return 0;
}
