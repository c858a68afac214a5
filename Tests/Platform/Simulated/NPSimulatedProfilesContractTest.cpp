#include "Contract/NPDeviceProfileContract.h"
#include "Platform/Simulated/NPSimulatedDisplays.h"
#include "Platform/Simulated/NPSimulatedProfiles.h"

namespace {

class SimulatedHarness {
public:
    SimulatedHarness() { _displays.plug({.identifier = 7, .profile = NPContractProfile(0.8F, ownLocation())}); }

    NPDisplayID display() const { return 7; }
    std::optional<std::string> ownLocation() const { return "file:///own.icc"; }
    NPColorProfileServices& profiles() { return _displays; }
    NPDeviceProfileServices& devices() { return _devices; }

    std::string keep(const QXColorProfile& profile, const std::string& name)
    {
        const std::string url = "file:///" + name + ".icc";
        _devices.writeFile(url, profile.copyData().value());
        return url;
    }

    QXData used()
    {
        const auto custom = _devices.customProfile(display());
        return custom ? _devices.file(*custom).value()
                      : _displays.copyDisplayProfile(display()).profile->copyData().value();
    }

    void choose(const QXColorProfile& profile)
    {
        _devices.forgetCustomProfile(display());
        _displays.changeProfile(display(), profile);
    }

    void fail() { _devices.devicesAccept = false; }
    static bool eventually(const std::function<bool()>& condition) { return condition(); } // all is done at once

private:
    NPActionLog _log;
    NPSimulatedDisplays _displays{_log};
    NPSimulatedProfiles _devices{_log};
};

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Simulated, NPDeviceProfileContract, SimulatedHarness);
