// Whatever the bytes of a table tag, they give a table of at most 256 samples, or none. A table that was read
// from the private tag can be written, and reads back the same from then on.
#include "Foundation/QXAssert.h"
#include "ScreenGamma/QXBigEndian.h"
#include "ScreenGamma/QXColorProfile.h"
#include "ScreenGamma/QXVideoCardGamma.h"

namespace {

// A profile without tags.
QXColorProfile emptyProfile()
{
    QXData file(132);
    QXPutBigEndian32(file, 0, 132);
    QXPutBigEndian32(file, 36, QXMakeTagSignature("acsp"));
    return QXColorProfile::profileWithData(std::move(file)).value();
}

// Whole tags of one or two channels stop the program, on purpose.
bool mayStopTheProgram(std::span<const std::uint8_t> tag)
{
    return tag.size() >= 18 && (QXBigEndian16(tag, 12) == 1 || QXBigEndian16(tag, 12) == 2);
}

void checkPrivateTag(std::span<const std::uint8_t> tag)
{
    const QXGammaTable table = _QXColorProfileGetGammaTableFromVGCTData(tag);
    QXAssert(table.sampleCount <= QXGammaTableCapacity, "too many samples");
    QXColorProfile profile = emptyProfile();
    QXColorProfileSetBaseGammaTable(profile, table);
    const QXGammaTable first = QXColorProfileGetGammaTable(profile);
    QXAssert(first.sampleCount == table.sampleCount, "the count has changed");
    QXColorProfileSetBaseGammaTable(profile, first);
    QXAssert(QXGammaTableEqual(QXColorProfileGetGammaTable(profile), first), "the table changes each time");
}

void checkVideoCardTag(std::span<const std::uint8_t> tag)
{
    const auto tables = QXDisplayTransferTablesFromVCGT(tag);
    QXAssert(!tables
                 || (tables->count >= 1 && tables->count <= QXGammaTableCapacity
                     && tables->values.size() == 3 * tables->count),
             "not three channels of 1 to 256 values");
    QXColorProfile profile = emptyProfile();
    profile.setTag(QXVideoCardGammaTag, QXData(tag.begin(), tag.end()));
    QXGammaTable table = QXColorProfileGetGammaTable(profile);
    QXAssert(table.sampleCount >= 1 && table.sampleCount <= QXGammaTableCapacity, "no table");
    QXColorProfileSetGammaTable(profile, table); // whatever a formula made of it
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const std::span<const std::uint8_t> tag(bytes, size);
    if (!mayStopTheProgram(tag)) {
        checkPrivateTag(tag);
    }
    checkVideoCardTag(tag);
    return 0;
}
