#include "Platform/Linux/NPResourcesLinux.h"

#include "Foundation/QXLog.h"
#include "Platform/Linux/NPFileAccess.h"

#include <limits.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string_view>

std::string NPProgramFolder()
{
    std::array<char, PATH_MAX> path;
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
    const std::string_view program(path.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
    return std::string(program.substr(0, program.find_last_of('/') + 1));
}

std::string NPResourceFolder()
{
    const std::string folder = NPProgramFolder();
    const std::string asBuilt = folder + "Resources";
    return ::access(asBuilt.c_str(), F_OK) == 0 ? asBuilt : folder + NP_RESOURCE_PATH;
}

QXStringTableSource NPStringTableSource(std::string folder)
{
    return [folder = std::move(folder)](const std::string& language,
                                        const std::string& table) -> std::optional<std::string> {
        const std::string path =
            folder + '/' + language + '/' + (table.empty() ? "Localizable" : table) + ".strings";
        if (::access(path.c_str(), F_OK) != 0) {
            return std::nullopt;
        }
        const auto data = NPReadFile(path, QXStringTable::mostBytes);
        if (!data) {
            QXLog(path + ": " + data.error());
            return std::nullopt;
        }
        return std::string(data->begin(), data->end());
    };
}

std::vector<std::string> NPLanguages()
{
    return QXLanguagesOfEnvironment([](const char* name) -> std::optional<std::string> {
        const char* const value = std::getenv(name);
        return value ? std::optional<std::string>(value) : std::nullopt;
    });
}

void NPInstallStringTables()
{
    QXSetStringTables(
        QXStringTablesInLanguages(NPLanguages(), NPStringTableSource(NPResourceFolder() + "/Strings")));
}
