// ICC colour profiles of displays: the gamma table that one holds, and what a custom profile of ours adds.
//
// A custom profile is a copy of the display's own one with
//   "vcgt"  the table that the display is to show,
//   "NP^b"  private: the display's base table (its own profile's, without any effect), laid out like "vcgt",
//   "NP^u"  private: where its own profile lies, the UTF-8 text of an absolute URL without a terminator,
//   "desc"  a description that names the application.
// The private tags make it say of itself what it was made from, so reading a display that shows one of them
// yields the true base table and the true location again, and effects never stack on themselves.
#pragma once

#include "ScreenGamma/QXGammaTable.h"
#include "ScreenGamma/QXICCTagTable.h"

#include <optional>
#include <string>

// A profile that has been read, with its tags. Copying it is cheap, and a copy is edited on its own.
class QXColorProfile {
public:
    // The URL, if any, is where the bytes came from. The error is one line.
    static std::expected<QXColorProfile, std::string> profileWithData(QXData data,
                                                                      std::optional<std::string> url = {});

    std::optional<std::span<const std::uint8_t>> tag(QXTagSignature signature) const
    {
        return _tags.tag(signature);
    }
    void setTag(QXTagSignature signature, QXData data) { _tags.setTag(signature, std::move(data)); }
    void removeTag(QXTagSignature signature) { _tags.removeTag(signature); }
    std::vector<QXTagSignature> signatures() const { return _tags.signatures(); }

    const std::optional<std::string>& url() const { return _url; }

    std::expected<QXData, std::string> copyData() const { return _tags.data(); } // see QXICCTagTable::data()

private:
    QXColorProfile(QXICCTagTable tags, std::optional<std::string> url)
        : _tags(std::move(tags)), _url(std::move(url))
    {
    }

    QXICCTagTable _tags;
    std::optional<std::string> _url;
};

inline constexpr QXTagSignature QXVideoCardGammaTag = QXMakeTagSignature("vcgt");
inline constexpr QXTagSignature QXBaseTableTag = QXMakeTagSignature("NP^b");
inline constexpr QXTagSignature QXBaseURLTag = QXMakeTagSignature("NP^u");
inline constexpr QXTagSignature QXDescriptionTag = QXMakeTagSignature("desc");
inline constexpr QXTagSignature QXLocalizedDescriptionTag = QXMakeTagSignature("dscm");

// The display's base table. "NP^b" decides alone when it is there: a damaged one gives sampleCount 0, also
// beside a good "vcgt". Otherwise the table of "vcgt", else its formula, else the neutral table.
QXGammaTable QXColorProfileGetGammaTable(const QXColorProfile& profile);

// Reads the layout of the private table tag. Anything but 3 or more whole channels of 1 to 256 entries of 1,
// 2 or 4 bytes gives sampleCount 0. One or two whole channels stop the program: no profile of ours has them.
QXGammaTable _QXColorProfileGetGammaTableFromVGCTData(std::span<const std::uint8_t> data);

// Puts the table into a tag: 18 bytes and 3 × sampleCount numbers of 16 bits. Samples outside 0..1 count as
// the nearer end, and not a number as 0.
void _QXColorProfileSetGammaTableForTag(QXColorProfile& profile, const QXGammaTable& table,
                                        QXTagSignature signature);
void QXColorProfileSetGammaTable(QXColorProfile& profile, const QXGammaTable& table);     // "vcgt"
void QXColorProfileSetBaseGammaTable(QXColorProfile& profile, const QXGammaTable& table); // "NP^b"

// Where the display's own profile lies: what "NP^u" says when it is there (none when that is no URL), else
// where this profile was read from.
std::optional<std::string> QXColorProfileCopyBaseURL(const QXColorProfile& profile);

// Whether it is a custom profile of ours.
bool QXColorProfileIsCustom(const QXColorProfile& profile);

// Whether a custom profile of ours shows the display's own table: it then changes nothing.
bool QXColorProfileShowsBaseTable(const QXColorProfile& profile);

// Sets "NP^u", or removes it for none.
void QXColorProfileSetBaseURL(QXColorProfile& profile, const std::optional<std::string>& url);

// Sets "desc" and removes "dscm". The name ends at its first zero byte.
void QXColorProfileSetDescription(QXColorProfile& profile, const char* name);
