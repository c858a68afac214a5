#include "Application/NPApplication.h"

#include "Application/NPProgramBundle.h"
#include "Application/NPProgramWorkspace.h"
#include "Engine/NPInstanceDoor.h"
#include "Foundation/QXLog.h"
#include "Foundation/QXString.h"
#include "Interface/NPInterfaceQt.h"
#include "Interface/NPMainWindowController.h"
#include "Interface/NPQtPlatform.h"
#include "Interface/NPStartupToken.h"
#include "Interface/QXAboutBoxController.h"
#include "Platform/Linux/NPFileAccess.h"
#include "Platform/Linux/NPLoginItemsLinux.h"
#include "Platform/Linux/NPSessionBusAddress.h"
#include "Platform/NPDesktop.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

namespace {

constexpr std::size_t largestEffectFile = std::size_t{1} << 20;

void printError(const std::string& message)
{
    std::fputs(("nightpane: " + message + '\n').c_str(), stderr);
}

// Qt calls exit() when its display server has gone: nothing on the stack is destroyed then, and what is not on the disk
// yet would be lost.
NPEngine* engineAtExit = nullptr;

void finishEngineAtExit()
{
    if (NPEngine* const engine = std::exchange(engineAtExit, nullptr)) {
        engine->session().loop().processEvents(); // the engine learns of it, too
        engine->finish();
    }
}

class Application {
public:
    // The token of the start, see NPStartupToken().
    Application(std::unique_ptr<NPEngine> engine, std::string startupToken)
        : _engine(std::move(engine)), _startupToken(std::move(startupToken)), _loop(_engine->session().loop()),
          _interface(
              {_loop.fileDescriptor(), [this] { _loop.processEvents(); }, [this] { _loop.prepareToWait(); }}),
          _workspace([this] { _interface.quit(); })
    {
        const NPDesktop desktop{_bundle,
                                _workspace,
                                _interface.processMode(),
                                _interface.alerts(),
                                _interface.statusBar(),
                                _loginItems,
                                {_interface.downloads(), _interface.signatures(), _interface.userDriver(), "linux",
                                 NPSystemVersion()}};
        NPInstallDesktop(desktop);
        const std::shared_ptr<NPAppController> controller = _engine->controller();
        const NPAppMenus menus = NPMakeAppMenus(controller, _bundle);
        controller->setInterface(
            {menus, [this] { return _makeAboutBox(); }, [this, menus] { return _makeMainWindow(menus); }});
    }

    bool run(const NPProgramOptions& options)
    {
        engineAtExit = _engine.get();
        std::atexit(finishEngineAtExit);
        _engine->launch([this] { _workspace.terminate(); });
        if (!_workspace.isTerminating()) {
            _begin(options);
            _interface.run();
        }
        engineAtExit = nullptr;
        // The displays first. The engine goes before the application whose windows it keeps.
        _interface.stopDriving();
        _door = nullptr;
        const bool finished = _engine->finish();
        _engine = nullptr;
        return finished;
    }

private:
    void _begin(const NPProgramOptions& options)
    {
        _sayWhatIsMissing();
        _engine->serve();
        _loop.performOnMain([this] { _engine->session().watchApplications(); }); // as late as what serve() begins
        if (_engine->session().isReal()) {
            _openDoor();
        }
        _interface.start();
        if (_beginsWithItsWindow(options)) {
            _engine->controller()->openPreferences();
        }
        if (!options.file.empty()) {
            _openEffectFile(options.file);
        }
        NPEndStartup(_startupToken);
    }

    // Whoever starts it from a menu of the desktop wants to see something; sessions start their programs without a
    // token.
    bool _beginsWithItsWindow(const NPProgramOptions& options) const
    {
        const bool isFirstRun = sharedEffectManager()->createdFirstEffectOnInitialization();
        const bool hasStatusItem = _engine->session().platform().defaults.integerForKey(NPShowStatusItemKey) == 1;
        const bool isPersonsStart = options.action == NPProgramAction::run && !_startupToken.empty();
        return isFirstRun || options.action == NPProgramAction::preferences || (isPersonsStart && !hasStatusItem);
    }

    void _sayWhatIsMissing()
    {
        if (_engine->session().platformName() == "none") {
            QXLog("no display can be changed here: effects show nothing");
        }
        if (_engine->session().isReal() && !NPSessionBusAddress()) {
            QXLog("there is no session bus: nightpane-cli cannot reach this instance");
        }
    }

