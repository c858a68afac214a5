// Whatever the bytes, reading them gives items that have versions, or one line that begins with the line's number.
#include "Foundation/QXAssert.h"
#include "Foundation/QXVersion.h"
#include "Shell/QXAppcast.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const std::string text(bytes, bytes + size);
    const auto items = QXAppcastItemsFromText(text);
    if (!items) {
        QXAssert(items.error().starts_with("line "), "an error without its line");
        QXAssert(items.error().find('\n') == std::string::npos, "not one line");
        return 0;
    }
    for (const QXAppcastItem& item : *items) {
        QXAssert(!item.version.empty() && !item.shortVersion.empty(), "an item without a version");
        const int order = QXCompareVersions(item.version, items->front().version);
        const int opposite = QXCompareVersions(items->front().version, item.version);
        QXAssert((order < 0) == (opposite > 0) && (order == 0) == (opposite == 0), "no order");
    }
    return 0;
}
