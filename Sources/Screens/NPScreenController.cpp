#include "Screens/NPScreenController.h"

#include "Foundation/QXAssert.h"
#include "Foundation/QXString.h"
#include "Screens/QXDisplayGamma.h"

#include <algorithm>
#include <cmath>

std::shared_ptr<NPScreenController> NPScreenController::screenControllerForScreen(NPDisplayID screen,
                                                                                  const Services& services)
{
    return std::make_shared<NPScreenController>(screen, services);
}

NPScreenController::NPScreenController(NPDisplayID screen, const Services& services)
    : _screen(screen), _services(services)
{
    retriveGammaCurve();
}

std::optional<QXDate> NPScreenController::triggerDate() const
{
    return _targetDate ? std::optional(_targetDate->addingTimeInterval(-_transitionDuration)) : std::nullopt;
}

void NPScreenController::retriveGammaCurve()
{
    _ownProfile = _services.profiles.copyDisplayProfile(_screen);
    if (_ownProfile.profile) {
        QXColorProfileSetDescription(*_ownProfile.profile, QXLocalizedString("Nightpane").c_str());
        QXColorProfileSetBaseURL(*_ownProfile.profile, _ownProfile.location);
        QXColorProfileSetBaseGammaTable(*_ownProfile.profile, _ownProfile.baseTable);
    }
    QXGammaTableGetForDisplay(_services.displays, _lastGammaCurve, _screen);
    if (_lastGammaCurve.sampleCount == 0) {
        _lastGammaCurve = _ownProfile.baseTable;
    }
}

void NPScreenController::displayProfileDidChange()
{
    retriveGammaCurve();
    _profileNeedsUpdate = _profileNeedsUpdate || _isActive;
    ++_profileVersion;
}

void NPScreenController::setActivation(bool active, const std::shared_ptr<NPEffectGroup>& effect, double duration,
                                       QXDate targetDate)
{
    if (!active && effect && effect != _effect) {
        return;
    }
    if (_isActive == active && _effect == effect) {
        return;
    }
    _isActive = active;
    _effect = effect;
    _transitionDuration = duration;
    _targetDate = targetDate;
    _transitionStartGammaCurve = _lastGammaCurve;
    _profileNeedsUpdate = true;
    ++_profileVersion; // a write still under way has the table of before
}

double NPScreenController::updateEffectForDate(QXDate date)
{
    if (_ownProfile.baseTable.sampleCount == 0) {
        return 0.0;
    }
    QXGammaTable table = _targetGammaCurve();
    double interval = 0.0;
    if (_targetDate && date < *_targetDate) {
        QXGammaTableMixWithTable(_transitionStartGammaCurve, table, _remainingFraction(date));
        interval = _transitionDuration * 0.00390625;
    }
    QXGammaTableClamp(table);
    _lastGammaCurve = table;
    QXGammaTableSetForDisplay(_services.displays, _screen, table);
    if (interval == 0.0) {
        _updateProfile(table);
    }
    return interval;
}

// What the display is to show once no fade runs. A group whose screens do not include this one leaves it as
// it is, although the controller counts as active.
QXGammaTable NPScreenController::_targetGammaCurve() const
{
    QXGammaTable table = _ownProfile.baseTable;
    if (_isActive && _effect && _effect->affectsScreen(_screen)) {
        _effect->applyEffectOnGammaCurve(table);
    }
    return table;
}

// The share of the starting table that still shows: 1 at the start of the fade, 0 at its end.
float NPScreenController::_remainingFraction(QXDate date) const
{
    double remaining = _targetDate->timeIntervalSince(date) / _transitionDuration;
    remaining = std::isnan(remaining) ? 0.0 : std::max(0.0, std::min(1.0, remaining));
    const float fraction = static_cast<float>(remaining);
    QXAssert(fraction >= 0.0F && fraction <= 1.0F, "fraction >= 0.0 && fraction <= 1.0");
    return fraction;
}

void NPScreenController::_updateProfile(const QXGammaTable& table)
{
    if (_profileInvalidationDate && *_profileInvalidationDate < _services.clock.now()) {
        _profileInvalidationDate.reset();
        _profileNeedsUpdate = true;
    }
    if (!_profileNeedsUpdate || !_services.profileApplying.applyEnabled()) {
        return;
    }
    const std::uint64_t version = ++_profileVersion;
    _services.profileApplying.waitProfileURLForScreen(_screen);
    _services.profileApplying.writeProfile(
        _screen, _ownProfile, table, [weak = weak_from_this(), version](std::optional<std::string> location) {
            if (const std::shared_ptr<NPScreenController> controller = weak.lock()) {
                controller->_profileWasWritten(version, std::move(location));
            }
        });
}

// A failed write has no location, and then the display gets no custom profile; there is no retry.
void NPScreenController::_profileWasWritten(std::uint64_t version, std::optional<std::string> location)
{
    if (_profileNeedsUpdate && _profileVersion == version) {
        _services.profileApplying.setProfileURL(std::move(location), _screen);
        _profileNeedsUpdate = false;
    }
}

void NPScreenController::invalidateProfileAfterTimeInterval(double seconds)
{
    if (seconds <= 0.0) {
        _profileNeedsUpdate = true;
    } else if (!_profileNeedsUpdate) {
        _profileInvalidationDate = _services.clock.now().addingTimeInterval(seconds);
    }
}

void NPScreenController::restoreGamma()
{
    QXGammaTableSetForDisplay(_services.displays, _screen, _ownProfile.baseTable);
    restoreProfile();
    _profileNeedsUpdate = false;
    _profileInvalidationDate.reset();
}

void NPScreenController::restoreProfile()
{
    _services.profileApplying.setProfileURL(_ownProfile.location, _screen);
    _services.profileApplying.removeProfileFileForScreen(_screen);
    ++_profileVersion;
}