    void _openDoor()
    {
        auto door =
            NPInstanceDoor::open(_loop, [this](const NPInstanceRequest& request) { return _serve(request); });
        if (door) {
            _door = std::move(*door);
        } else {
            QXLog(door.error());
        }
    }

    NPInstanceAnswer _serve(const NPInstanceRequest& request)
    {
        if (request.word != "toggle" && !NPHasDesktop()) {
            return std::unexpected("it was started where there is no desktop to show windows on");
        }
        NPExpectWindowForStartup(request.word == "toggle" ? "" : request.token);
        if (request.word == "show") {
            _engine->controller()->openPreferences();
        } else if (request.word == "toggle") {
            _engine->controller()->toggleGlobalEffect();
        } else if (request.word == "open") {
            _openEffectFile(request.argument);
        } else {
            return std::unexpected("it does not know '" + request.word + "'");
        }
        return {};
    }

    // What is wrong with it is shown here: whoever opens a file by a click reads no terminal.
    void _openEffectFile(const std::string& path)
    {
        std::string reason;
        if (const auto file = NPReadFile(path, largestEffectFile); !file) {
            reason = file.error();
        } else if (const auto added = _engine->control().importEffect(*file); !added) {
            reason = added.error().message;
        }
        if (reason.empty()) {
            _engine->controller()->openPreferences();
            return;
        }
        _loop.performOnMain([this, path, reason] {
            const std::string name = std::filesystem::path(path).filename().string();
            _interface.alerts().runModal(
                {.messageText = QXFormat(QXLocalizedString("The effect file “%@” cannot be opened."), {name}),
                 .informativeText = reason});
        });
    }

    std::shared_ptr<NPWindowController> _makeAboutBox()
    {
        return std::make_shared<QXAboutBoxController>(_bundle, _engine->session().platform().notifications);
    }

    std::shared_ptr<NPWindowController> _makeMainWindow(const NPAppMenus& menus)
    {
        const NPPlatform& platform = _engine->session().platform();
        return std::make_shared<NPMainWindowController>(NPMainWindowContent{
            menus.mainMenu, menus.dockMenu, menus.dockActivateItem, platform.defaults, platform.notifications});
    }

    std::unique_ptr<NPEngine> _engine;
    const std::string _startupToken;
    NPMainLoopLinux& _loop;
    NPProgramBundle _bundle;
    NPInterfaceQt _interface;
    NPProgramWorkspace _workspace;
    NPLoginItemsLinux _loginItems;
    std::unique_ptr<NPInstanceDoor> _door;
};

int askInstance(const NPProgramOptions& options, const std::string& token)
{
    NPInstanceRequest request{options.action == NPProgramAction::toggle ? "toggle" : "show", {}, token};
    if (!options.file.empty()) {
        std::error_code ignored; // then the path stays as it is
        const std::filesystem::path path = std::filesystem::absolute(options.file, ignored);
        request = {"open", path.empty() ? options.file : path.string(), token};
    }
    const NPInstanceAnswer answer = NPInstanceDoor::ask(request);
    NPEndStartup(token);
    if (!answer) {
        const int process = NPInstanceLock::holder().value_or(0);
        printError("Nightpane is running (process " + std::to_string(process) + "), but " + answer.error());
    }
    return answer ? 0 : 1;
}

// Until the instance has given the displays back and is gone.
int quitInstance()
{
    constexpr int attempts = 300;
    constexpr timespec pause{0, 50'000'000};
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const std::optional<int> process = NPInstanceLock::holder();
        if (!process) {
            return 0;
        }
        if (attempt == 0 && (*process <= 0 || ::kill(*process, SIGTERM) != 0)) {
            printError("the instance that runs cannot be told to end");
            return 1;
        }
        ::nanosleep(&pause, nullptr);
    }
    printError("the instance that runs does not end");
    return 1;
}

} // namespace

int NPRunApplication(const NPProgramOptions& options)
{
    const std::string token = NPStartupToken(); // before Qt takes it out of the environment
    if (options.action == NPProgramAction::quit) {
        const int status = quitInstance();
        NPEndStartup(token);
        return status;
    }
    auto engine = NPEngine::start(options.platform, NPDisplayNeed::wanted);
    if (!engine && engine.error().isRunning) {
        return askInstance(options, token);
    }
    if (!engine) {
        printError(engine.error().message);
        return 1;
    }
    return Application(std::move(*engine), token).run(options) ? 0 : 1;
}
