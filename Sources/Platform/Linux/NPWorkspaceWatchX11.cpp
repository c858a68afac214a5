#include "Platform/Linux/NPWorkspaceWatchX11.h"

#include <sys/epoll.h>

#include <utility>

std::expected<std::unique_ptr<NPWorkspaceWatchX11>, std::string>
NPWorkspaceWatchX11::open(const std::string& displayName, NPMainLoopLinux& loop)
{
    auto connection = NPConnectionX11::open(displayName);
    if (!connection) {
        return std::unexpected(connection.error());
    }
    std::unique_ptr<NPWorkspaceWatchX11> watch(new NPWorkspaceWatchX11(std::move(*connection)));
    watch->_descriptorWatch =
        loop.watchFileDescriptor(watch->_connection.descriptor(), EPOLLIN, [&self = *watch](std::uint32_t) {
            self._connection.noticeActivity();
            self._takeEvents(xcb_poll_for_event);
        });
    watch->_turnWatch = loop.watchBeforeWaiting([&self = *watch] { self._prepareToWait(); });
    return watch;
}

std::unexpected<std::string> NPWorkspaceWatchX11::_refusal(const std::string& reason) const
{
    return std::unexpected("The X server at \"" + _connection.name() + "\" " + reason);
}

std::expected<void, std::string> NPWorkspaceWatchX11::watchScreenSaver(std::function<void(bool isActive)> handler)
{
    const auto screenSaver = NPScreenSaverX11::switchOn(_connection);
    if (!screenSaver) {
        return _refusal(screenSaver.error());
    }
    _screenSaver = *screenSaver;
    _screenSaverHandler = std::move(handler);
    if (_screenSaver->wasActive()) {
        _screenSaverHandler(true);
    }
    return {};
}

std::expected<void, std::string> NPWorkspaceWatchX11::watchApplications(std::function<void()> handler)
{
    _windows = NPWindowListX11::switchOn(_connection);
    if (!_windows) {
        return _refusal("does not respond");
    }
    _applicationHandler = std::move(handler);
    return {};
}

void NPWorkspaceWatchX11::_prepareToWait()
{
    // Whoever waited for an answer may have met events on the way: they no longer make the socket readable.
    _takeEvents(xcb_poll_for_queued_event);
    while (std::exchange(_windowsHaveChanged, false)) {
        if (_windows->readAgain(_connection)) {
            _applicationHandler();
        }
        _takeEvents(xcb_poll_for_queued_event);
    }
    if (_connection.isLost()) {
        _tellLoss();
    }
}

void NPWorkspaceWatchX11::_takeEvents(xcb_generic_event_t* (*next)(xcb_connection_t* handle))
{
    while (const NPContentX11<xcb_generic_event_t> event{next(_connection.handle())}) {
        if (_windows && _windows->isChange(*event)) {
            _windowsHaveChanged = true;
        }
        if (const auto isActive = _screenSaver ? _screenSaver->activeFromEvent(*event) : std::nullopt) {
            _screenSaverHandler(*isActive);
        }
    }
}

void NPWorkspaceWatchX11::_tellLoss()
{
    _descriptorWatch.reset(); // it would be ready for ever
    _turnWatch.reset();
    if (_screenSaver) {
        _screenSaverHandler(false);
    }
}
