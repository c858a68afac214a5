#include "Application/NPProgramWorkspace.h"

#include <QDesktopServices>
#include <QUrl>

std::optional<std::string>
NPProgramWorkspace::absolutePathForAppBundleWithIdentifier(const std::string& identifier) const
{
    return _applications.pathForIdentifier(identifier);
}

std::string NPProgramWorkspace::displayNameAtPath(const std::string& path) const
{
    return _applications.displayNameAtPath(path);
}

std::optional<std::string> NPProgramWorkspace::iconForFile(const std::string& path) const
{
    return _applications.iconForFile(path);
}

bool NPProgramWorkspace::openURL(const std::string& url)
{
    return QDesktopServices::openUrl(QUrl(QString::fromStdString(url)));
}

void NPProgramWorkspace::terminate()
{
    _isTerminating = true;
    _end();
}
