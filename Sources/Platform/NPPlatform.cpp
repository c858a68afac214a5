#include "Platform/NPPlatform.h"

#include "Foundation/QXAssert.h"
#include "Foundation/QXSharedScope.h"

void NPInstallPlatform(const NPPlatform& platform)
{
    QXSharedScope::current().instance<NPPlatform>([&] { return std::make_shared<NPPlatform>(platform); });
}

const NPPlatform& NPCurrentPlatform()
{
    const auto platform = QXSharedScope::current().instance<NPPlatform>([] {
        QXAssert(false, "NPInstallPlatform");
        return std::shared_ptr<NPPlatform>();
    });
    return *platform; // the scope keeps it
}
