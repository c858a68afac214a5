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
    engine.launch();
    NPMainLoopLinux& loop = engine.session().loop();
    const auto narrator = std::make_shared<NPNarrator>(engine.session().platform(), *sharedScreenManager());
    narrator->start();
    engine.serve([&loop] { loop.stop(); });
    loop.run();
    return engine.finish() ? 0 : 1;
}
