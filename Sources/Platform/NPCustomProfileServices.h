// What custom colour profiles need of the platform: files to lie in, and displays that use them. Unlike other
// services these are called from any thread, and from several at once.
#pragma once

#include "Foundation/QXValue.h"
#include "Platform/NPDisplayServices.h"

#include <expected>
#include <optional>
#include <string>

class NPDeviceProfileServices {
public:
    virtual ~NPDeviceProfileServices() = default;

    // Has the display use the profile at that file URL, or no custom one. Returns when it does, within 5
    // seconds in any case. False when it could not be done. A custom profile that shows the display's own table
    // is the same as none: the display's own one says as much, and is what other programs know.
    virtual bool setCustomProfile(NPDisplayID display, const std::optional<std::string>& location) = 0;
};

// Files and folders, named by absolute file URLs.
class NPFileServices {
public:
    virtual ~NPFileServices() = default;

    // Where programs may keep what they can make anew; without a slash at its end. None when there is no such
    // place.
    virtual std::optional<std::string> cachesFolder() const = 0;

    // Makes the folder and those that it lies in. Nothing when it is there. The error is one line.
    virtual std::expected<void, std::string> createFolder(const std::string& url) = 0;

    // Whoever reads the file finds its old content or the new one. False when it could not be written.
    virtual bool writeFile(const std::string& url, const QXData& content) = 0;

    // Without a word when it is not there or cannot be removed.
    virtual void removeFile(const std::string& url) = 0;
    virtual void removeFolder(const std::string& url) = 0; // with all that is in it
};
