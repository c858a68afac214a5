// The operations of NPControl on this process's own effects and displays.
//
// Serves the bus of a running instance, and the command line when no instance runs. Main thread only.
#pragma once

#include "Effects/NPEffectManager.h"
#include "Platform/NPControl.h"
#include "Screens/NPScreenManager.h"
#include "Shell/NPAppController.h"
#include "Sunset & Sunrise/NPSunriseSunsetCalculator.h"

// What status() says of the process.
struct NPProcessDescription {
    std::string version;
    std::string platform; // "x11", "simulated", "none"
    std::int64_t process = 0;
    bool running = false; // an instance, as opposed to a command that acts by itself
};

class NPLocalControl final : public NPControl {
public:
    // Holds the references for its lifetime. The controller is that of the running instance.
    NPLocalControl(const NPPlatform& platform, NPEffectManager& effectManager, NPScreenManager& screenManager,
                   NPSunriseSunsetCalculator& calculator, NPProcessDescription process,
                   const NPAppController* controller = nullptr);

    NPControlResult<QXArray> effects() override;
    NPControlResult<QXArray> screens() override;
    NPControlResult<QXDictionary> status() override;
    NPControlResult<void> activate(const std::string& effect, const std::string& fade) override;
    NPControlResult<void> deactivate(const std::string& effect, const std::string& fade) override;
    NPControlResult<void> toggle(const std::string& effect, const std::string& fade) override;
    NPControlResult<void> setEffectActive(bool active) override;
    NPControlResult<std::string> addEffect(const std::string& name, const NPControlSettings& settings) override;
    NPControlResult<void> setEffect(const std::string& effect, const NPControlSettings& settings) override;
    NPControlResult<void> renameEffect(const std::string& effect, const std::string& name) override;
    NPControlResult<std::string> duplicateEffect(const std::string& effect) override;
    NPControlResult<void> removeEffect(const std::string& effect) override;
    NPControlResult<std::string> importEffect(const QXData& file) override;
    NPControlResult<QXData> exportEffect(const std::string& effect) override;
    NPControlResult<QXDictionary> location() override;
    NPControlResult<void> setLocation(double latitude, double longitude) override;
    NPControlResult<QXDictionary> table(const std::string& screen) override;
    NPControlResult<void> restore() override;

    // The colour profile that a screen uses now.
    NPControlResult<NPDisplayProfile> profile(const std::string& screen);

private:
    using Group = std::shared_ptr<NPEffectGroup>;

    struct Request {
        Group group;
        NPTransitionKind transition;
    };

    NPControlResult<std::size_t> _indexOfEffect(const std::string& effect) const;
    NPControlResult<Group> _group(const std::string& effect) const;
    NPControlResult<Request> _request(const std::string& effect, const std::string& fade) const;
    NPControlResult<NPDisplayID> _screen(const std::string& screen) const;
    NPDisplayList _onlineDisplays() const;
    void _clearEffectFromScreens(const Group& group);
    QXDictionary _hotKeyDescription(const NPEffectGroup& group, const JXHotKey& hotKey) const;
    void _restoreProfiles();
    QXDictionary _effectDescription(const NPEffectGroup& group) const;
    QXDictionary _screenDescription(NPDisplayID screen, std::size_t position) const;

    NPPlatform _platform;
    NPEffectManager& _effectManager;
    NPScreenManager& _screenManager;
    NPSunriseSunsetCalculator& _calculator;
    NPProcessDescription _process;
    const NPAppController* _controller;
};

// The next and previous sunrise and sunset: "at", "latitude", "longitude", "guessed", "nextSunrise",
// "nextSunset", "previousSunrise", "previousSunset" (absent where the sun does not cross the horizon).
QXDictionary NPSunDescription(const NPSunriseSunsetCalculator& calculator, QXDate at);

// Whether the numbers are a place: finite, within ±90 and ±180.
bool NPIsPlace(double latitude, double longitude);
