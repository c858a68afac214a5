// One display: its base table, the group that shows on it, the fade from one table to the next, and the
// hand-over of the table that has come to rest to a custom colour profile.
//
// Owned by the screen manager, which drives it step by step. Main thread only.
#pragma once

#include "Effects/NPEffectGroup.h"
#include "Platform/NPClock.h"
#include "Platform/NPColorProfileServices.h"
#include "Screens/NPProfileApplying.h"

#include <memory>

class NPScreenController : public std::enable_shared_from_this<NPScreenController> {
public:
    // What a controller uses of its surroundings; all of it outlives it.
    struct Services {
        NPDisplayServices& displays;
        NPColorProfileServices& profiles;
        NPProfileApplying& profileApplying;
        const NPClock& clock;
    };

    // Inactive, with the base table read. A display that has none (it is not connected, or cannot be read)
    // gets a controller all the same; it is never written.
    static std::shared_ptr<NPScreenController> screenControllerForScreen(NPDisplayID screen,
                                                                         const Services& services);
    NPScreenController(NPDisplayID screen, const Services& services);

    NPDisplayID screenID() const { return _screen; }
    bool isActive() const { return _isActive; }
    const std::shared_ptr<NPEffectGroup>& effect() const { return _effect; }
    std::optional<QXDate> targetDate() const { return _targetDate; }
    std::optional<QXDate> triggerDate() const; // when the fade began

    // Reads the display's own profile, and with it the base table, and what the display shows now.
    void retriveGammaCurve();

    // Somebody has given the display another profile: what it says is read, and while an effect is on, the
    // display gets a custom profile made from it. A write under way, made from the former one, is dropped.
    void displayProfileDidChange();

    // Starts a fade of that many seconds, ending at the target date, from what the display shows now. A
    // deactivation that names another group than the one shown is ignored, and so is a request for the
    // state that holds already.
    void setActivation(bool active, const std::shared_ptr<NPEffectGroup>& effect, double duration,
                       QXDate targetDate);

    void setEffect(const std::shared_ptr<NPEffectGroup>& effect) { _effect = effect; } // without a fade

    // Ends the fade, if one is running, with the next step; one that has ended does not begin again when the
    // clock is set back.
    void finishTransition() { _targetDate.reset(); }

    // Computes and writes the table for that moment. The result is the interval in seconds after which to
    // call again, 1/256 of the fade; 0 when none is running.
    double updateEffectForDate(QXDate date);

    // Asks for the custom profile to be written anew: now (0 or less), or after so many seconds.
    void invalidateProfileAfterTimeInterval(double seconds);

    // Whether a custom profile for the table shown has still to be handed over.
    bool profileNeedsUpdate() const { return _profileNeedsUpdate; }

    // Writes the base table back and gives the display its own profile again.
    void restoreGamma();
    void restoreProfile();

private:
    QXGammaTable _targetGammaCurve() const;
    float _remainingFraction(QXDate date) const;
    void _updateProfile(const QXGammaTable& table);
    void _profileWasWritten(std::uint64_t version, std::optional<std::string> location);

    const NPDisplayID _screen;
    Services _services;
    bool _isActive = false;
    std::shared_ptr<NPEffectGroup> _effect; // kept while inactive, so that a fade-out can be matched
    double _transitionDuration = 0.0;
    std::optional<QXDate> _targetDate;
    NPDisplayProfile _ownProfile; // with the display's base table; its profile is ready to become a custom one
    QXGammaTable _lastGammaCurve; // written last or, at first, found on the display
    QXGammaTable _transitionStartGammaCurve;
    std::uint64_t _profileVersion = 0; // a finished write of an older version is dropped
    bool _profileNeedsUpdate = false;
    std::optional<QXDate> _profileInvalidationDate;
};
