#include "Menus/NPAppModeControl.h"

#include "Foundation/QXAssert.h"
#include "Foundation/QXSharedScope.h"
#include "Platform/NPDesktop.h"
#include "Platform/NPPlatform.h"

#include <algorithm>

// Whether the platform refuses to switch plays no part: there is nothing else to be tried.
void _NPAppModeSetUIElementImpl()
{
    const auto observer = _NPAppModeObserver::sharedObserver();
    QXAssert(observer->defaultIsUIElement(), "_NPAppModeDefaultIsUIElement");
    QXAssert(observer->foregroundWindowCount() == 0,
             "[_NPAppModeObserver sharedObserver].foregroundWindowCount == 0");
    NPCurrentDesktop().processMode.transformProcessType(NPProcessType::uiElement);
}

void NPAppModeSetDefaultUIElement()
{
    const auto observer = _NPAppModeObserver::sharedObserver();
    observer->setDefaultIsUIElement(true);
    if (observer->foregroundWindowCount() == 0) {
        _NPAppModeSetUIElementImpl();
    }
}

void NPAppModeSetDefaultForeground()
{
    _NPAppModeObserver::sharedObserver()->setDefaultIsUIElement(false);
    NPCurrentDesktop().processMode.transformProcessType(NPProcessType::foregroundApplication);
}

void NPAppModeShowWindow(const std::shared_ptr<NPWindow>& window)
{
    _NPAppModeObserver::sharedObserver()->addForegroundWindow(window);
    NPCurrentDesktop().processMode.activateIgnoringOtherApps(true);
}

std::shared_ptr<_NPAppModeObserver> _NPAppModeObserver::sharedObserver()
{
    return QXSharedScope::current().instance<_NPAppModeObserver>(
        [] { return std::make_shared<_NPAppModeObserver>(); });
}

void _NPAppModeObserver::addForegroundWindow(const std::shared_ptr<NPWindow>& window)
{
    if (!_foregroundWindows.insert(window).second) {
        return;
    }
    NPCurrentPlatform().notifications.addObserver(
        _observer, std::string(NSWindowWillCloseNotification), window.get(),
        [this, closing = window.get()](const QXNotification&) { _windowWillClose(closing); });
    NPCurrentDesktop().processMode.transformProcessType(NPProcessType::foregroundApplication);
}

void _NPAppModeObserver::_windowWillClose(const NPWindow* window)
{
    const auto closing = std::ranges::find(_foregroundWindows, window, &std::shared_ptr<NPWindow>::get);
    const std::shared_ptr<NPWindow> held = *closing;
    _foregroundWindows.erase(closing);
    if (_foregroundWindows.empty() && _defaultIsUIElement) {
        _NPAppModeSetUIElementImpl();
    }
    NPCurrentPlatform().notifications.removeObserver(_observer, NSWindowWillCloseNotification, window);
}
