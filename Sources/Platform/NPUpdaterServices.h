// What checking for updates needs of the platform: the feed's bytes, signatures, and somebody to show what was
// found.
#pragma once

#include "Foundation/QXValue.h"

#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <string>

// Keeps a download going for as long as somebody holds it; without it, it ends without a word.
using NPDownload = std::shared_ptr<void>;

class NPDownloadServices {
public:
    virtual ~NPDownloadServices() = default;

    // Reads the address in the background. The completion is called once, on the main thread, and not before this
    // returns: with the bytes, or one line for people that says why there are none. More than `limit` bytes are
    // an error, as are an answer that is no success, an address that is neither https nor http to this very
    // machine (also after a redirection), a server that says nothing for half a minute, and one that says so little at
    // a time that it would not come to an end. The completion may drop what keeps the download going.
    [[nodiscard]] virtual NPDownload
    download(const std::string& url, std::size_t limit,
             std::function<void(std::expected<QXData, std::string>)> completion) = 0;
};

class NPSignatureServices {
public:
    virtual ~NPSignatureServices() = default;

    // Whether the signature (Ed25519, 64 bytes) of the message was made with the key that goes with this public one
    // (32 bytes). False for others.
    virtual bool isValidSignature(const QXData& signature, const QXData& message,
                                  const QXData& publicKey) const = 0;
};

// A version that somebody may want, for people.
struct NPUpdateOffer {
    std::string version; // "1.2 (340)"
    std::string currentVersion; // the one that runs
    std::string releaseNotes; // HTML; empty when there are none
    bool isCritical = false; // then it cannot be skipped
};

enum class NPUpdateChoice {
    openDownloadPage,
    remindLater, // also when the window is closed
    skip, // this version is not offered again by itself
};

// Shows what goes on. One check at a time.
class NPUpdateUserDriver {
public:
    virtual ~NPUpdateUserDriver() = default;

    // A check by hand has begun; it may be cancelled until dismissUpdateCheck().
    virtual void showUserInitiatedUpdateCheck(std::function<void()> cancel) = 0;
    virtual void dismissUpdateCheck() = 0;

    // Returns at once; the reply is called once. Also shown when nobody has asked, so it takes no focus then.
    virtual void showUpdateFound(const NPUpdateOffer& offer, bool userInitiated,
                                 std::function<void(NPUpdateChoice)> reply) = 0;
};

struct NPUpdaterServices {
    NPDownloadServices& downloads;
    NPSignatureServices& signatures;
    NPUpdateUserDriver& userDriver;
    std::string operatingSystem; // "linux": downloads for others are not for us
    std::string systemVersion; // "12.8"; what an update's minimum is compared with
};
