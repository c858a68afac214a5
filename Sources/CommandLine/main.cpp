// nightpane-cli: the engine and its commands.
#include "CommandLine/NPArguments.h"
#include "CommandLine/NPCommands.h"
#include "CommandLine/NPRunCommand.h"
#include "Engine/NPEngine.h"
#include "Engine/NPInstanceLock.h"
#include "Engine/NPSession.h"
#include "Foundation/QXSharedScope.h"
#include "Platform/Linux/NPControlBus.h"
#include "Platform/Linux/NPResourcesLinux.h"
#include "Shell/NPLocalControl.h"

#include <algorithm>
#include <cstdio>

namespace {

enum ExitCode { exitDone = 0, exitFailed = 1, exitMisuse = 2 };

int exitCode(const NPControlResult<void>& result)
{
    if (result) {
        return exitDone;
    }
    NPPrintError(result.error().message);
    return result.error().misuse ? exitMisuse : exitFailed;
}

// Until no display is fading any more; a fade that would not end is left after its time.
void waitForFades(NPSession& session, const NPScreenManager& screenManager)
{
    constexpr double step = 0.02;
    while (screenManager.transitionTimerInterval() != 0.0) {
        session.wait(std::max(step, screenManager.transitionTimerInterval()));
    }
}

NPCommandContext contextOf(const NPPlatform& platform)
{
    return {platform.timeZones.systemTimeZone(), platform.clock, platform.defaults, platform.keyboardLayout};
}

// With no instance to ask, the command does the work itself, and what it switches on stays on.
int performHere(const NPArguments& arguments, NPSession& session)
{
    QXSharedScope scope;
    NPInstallPlatform(session.platform());
    const auto screenManager = sharedScreenManager();
    NPLocalControl control(session.platform(), *sharedEffectManager(), *screenManager, *sharedCalculator(),
                           {NPVersion(), session.platformName(), 0, false});
    if (NPCommandShowsEffects(arguments.command)) {
        screenManager->setScreenManagementEnabled(session.platform().defaults.boolForKey(NPEffectActiveKey));
    }
    const NPPlatform& platform = session.platform();
    const NPControlResult<void> result = NPPerformCommand(arguments, control, contextOf(platform));
    waitForFades(session, *screenManager);
    const bool closed = session.close();
    return result && !closed ? exitFailed : exitCode(result);
}

int performThere(const NPArguments& arguments, NPSession& session, NPControl& instance)
{
    const NPPlatform& platform = session.platform();
    return exitCode(NPPerformCommand(arguments, instance, contextOf(platform)));
}

int runCommand(const NPArguments& arguments)
{
    std::unique_ptr<NPControl> instance;
    if (!arguments.platform.starts_with("simulated")) {
        const auto bus = NPControlBus::open();
        instance = bus ? (*bus)->runningInstance() : nullptr;
        if (!instance && NPCommandChangesSomething(arguments)) {
            if (const std::optional<int> process = NPInstanceLock::holder()) {
                NPPrintError("Nightpane is running (process " + std::to_string(*process)
                             + ") but cannot be reached over the session bus");
                return exitFailed;
            }
        }
    }
    const auto session =
        NPSession::open(arguments.platform, instance ? NPDisplayNeed::none : NPDisplayNeed::wanted, nullptr);
    if (!session) {
        NPPrintError(session.error());
        return exitFailed;
    }
    return instance ? performThere(arguments, **session, *instance) : performHere(arguments, **session);
}

} // namespace

int main(int argc, char** argv)
{
    const auto arguments = NPParseArguments(std::vector<std::string>(argv + 1, argv + argc));
    if (!arguments) {
        NPPrintError(arguments.error());
        return exitMisuse;
    }
    if (arguments->help) {
        std::fputs(NPUsageText().c_str(), stdout);
        return exitDone;
    }
    if (arguments->version) {
        std::printf("nightpane-cli %s\n", NPVersion());
        return exitDone;
    }
    NPInstallStringTables();
    return arguments->command == "run" ? NPRunCommand(*arguments) : runCommand(*arguments);
}
