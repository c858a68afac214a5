// nightpane: the program with windows.
#include "Application/NPApplication.h"
#include "Application/NPProgramOptions.h"
#include "Foundation/QXLog.h"
#include "Platform/Linux/NPDisplayGuard.h"
#include "Platform/Linux/NPResourcesLinux.h"

#include <cstdio>

namespace {

enum ExitCode { exitDone = 0, exitMisuse = 2 };

} // namespace

int main(int argc, char** argv)
{
    const QXLogRedirection log(
        [](std::string_view line) { std::fputs(("nightpane: " + std::string(line) + '\n').c_str(), stderr); });
    if (NPDisplayGuard::runsAsGuard(argc, argv)) {
        return exitDone;
    }
    const auto options = NPParseProgramOptions(std::vector<std::string>(argv + 1, argv + argc));
    if (!options) {
        std::fputs(("nightpane: " + options.error() + '\n').c_str(), stderr);
        return exitMisuse;
    }
    if (options->action == NPProgramAction::help) {
        std::fputs(NPProgramUsage().c_str(), stdout);
        return exitDone;
    }
    if (options->action == NPProgramAction::version) {
        std::printf("nightpane %s\n", NPVersion());
        return exitDone;
    }
    NPInstallStringTables();
    return NPRunApplication(*options);
}
