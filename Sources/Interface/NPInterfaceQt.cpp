#include "Interface/NPInterfaceQt.h"

#include "Interface/NPAccessibleMenuItem.h"
#include "Interface/NPQtPlatform.h"
#include "Interface/QXContrastStyle.h"

#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>
#include <QSessionManager>

// Outside of any namespace, as the macro wants it: a static library's resources are not there by themselves.
void NPInitInterfaceResources()
{
    Q_INIT_RESOURCE(Interface);
}

namespace {

QIcon applicationIcon()
{
    QIcon icon = QIcon::fromTheme(QStringLiteral("nightpane"));
    if (icon.isNull()) {
        icon.addFile(QStringLiteral(":/Icons/nightpane-small.svg"), QSize(16, 16));
        icon.addFile(QStringLiteral(":/Icons/nightpane.svg"), QSize(48, 48));
        icon.addFile(QStringLiteral(":/Icons/nightpane.svg"), QSize(128, 128));
    }
    return icon;
}

} // namespace

NPInterfaceQt::NPInterfaceQt(NPDrivenLoop loop)
    : _loop(std::move(loop)), _alerts([this] { _makeApplication(); }), _downloads([this] { _makeApplication(); }),
      _userDriver([this] { _makeApplication(); })
{
}

NPInterfaceQt::~NPInterfaceQt()
{
    _userDriver.stop();
    _downloads.stop();
    _statusBar.stop();
    _bridge = nullptr;
}

void NPInterfaceQt::_makeApplication()
{
    if (_application) {
        return;
    }
    NPInitInterfaceResources();
    QCoreApplication::setApplicationName(QStringLiteral("nightpane"));
    QGuiApplication::setDesktopFileName(QStringLiteral("nightpane"));
    _application = NPMakeQtApplication();
    QGuiApplication::setQuitOnLastWindowClosed(false);
    _installTranslators();
    NPInstallMenuAccessibility();
    QXContrastStyle::install();
    QGuiApplication::setApplicationDisplayName(QObject::tr("Nightpane"));
    QGuiApplication::setWindowIcon(applicationIcon());
    QObject::connect(_application.get(), &QGuiApplication::saveStateRequest, [](QSessionManager& manager) {
        manager.setRestartHint(QSessionManager::RestartNever); // it starts by its autostart entry, or not at all
    });
    _bridge = std::make_unique<NPRunLoopBridge>(_loop.descriptor, _loop.serve, _loop.prepare);
}

void NPInterfaceQt::_installTranslators()
{
    auto* const ofQt = new QTranslator(_application.get()); // "Cancel" and the like
    if (ofQt->load(QLocale(), QStringLiteral("qtbase"), QStringLiteral("_"),
                   QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(ofQt);
    }
    QCoreApplication::installTranslator(new QXStringTranslator(_application.get()));
}

void NPInterfaceQt::start()
{
    _makeApplication();
    _statusBar.start();
}

void NPInterfaceQt::run()
{
    if (!_hasQuit) {
        QCoreApplication::exec();
    }
}

// Not QCoreApplication::quit(), which any open window may refuse.
void NPInterfaceQt::quit()
{
    _hasQuit = true;
    if (_application) {
        QCoreApplication::exit();
    }
}
