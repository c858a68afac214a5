#include "Platform/NPDesktop.h"

#include "Foundation/QXAssert.h"
#include "Foundation/QXSharedScope.h"

void NPInstallDesktop(const NPDesktop& desktop)
{
    QXSharedScope::current().instance<NPDesktop>([&] { return std::make_shared<NPDesktop>(desktop); });
}

const NPDesktop& NPCurrentDesktop()
{
    const auto desktop = QXSharedScope::current().instance<NPDesktop>([] {
        QXAssert(false, "NPInstallDesktop");
        return std::shared_ptr<NPDesktop>();
    });
    return *desktop; // the scope keeps it
}
