#include "Engine/NPSimulatedSession.h"

#include "Foundation/QXLog.h"
#include "Foundation/QXPropertyList.h"
#include "Platform/Linux/NPFileAccess.h"
#include "Platform/Simulated/NPSimulatedScenario.h"

#include <algorithm>

namespace {

constexpr std::uint64_t frameNanoseconds = 10'000'000; // how often simulated time catches up with real time

class SimulatedSession final : public NPSession {
public:
    SimulatedSession(const NPSimulatedScenario& scenario, QXDate start, std::string file, QXDictionary world)
        : _world(start), _platform(_world.services()), _speed(scenario.speed), _file(std::move(file)),
          _fileContent(std::move(world)), _events(scenario.install(_world))
    {
        if (scenario.duration) {
            _end = start.addingTimeInterval(*scenario.duration);
        }
    }

    const NPPlatform& platform() const override { return _platform; }
    NPMainLoopLinux& loop() override { return _loop; }
    void installProfileManager() override {} // simulated displays have no custom profiles
    void startColorProfiles(std::function<void()> ready) override { ready(); }
    std::string platformName() const override { return "simulated"; }
    bool isReal() const override { return false; }
    std::optional<std::string> displayProblem() const override { return std::nullopt; }
    bool showsEffects() const override { return false; } // every run begins with untouched displays
    void openHotKeys(const std::shared_ptr<NPControlBus>&) override {} // they always can
    void watchWorkspace() override {}                                  // it tells what its scenario says
    void watchApplications() override {}
    void onDisplaysLost(std::function<void()>) override {} // they never are
    void wait(double seconds) override { _world.clock.advance(seconds); }

    void begin(std::function<void()> worldEnds) override
    {
        _worldEnds = std::move(worldEnds);
        _served = _loop.monotonicTime();
        _frames = _loop.makeMonotonicTimer(frameNanoseconds, frameNanoseconds, 0);
        _frames->setEventHandler([this] { _catchUp(); });
        _frames->resume();
    }

    bool close() override
    {
        if (_file.empty()) {
            return true;
        }
        _fileContent.insert_or_assign("Defaults", _world.defaults.stored());
        const auto data = QXPropertyListXMLData(_fileContent);
        const std::expected<void, std::string> written =
            data ? NPWriteFile(_file, *data) : std::unexpected(data.error());
        if (!written) {
            QXLog(_file + ": " + written.error());
        }
        return written.has_value();
    }

private:
    void _catchUp()
    {
        const double now = _loop.monotonicTime();
        double passing = (now - _served) * _speed;
        if (_end) {
            passing = std::clamp(_end->timeIntervalSince(_world.clock.now()), 0.0, passing);
        }
        _served = now;
        _world.clock.advance(passing);
        if (_end && _world.clock.now() >= *_end && !_isOver) {
            _isOver = true;
            _worldEnds();
        }
    }

    NPMainLoopLinux _loop; // real; simulated time has its own timers
    NPSimulatedPlatform _world;
    NPPlatform _platform;
    double _speed;
    std::optional<QXDate> _end;
    std::function<void()> _worldEnds;
    double _served = 0.0; // up to when time has passed, in real seconds
    std::shared_ptr<NPTimerSource> _frames;
    bool _isOver = false;
    std::string _file; // empty: nothing is written back
    QXDictionary _fileContent;
    std::vector<std::shared_ptr<NPTimerSource>> _events;
};

QXDate realTime()
{
    return NPMainLoopLinux().now();
}

} // namespace

std::expected<std::unique_ptr<NPSession>, std::string> NPOpenSimulatedSession(const std::string& platform)
{
    const std::size_t colon = platform.find(':');
    if (colon == std::string::npos) {
        const NPSimulatedScenario scenario = NPSimulatedScenario::standard();
        return std::make_unique<SimulatedSession>(scenario, realTime(), "", QXDictionary());
    }
    const std::string file = platform.substr(colon + 1);
    const auto data = NPReadFile(file);
    const auto value = data ? QXPropertyListFromData(*data) : std::unexpected(data.error());
    const auto scenario = value ? NPSimulatedScenario::fromValue(*value) : std::unexpected(value.error());
    if (!scenario) {
        return std::unexpected(file + ": " + scenario.error());
    }
    return std::make_unique<SimulatedSession>(*scenario, scenario->start.value_or(realTime()), file,
                                              *value->dictionary());
}
