// Displays in memory, with everything that can go wrong with real ones.
#pragma once

#include "Platform/NPColorProfileServices.h"
#include "Platform/NPDisplayServices.h"
#include "Platform/Simulated/NPActionLog.h"

struct NPSimulatedDisplay {
    NPDisplayID identifier = 0;
    std::string name = {};
    NPRect bounds{0.0, 0.0, 1920.0, 1080.0};
    QXGammaTable table = QXGammaTableIdentity();     // what it shows; its sampleCount is the hardware's size
    QXGammaTable baseTable = QXGammaTableIdentity(); // its own profile's
    std::optional<std::string> profileLocation = std::nullopt;
    std::optional<QXColorProfile> profile = std::nullopt; // used now; it then decides the two above as well
    bool online = true;
    bool active = true; // online, and not asleep or a mirror's copy
    bool readsFail = false;
    bool writesFail = false;
};

// Each call that does something to a display is one line of the action log:
//   "write 7 256 0.5 0.5 0.5" (display, samples, the last sample of each channel), "write 7 failed",
//   "read 7", "read 7 failed", "profile 7", "restore all".
class NPSimulatedDisplays final : public NPDisplayServices, public NPColorProfileServices {
public:
    explicit NPSimulatedDisplays(NPActionLog& log) : _log(log) {}

    std::optional<NPDisplayList> onlineDisplayList(std::size_t capacity) const override;
    std::optional<NPDisplayList> activeDisplayList(std::size_t capacity) const override;
    std::optional<NPDisplayList> displaysWithRect(const NPRect& rect, std::size_t capacity) const override;
    NPDisplayID mainDisplay() const override;
    std::string displayName(NPDisplayID display) const override;
    bool getDisplayTransferTable(NPDisplayID display, QXGammaTable& table) override;
    bool setDisplayTransferTable(NPDisplayID display, const QXGammaTable& table) override;
    void restoreColorSyncSettings() override;
    bool finishWriting() override { return true; }
    NPDisplaySubscription registerReconfigurationCallback(NPDisplayReconfigurationCallback callback) override;
    NPDisplayProfile copyDisplayProfile(NPDisplayID display) override;
    NPDisplaySubscription registerProfileCallback(NPDisplayProfileCallback callback) override;

    // Adds a display, or puts the one with that identifier in order again, and announces it when online.
    void plug(NPSimulatedDisplay display);
    void plugAgain(NPDisplayID display); // as it was unplugged
    void unplug(NPDisplayID display);
    void changeMode(NPDisplayID display, std::uint32_t furtherFlags = 0); // announces it, with what comes together

    // Somebody gives the display another profile and has it show that profile's table; announced.
    void changeProfile(NPDisplayID display, QXColorProfile profile);

    // The display, online or not, to look at or to make it fail; nullptr when there never was one.
    NPSimulatedDisplay* display(NPDisplayID identifier);

    // From now on a callback that is installed is a line of the log as well: "observe displays".
    void setLogsCallbacks() { _logsCallbacks = true; }

    // While set, no display list can be had.
    void setListsFail(bool fail) { _listsFail = fail; }

private:
    template<class Predicate>
    std::optional<NPDisplayList> _list(std::size_t capacity, Predicate isListed) const;
    void _announce(NPDisplayID display, std::uint32_t flags);

    NPActionLog& _log;
    bool _listsFail = false;
    bool _logsCallbacks = false;
    std::vector<NPSimulatedDisplay> _displays;
    std::vector<std::weak_ptr<NPDisplayReconfigurationCallback>> _callbacks;
    std::vector<std::weak_ptr<NPDisplayProfileCallback>> _profileCallbacks;
};
