// Whatever the bytes, reading them gives a profile or one line. A profile that was read can be edited and
// written, and what was written reads back with every other tag as it was.
#include "Foundation/QXAssert.h"
#include "ScreenGamma/QXColorProfile.h"

#include <algorithm>

namespace {

bool isEdited(QXTagSignature signature)
{
    return signature == QXVideoCardGammaTag || signature == QXBaseTableTag || signature == QXBaseURLTag
           || signature == QXDescriptionTag || signature == QXLocalizedDescriptionTag;
}

void edit(QXColorProfile& profile)
{
    QXColorProfileSetDescription(profile, "Nightpane");
    QXColorProfileSetBaseURL(profile, QXColorProfileCopyBaseURL(profile));
    QXColorProfileSetBaseGammaTable(profile, QXGammaTableIdentity());
    QXColorProfileSetGammaTable(profile, QXGammaTableIdentity());
}

void checkThatOtherTagsStay(const QXColorProfile& before, const QXColorProfile& after)
{
    for (const QXTagSignature signature : before.signatures()) {
        if (!isEdited(signature)) {
            const auto former = before.tag(signature);
            const auto now = after.tag(signature);
            QXAssert(former && now && std::ranges::equal(*former, *now), "a tag has changed");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const auto profile = QXColorProfile::profileWithData(QXData(bytes, bytes + size), "file:///a.icc");
    if (!profile) {
        QXAssert(!profile.error().empty() && profile.error().find('\n') == std::string::npos, "not one line");
        return 0;
    }
    QXAssert(profile->copyData() == QXData(bytes, bytes + size), "an unchanged profile has changed");
    QXColorProfile edited = *profile;
    edit(edited);
    const auto written = edited.copyData();
    if (!written) {
        return 0; // it would have too many tags
    }
    const auto again = QXColorProfile::profileWithData(*written);
    QXAssert(again.has_value(), "a written profile cannot be read");
    checkThatOtherTagsStay(*profile, *again);
    QXAssert(QXGammaTableEqual(QXColorProfileGetGammaTable(*again), QXColorProfileGetGammaTable(edited)),
             "the table has changed");
    QXColorProfile twice = *again;
    edit(twice);
    QXAssert(twice.copyData() == *written, "editing again changes the profile");
    return 0;
}
