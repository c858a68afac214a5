// The contract about custom profiles with those who keep profiles on a desktop: colord, and the X server.
#include "Contract/NPDeviceProfileContract.h"
#include "Desktop/Support/NPTestColorService.h"
#include "Desktop/Support/NPTestEngine.h"
#include "Desktop/Support/NPTestProgram.h"
#include "Foundation/QXLog.h"
#include "Foundation/QXURL.h"
#include "Platform/Linux/NPColorProfilesLinux.h"

namespace {

constexpr const char* connector = "DUMMY0";

QXData contentOfProfile(const QXColorProfile& profile)
{
    return profile.copyData().value();
}

// One display of an X server, and the adapter on it.
class DesktopHarness {
public:
    NPDisplayID display() { return NPTestDisplay(*_displays, connector); }
    NPColorProfileServices& profiles() { return *_profiles; }
    NPDeviceProfileServices& devices() { return *_profiles; }

    std::string keep(const QXColorProfile& profile, const std::string& name)
    {
        writeFile(folder / (name + ".icc"), contentOfProfile(profile));
        return QXFileURLFromPath((folder / (name + ".icc")).string());
    }

    bool eventually(const std::function<bool()>& condition) { return NPTestTurnUntil(_loop, condition); }

protected:
    DesktopHarness() { randr.setGamma(connector, NPTestIdentityGamma()); }

    // When the display has got its own profile.
    void open()
    {
        _displays = NPTestOpen(server, _loop);
        _profiles = std::make_shared<NPColorProfilesLinux>(*_displays, _loop,
                                                           std::vector<std::string>{NP_TEST_MODULE_FOLDER});
        bool isReady = false;
        _profiles->start([&] { isReady = true; });
        if (!eventually([&] { return isReady; })) {
            throw std::runtime_error("the colour service says nothing");
        }
    }

    NPTemporaryFolder folder;
    NPTestXServer server = NPTestXServer::xorg();
    NPTestRandR randr{server.displayName()};
    NPTestVariable displayName{"DISPLAY", server.displayName()};

private:
    QXLogRedirection _silence{[](std::string_view) {}};
    NPMainLoopLinux _loop;
    std::unique_ptr<NPDisplayServicesX11> _displays;
    std::shared_ptr<NPColorProfilesLinux> _profiles;
};

// Nobody but the X server knows of profiles.
class X11Harness : public DesktopHarness {
public:
    X11Harness()
    {
        choose(NPContractProfile(0.8F));
        open();
    }

    std::optional<std::string> ownLocation() const { return std::nullopt; } // properties have none
    QXData used() const { return randr.bytes(connector, "_ICC_PROFILE").value_or(QXData()); }

    void choose(const QXColorProfile& profile) const
    {
        randr.setOutputProperty(connector, "_ICC_PROFILE", contentOfProfile(profile));
    }

    void fail() const { server.suspend(); }

private:
    NPTestVariable _noService{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (folder / "none").string()};
};

// The real colord and xiccd.
class ColorServiceHarness : public DesktopHarness {
public:
    ColorServiceHarness()
    {
        _service.start({connector});
        keep(NPContractProfile(0.8F), "own");
        _service.use(connector, folder / "own.icc");
        open();
    }

    std::optional<std::string> ownLocation() const { return QXFileURLFromPath((folder / "own.icc").string()); }

    QXData used() const
    {
        const std::string file = _service.fileInUse(connector);
        return file.empty() ? QXData() : contentOf<QXData>(file);
    }

    void choose(const QXColorProfile& profile)
    {
        keep(profile, "chosen");
        _service.use(connector, folder / "chosen.icc");
    }

    void fail() { _service.freeze(); }

private:
    NPTestColorService _service;
};

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(X11, NPDeviceProfileContract, X11Harness);
INSTANTIATE_TYPED_TEST_SUITE_P(ColorService, NPDeviceProfileContract, ColorServiceHarness);
