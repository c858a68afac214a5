// The colour profiles of displays as an X server knows them: properties that hold the bytes of a profile, read
// by programs that manage colours.
//
// The property "_ICC_PROFILE" of an output has that display's profile. Older programs look at the root window:
// "_ICC_PROFILE" is the first monitor's there, "_ICC_PROFILE_1" the second's, and so on.
//
// While a custom profile of ours is set, what was there before stands beside it under a name of our own, and
// lives as long as it does: in the server. So it comes back also after a crash.
#pragma once

#include "Foundation/QXValue.h"
#include "Platform/Linux/NPConnectionX11.h"

#include <xcb/randr.h>

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

// Whose profile.
struct NPProfilePlaceX11 {
    xcb_randr_output_t output = 0;
    std::size_t monitor = 0; // the position of the monitor, from 0
};

class NPProfilePropertiesX11 {
public:
    // Sends the questions for the names, and waits for nothing. The connection outlives the object.
    explicit NPProfilePropertiesX11(NPConnectionX11& connection);

    // What the output says, else what the root window says; empty when neither says anything. None when the server
    // does not answer.
    std::optional<QXData> profile(const NPProfilePlaceX11& place);

    // Sets the profile in both places. False when the server has not confirmed it; it waits two seconds for that,
    // and not at all as long as the server leaves the last wait unanswered. Nothing is changed where it is not
    // known what stands there.
    bool setCustomProfile(const NPProfilePlaceX11& place, const QXData& profile);

    // Puts back what stood in both places before a custom profile of ours; where that is not known, the given
    // profile, or none when it is empty. What others have set since stays. Otherwise as above.
    bool restoreProfile(const NPProfilePlaceX11& place, const QXData& own);

    // The same for the outputs and for the root window's profiles of as many monitors, as far as what stood there
    // is known.
    bool restoreProfiles(const std::vector<xcb_randr_output_t>& outputs);

    // Whether a property of the output or of the root window holds a profile.
    bool isProfileName(xcb_atom_t name);

private:
    // A property of an output, or with the output 0 of the root window.
    struct Slot {
        xcb_randr_output_t output;
        xcb_atom_t name; // of the profile
        xcb_atom_t formerName; // of what was there before a custom one
    };
    struct Names {
        xcb_atom_t profile;
        xcb_atom_t former;
    };

    // What stands in a slot.
    struct Content {
        QXData current; // empty when there is none
        std::optional<QXData> former; // none while no custom profile of ours has been set

        bool isOurs() const;
    };

    std::optional<Names> _names(std::size_t monitor);
    std::vector<Slot> _slots(const NPProfilePlaceX11& place);
    std::optional<Content> _content(const Slot& slot);
    bool _isAnsweredSince(unsigned int unansweredCount) const;
    bool _setCustomProfile(const Slot& slot, const QXData& profile);
    bool _restoreProfile(const Slot& slot, const std::optional<QXData>& own);
    unsigned int _request(xcb_randr_output_t output, xcb_atom_t name);
    std::optional<QXData> _answer(xcb_randr_output_t output, unsigned int sequence); // none when it is not there
    bool _write(xcb_randr_output_t output, xcb_atom_t name, const QXData& content);
    void _writePart(xcb_randr_output_t output, xcb_atom_t name, std::uint8_t mode,
                    std::span<const std::uint8_t> part);
    bool _delete(xcb_randr_output_t output, xcb_atom_t name);

    NPConnectionX11& _connection;
    std::optional<std::array<unsigned int, 2>> _firstRequests; // until they have been answered
    std::map<std::size_t, Names> _namesOfMonitors;
};

// Whether the bytes are a custom profile of ours.
bool NPIsCustomProfile(const QXData& profile);
