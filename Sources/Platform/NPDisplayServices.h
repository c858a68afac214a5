// The displays: which there are, and reading and writing their transfer tables.
#pragma once

#include "ScreenGamma/QXGammaTable.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// A display's identity: never 0, and the same for a screen across reboots and ports where the platform can
// tell (0 stands for "no display" where one is asked for).
using NPDisplayID = std::uint32_t;

// A list never holds more than 10 displays; what the platform lists after them is ignored.
inline constexpr std::size_t NPDisplayListCapacity = 10;
using NPDisplayList = std::vector<NPDisplayID>;

// In global display coordinates: pixels, x to the right, y down from the main display's top left corner.
struct NPRect {
    double x = 0.0;
    double y = 0.0;
    double width = 0.0;
    double height = 0.0;
};

// What happened to a display. Several may come together.
enum NPDisplayChangeFlags : std::uint32_t {
    NPDisplayChangeSetMain = 4, // it was online, and is the main display now
    NPDisplayChangeSetMode = 8, // resolution, rotation or the like
    NPDisplayChangeAdd = 16,    // it is online now: for the first time, or again
    NPDisplayChangeRemove = 32, // it is no longer online
};
using NPDisplayReconfigurationCallback = std::function<void(NPDisplayID display, std::uint32_t flags)>;

// Keeps a callback installed for as long as somebody holds it.
using NPDisplaySubscription = std::shared_ptr<void>;

class NPDisplayServices {
public:
    virtual ~NPDisplayServices() = default;

    // The displays that are connected and driven, main display first; at most `capacity` of them. None when
    // the platform cannot tell.
    virtual std::optional<NPDisplayList> onlineDisplayList(std::size_t capacity) const = 0;

    // The online displays that also show something of their own (not asleep, not a mirror's copy).
    virtual std::optional<NPDisplayList> activeDisplayList(std::size_t capacity) const = 0;

    // The active displays that a rectangle touches.
    virtual std::optional<NPDisplayList> displaysWithRect(const NPRect& rect, std::size_t capacity) const = 0;

    // 0 when there is no display.
    virtual NPDisplayID mainDisplay() const = 0;

    // What the display is called for people ("DUMMY0", "Dell U2720Q"); empty when unknown.
    virtual std::string displayName(NPDisplayID display) const = 0;

    // Reads what the display shows now into the record, with a sampleCount of at most 256: a hardware table
    // of another size is resampled. False when it cannot be read; the record's content is then undefined.
    virtual bool getDisplayTransferTable(NPDisplayID display, QXGammaTable& table) = 0;

    // Writes the first sampleCount samples, which lie in 0..1. The write may still be on its way when the
    // call returns, and a newer one may overtake it; the last one always arrives. False when the display is
    // not there or refuses; other displays are not affected.
    virtual bool setDisplayTransferTable(NPDisplayID display, const QXGammaTable& table) = 0;

    // Every display goes back to the transfer tables of its own colour profile. Returns when the displays
    // have taken them.
    virtual void restoreColorSyncSettings() = 0;

    // What a display that is not online has shown last may still be on it when it comes back, long after the
    // program has ended: has it come back with its own tables. Nothing where tables do not outlast that.
    virtual void restoreOfflineDisplays() {}

    // Waits until every write so far has been taken by the displays. False when they are gone.
    virtual bool finishWriting() = 0;

    // Called on the main thread after a change has taken effect, once per display concerned.
    [[nodiscard]] virtual NPDisplaySubscription
    registerReconfigurationCallback(NPDisplayReconfigurationCallback callback) = 0;
};
