// How the screen manager and its controllers have custom colour profiles written and applied.
#pragma once

#include "Platform/NPColorProfileServices.h"

#include <functional>
#include <optional>
#include <string>

class NPProfileApplying {
public:
    virtual ~NPProfileApplying() = default;

    // While false nothing is applied, and what is handed over waits. Switching it on applies what waits.
    virtual bool applyEnabled() const = 0;
    virtual void setApplyEnabled(bool enabled) = 0;

    virtual void applyPendingProfiles() = 0;

    // Between the two nothing is applied; the outermost end applies what has gathered.
    virtual void beginUpdate() = 0;
    virtual void endUpdate() = 0;

    // The profile that the display is to get: an absolute URL, or none for no custom profile. Replaces what
    // waits for that display.
    virtual void setProfileURL(std::optional<std::string> location, NPDisplayID screen) = 0;

    // Marks the display as having a profile in preparation: until setProfileURL replaces the mark, no
    // profile of any display is applied. Does not block.
    virtual void waitProfileURLForScreen(NPDisplayID screen) = 0;

    // Writes a copy of the display's profile (`own.profile`) that carries the table, in the background. The
    // completion runs on the main thread with the file's location, or none when it could not be written; at
    // once when there is nothing to write. Of several writes for one display the newest alone may do it.
    using Completion = std::function<void(std::optional<std::string> location)>;
    virtual void writeProfile(NPDisplayID screen, const NPDisplayProfile& own, const QXGammaTable& table,
                              Completion completion) = 0;

    // Deletes the display's custom profile file, if there is one, in the background.
    virtual void removeProfileFileForScreen(NPDisplayID screen) = 0;

    // Deletes all of them, once the writes under way have come to their end.
    virtual void removeProfileFolder() = 0;

    // Returns when every display uses what it is to use, or what it cannot have has been logged in one line.
    // At once while applying is disabled.
    virtual void waitUntilNoPendingProfile() = 0;
};

// For platforms without custom profiles: nothing can be applied, whoever enables it, so nothing is written.
class NPNoCustomProfiles final : public NPProfileApplying {
public:
    bool applyEnabled() const override { return false; }
    void setApplyEnabled(bool) override {}
    void applyPendingProfiles() override {}
    void beginUpdate() override {}
    void endUpdate() override {}
    void setProfileURL(std::optional<std::string>, NPDisplayID) override {}
    void waitProfileURLForScreen(NPDisplayID) override {}
    void writeProfile(NPDisplayID, const NPDisplayProfile&, const QXGammaTable&, Completion) override {}
    void removeProfileFileForScreen(NPDisplayID) override {}
    void removeProfileFolder() override {}
    void waitUntilNoPendingProfile() override {}
};
