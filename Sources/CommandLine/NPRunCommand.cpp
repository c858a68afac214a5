#include "CommandLine/NPRunCommand.h"

#include "CommandLine/NPNarrator.h"
#include "CommandLine/NPOutput.h"
#include "Engine/NPEngine.h"

int NPRunCommand(const NPArguments& arguments)
{
    const auto started = NPEngine::start(arguments.platform, NPDisplayNeed::required, !arguments.noProfiles);
    if (!started) {
        NPPrintError(started.error().message);
        return 1;
    }
    NPEngine& engine = **started;
    NPMainLoopLinux& loop = engine.session().loop();
    engine.launch([&loop] { loop.stop(); });
    const auto narrator = std::make_shared<NPNarrator>(engine.session().platform(), *sharedScreenManager());
    narrator->start();
    engine.serve();
    loop.run();
    return engine.finish() ? 0 : 1;
}
