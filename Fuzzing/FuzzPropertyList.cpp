// Whatever the bytes, reading them gives a value or one line. A value that was read can be written in both
// forms, and what was written reads back as the same value.
#include "Foundation/QXAssert.h"
#include "Foundation/QXPropertyList.h"

#include <algorithm>

namespace {

// Tighter than the default, so that each run is short and everything that was read can be written.
constexpr QXPropertyListLimits limits{.bytes = 1 << 20, .depth = 128, .nodes = 20000};

// The written bytes tell values apart to the bit, not-a-numbers included.
void checkThatWritingKeeps(const QXValue& value)
{
    const auto written = QXPropertyListBinaryData(value);
    QXAssert(written.has_value(), "a value that was read cannot be written");
    const auto again = QXPropertyListFromData(*written);
    QXAssert(again.has_value(), "the binary form cannot be read");
    QXAssert(QXPropertyListBinaryData(*again) == written, "the binary form changes the value");
}

// XML replaces some characters and drops the fractions of dates, but only once.
void checkXML(const QXValue& value, bool wasXML)
{
    const auto written = QXPropertyListXMLData(value);
    if (!written) {
        QXAssert(!wasXML, "a value from XML cannot be written as XML");
        return; // a date that XML cannot express
    }
    const auto again = QXPropertyListFromData(*written);
    QXAssert(again.has_value(), "the XML form cannot be read");
    QXAssert(QXPropertyListXMLData(*again) == written, "the XML form changes each time");
    QXAssert(!wasXML || QXPropertyListBinaryData(*again) == QXPropertyListBinaryData(value),
             "the XML form changes the value");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const std::span<const std::uint8_t> data(bytes, size);
    const auto value = QXPropertyListFromData(data, limits);
    if (!value) {
        QXAssert(!value.error().empty() && value.error().find('\n') == std::string::npos, "not one line");
        return 0;
    }
    const bool wasXML = data.front() != 'b';
    checkThatWritingKeeps(*value);
    checkXML(*value, wasXML);
    return 0;
}
