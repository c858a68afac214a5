// The displays of an X server, over RandR 1.3 or later.
//
// Online is what is connected and driven by a CRTC, the primary display first, then in RandR's order. The
// default screen of the named display alone is served. Tables belong to CRTCs: of several displays that share
// one, the first in the list decides what it shows, and what is written for the others goes nowhere.
//
// Writes go out at once and wait for nothing. While the server does not take them, the newest table of each
// CRTC is held until it does. Reads, finishWriting() and restoreColorSyncSettings() wait for the server, for
// two seconds at most. Main thread only.
#pragma once

#include "Platform/Linux/NPDisplayGuard.h"
#include "Platform/Linux/NPMainLoopLinux.h"
#include "Platform/Linux/NPProfilePropertiesX11.h"
#include "Platform/NPColorProfileServices.h"
#include "Platform/NPDisplayServices.h"

#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

class NPDisplayServerX11;

struct NPProfileAddressX11 {
    std::string displayName; // of the server
    std::string connector;
    NPProfilePlaceX11 place;
};

class NPDisplayServicesX11 final : public NPDisplayServices, public NPColorProfileServices {
public:
    // The display of that name, or the one in DISPLAY when it is empty. The error is one line for people.
    // The loop and the guard must outlive the object. Without a guard nobody gives the displays back after a
    // crash, and what is on them stays when the program ends, as a command that leaves an effect on wants it;
    // either way the next run knows the displays' own tables. With a guard this process becomes the one that
    // drives the displays (NPDisplayOwnerX11), or fails because another one does.
    static std::expected<std::unique_ptr<NPDisplayServicesX11>, std::string>
    open(const std::string& displayName, NPMainLoopLinux& loop, NPDisplayGuard* guard = nullptr);

    ~NPDisplayServicesX11() override;

    // Called once, from the main loop, when the server has gone or has thrown the program out. From then on
    // there are no displays, and every call fails.
    void onConnectionLost(std::function<void()> handler);

    std::optional<NPDisplayList> onlineDisplayList(std::size_t capacity) const override;
    std::optional<NPDisplayList> activeDisplayList(std::size_t capacity) const override;
    std::optional<NPDisplayList> displaysWithRect(const NPRect& rect, std::size_t capacity) const override;
    NPDisplayID mainDisplay() const override;
    std::string displayName(NPDisplayID display) const override;
    bool getDisplayTransferTable(NPDisplayID display, QXGammaTable& table) override;
    bool setDisplayTransferTable(NPDisplayID display, const QXGammaTable& table) override;

    // Writes the own table of every CRTC back that shows another one, also of those that drive nothing, and
    // of those that another run of the program has left changed.
    void restoreColorSyncSettings() override;

    void restoreOfflineDisplays() override;

    // Whether a CRTC shows another table than its own, left by this run or an earlier one.
    bool isChanged() const;

    bool finishWriting() override;
    [[nodiscard]] NPDisplaySubscription
    registerReconfigurationCallback(NPDisplayReconfigurationCallback callback) override;

    // The profile that stands in the server for the display; else one made from what the display says of its
    // colours, else sRGB. None of them has a location, except that of which a custom profile of ours tells. While the
    // server does not answer, it is the one that was known last.
    NPDisplayProfile copyDisplayProfile(NPDisplayID display) override;
    [[nodiscard]] NPDisplaySubscription registerProfileCallback(NPDisplayProfileCallback callback) override;

    // The same for a profile that is known from elsewhere to be the display's.
    //
    // A profile with a gamma table, or with a base table of ours, decides which table is the display's own: the
    // one that restoreColorSyncSettings() and the guard go back to. Otherwise it is the one that the display has
    // shown so far.
    NPDisplayProfile adoptDisplayProfile(NPDisplayID display, QXColorProfile profile);

    const std::string& serverName() const; // the name of its display

    // Where profiles of the display are looked for; none when it is not online.
    std::optional<NPProfileAddressX11> profileAddress(NPDisplayID display) const;

    // Has changes on the root window count as well. It wakes the program whenever a property changes there.
    void watchRootProfiles();

private:
    explicit NPDisplayServicesX11(std::unique_ptr<NPDisplayServerX11> server);
    void _profileDidChange(NPDisplayID display);

    std::unique_ptr<NPDisplayServerX11> _server;
    std::vector<std::weak_ptr<NPDisplayProfileCallback>> _profileCallbacks;
    std::map<NPDisplayID, QXColorProfile> _adoptedProfiles; // those that were the displays' last
};
