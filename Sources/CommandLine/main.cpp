// nightpane-cli: the engine and its commands.
#include "CommandLine/NPArguments.h"
#include "CommandLine/NPCommands.h"
#include "CommandLine/NPOutput.h"
#include "CommandLine/NPRunCommand.h"
#include "Engine/NPChangeLock.h"
#include "Engine/NPEngine.h"
#include "Engine/NPInstanceLock.h"
#include "Engine/NPSession.h"
#include "Foundation/QXSharedScope.h"
#include "Platform/Linux/NPControlBus.h"
#include "Platform/Linux/NPDisplayGuard.h"
#include "Platform/Linux/NPDisplayOwnerX11.h"
#include "Platform/Linux/NPResourcesLinux.h"
#include "Screens/NPProfileManager.h"
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

// Until it is known which profiles the displays use.
void waitForColorProfiles(NPSession& session)
{
    bool isKnown = false;
    bool isWaiting = false;
    session.startColorProfiles([&] {
        isKnown = true;
        if (isWaiting) {
            session.loop().stop();
        }
    });
    if (!isKnown) {
        isWaiting = true;
        session.loop().run();
    }
}

// Gives the displays the profiles that wait for them.
void applyProfiles()
{
    sharedProfileManager()->setApplyEnabled(true);
    sharedProfileManager()->waitUntilNoPendingProfile();
}

// With no instance to ask, the command does the work itself, and what it switches on stays on. What is recorded as on
// is not brought back by a command that changes something else: the screens are driven from the start only where
// they still show what an earlier command has switched on.
int performHere(const NPArguments& arguments, NPSession& session, std::optional<int> instance)
{
    QXSharedScope scope;
    NPInstallPlatform(session.platform());
    const bool restores = arguments.command == "restore";
    if (restores) {
        session.installProfileManager();
        waitForColorProfiles(session);
    }
    const auto screenManager = sharedScreenManager();
    NPLocalControl control(session.platform(), *sharedEffectManager(), *screenManager, *sharedCalculator(),
                           {NPVersion(), session.platformName(), instance.value_or(0), instance.has_value()});
    const NPPlatform& platform = session.platform();
    if (NPCommandShowsEffects(arguments.command) && session.showsEffects()) {
        screenManager->setScreenManagementEnabled(platform.defaults.boolForKey(NPEffectActiveKey));
    }
    const NPControlResult<void> result = NPPerformCommand(arguments, control, contextOf(platform));
    waitForFades(session, *screenManager);
    if (restores) {
        applyProfiles();
        sharedProfileManager()->removeProfileFolder();
    }
    const bool closed = session.close();
    return result && !closed ? exitFailed : exitCode(result);
}

int performThere(const NPArguments& arguments, NPSession& session, NPControl& instance)
{
    const NPPlatform& platform = session.platform();
    return exitCode(NPPerformCommand(arguments, instance, contextOf(platform)));
}

std::unique_ptr<NPControl> runningInstance()
{
    const auto bus = NPControlBus::open();
    return bus ? (*bus)->runningInstance() : nullptr;
}

int fail(const std::string& message)
{
    NPPrintError(message);
    return exitFailed;
}

int runCommandThere(const NPArguments& arguments, NPControl& instance)
{
    const auto session = NPSession::open(arguments.platform, NPDisplayNeed::none, nullptr);
    return session ? performThere(arguments, **session, instance) : fail(session.error());
}

// What a screen uses is the same for every program, so no instance is asked.
int printProfile(const NPArguments& arguments, NPSession& session)
{
    QXSharedScope scope;
    NPInstallPlatform(session.platform());
    waitForColorProfiles(session);
    NPLocalControl control(session.platform(), *sharedEffectManager(), *sharedScreenManager(), *sharedCalculator(),
                           {NPVersion(), session.platformName(), 0, false});
    const auto profile = control.profile(arguments.operands[0]);
    return exitCode(profile ? NPPrintProfile(arguments, *profile) : std::unexpected(profile.error()));
}

// `instance` is the process of an instance that runs but cannot be asked.
int runCommandHere(const NPArguments& arguments, std::optional<int> instance)
{
    const auto session = NPSession::open(arguments.platform, NPDisplayNeed::wanted, nullptr);
    if (!session) {
        return fail(session.error());
    }
    const auto problem = (*session)->displayProblem();
    if (problem && NPCommandAsksDisplays(arguments.command)) {
        return fail(*problem);
    }
    if (problem && NPCommandShowsEffects(arguments.command)) {
        NPPrintError("no screen changes: " + *problem);
    }
    return arguments.command == "profile" ? printProfile(arguments, **session)
                                          : performHere(arguments, **session, instance);
}

// An engine that the session bus does not know of: it has the lock of our session, or drives our displays from
// another session.
std::optional<NPDisplayOwnerX11> unreachableEngine()
{
    if (const std::optional<int> process = NPInstanceLock::holder()) {
        return NPDisplayOwnerX11{*process, {}};
    }
    return NPFindDisplayOwnerX11("");
}

std::string refusal(const NPDisplayOwnerX11& engine)
{
    std::string line =
        "Nightpane is running" + NPDisplayOwnerText(engine) + " but cannot be reached over the session bus";
    if (engine.process > 0) {
        line += (engine.host.empty() ? "; end it with: kill " : "; end it there with: kill ")
                + std::to_string(engine.process);
    }
    return line;
}

int runCommand(const NPArguments& arguments)
{
    if (arguments.platform.starts_with("simulated") || arguments.command == "profile") {
        return runCommandHere(arguments, std::nullopt);
    }
    if (const std::unique_ptr<NPControl> instance = runningInstance()) {
        return runCommandThere(arguments, *instance);
    }
    if (!NPCommandChangesSomething(arguments)) {
        const std::optional<NPDisplayOwnerX11> engine = unreachableEngine();
        return runCommandHere(arguments, engine ? std::optional(engine->process) : std::nullopt);
    }
    const auto lock = NPChangeLock::take(); // until all is written
    if (!lock) {
        return fail(lock.error());
    }
    if (const std::optional<NPDisplayOwnerX11> engine = unreachableEngine()) {
        return fail(refusal(*engine));
    }
    return runCommandHere(arguments, std::nullopt);
}

int printText(const std::string& text)
{
    const bool isPrinted = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    return isPrinted ? exitDone : fail("cannot write to standard output");
}

} // namespace

int main(int argc, char** argv)
{
    const QXLogRedirection log = NPPrintLog();
    if (NPDisplayGuard::runsAsGuard(argc, argv)) {
        return exitDone;
    }
    const auto arguments = NPParseArguments(std::vector<std::string>(argv + 1, argv + argc));
    if (!arguments) {
        NPPrintError(arguments.error());
        return exitMisuse;
    }
    if (arguments->help) {
        return printText(NPUsageText());
    }
    if (arguments->version) {
        return printText("nightpane-cli " + std::string(NPVersion()) + '\n');
    }
    NPInstallStringTables();
    return arguments->command == "run" ? NPRunCommand(*arguments) : runCommand(*arguments);
}
