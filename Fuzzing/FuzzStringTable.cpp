// Whatever the bytes, reading them gives a table or one line that begins with the line's number.
#include "Foundation/QXAssert.h"
#include "Foundation/QXStringTable.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const std::string text(bytes, bytes + size);
    const auto table = QXStringTable::tableWithText(text);
    if (!table) {
        QXAssert(table.error().starts_with("line "), "an error without its line");
        QXAssert(table.error().find('\n') == std::string::npos, "not one line");
        return 0;
    }
    QXAssert(table->size() <= size / 6, "more entries than fit"); // the shortest is ""="";
    return 0;
}
