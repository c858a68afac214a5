// What the desktop starts when the user logs in.
#pragma once

#include "Foundation/QXValue.h"

#include <string>

// Keys of a job: its label is the bundle identifier of what it starts.
inline constexpr std::string_view NPJobLabelKey = "Label";       // text
inline constexpr std::string_view NPJobOnDemandKey = "OnDemand"; // boolean: it is started at the next login

class NPLoginItems {
public:
    virtual ~NPLoginItems() = default;

    // The user's jobs as they are now, one dictionary each, whoever has changed them.
    virtual QXArray copyAllJobDictionaries() const = 0;

    // Tells the desktop of an application at that file URL, so that the next call finds it.
    virtual void registerURL(const std::string& url) = 0;

    // Adds or removes the job of an application. False when it could not be done.
    virtual bool setLoginItemEnabled(const std::string& bundleIdentifier, bool enabled) = 0;
};
