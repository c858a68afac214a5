// The face of the program: everything of it that Qt shows, and Qt's own loop.
//
// It may be handed to the logic before there is a Qt application, which takes longer to set up than all of the
// engine's start: what is shown is remembered. start() sets the application up, or the first alert or download that
// cannot wait.
#pragma once

#include "Interface/NPAlertsQt.h"
#include "Interface/NPDownloadsQt.h"
#include "Interface/NPProcessModeQt.h"
#include "Interface/NPRunLoopBridge.h"
#include "Interface/NPSignaturesSodium.h"
#include "Interface/NPStatusBarQt.h"
#include "Interface/NPUpdateUserDriverQt.h"
#include "Interface/QXStringTranslator.h"

#include <QApplication>

#include <functional>
#include <memory>

// The loop that Qt's drives; see NPRunLoopBridge.
struct NPDrivenLoop {
    int descriptor = -1;
    std::function<void()> serve;
    std::function<void()> prepare;
};

// Makes the images that are compiled in available; the interface does so by itself.
void NPInitInterfaceResources();

class NPInterfaceQt {
public:
    explicit NPInterfaceQt(NPDrivenLoop loop);
    ~NPInterfaceQt();
    NPInterfaceQt(const NPInterfaceQt&) = delete;
    NPInterfaceQt& operator=(const NPInterfaceQt&) = delete;

    NPAlerts& alerts() { return _alerts; }
    NPProcessMode& processMode() { return _processMode; }
    NPStatusBarQt& statusBar() { return _statusBar; }
    NPDownloadServices& downloads() { return _downloads; }
    NPSignatureServices& signatures() { return _signatures; }
    NPUpdateUserDriver& userDriver() { return _userDriver; }

    void start();

    // Serves everybody until quit() is called, from a handler or before.
    void run();

    // Dialogs that are open end as if they had been closed.
    void quit();

    // The driven loop is not served any more, and may go.
    void stopDriving() { _bridge = nullptr; }

private:
    void _makeApplication();
    void _installTranslators();

    const NPDrivenLoop _loop;
    std::unique_ptr<QApplication> _application;
    std::unique_ptr<NPRunLoopBridge> _bridge;
    NPAlertsQt _alerts;
    NPProcessModeQt _processMode;
    NPStatusBarQt _statusBar;
    NPDownloadsQt _downloads;
    NPSignaturesSodium _signatures;
    NPUpdateUserDriverQt _userDriver;
    bool _hasQuit = false;
};
