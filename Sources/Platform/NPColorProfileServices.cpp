#include "Platform/NPColorProfileServices.h"

#include <utility>

NPDisplayProfile NPDisplayProfileFromColorProfile(QXColorProfile profile)
{
    const QXGammaTable baseTable = QXColorProfileGetGammaTable(profile);
    std::optional<std::string> location = QXColorProfileCopyBaseURL(profile);
    return {baseTable, std::move(location), std::move(profile)};
}
