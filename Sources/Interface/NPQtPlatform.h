// Which of Qt's platforms shows the windows. Qt ends the program where none of those that it tries can be had, a
// Wayland session without Qt's plugin for it, for example; a program whose work does not depend on windows goes on
// without them.
#pragma once

#include <QApplication>

#include <memory>
#include <string>

// In the order in which they are to be tried, as Qt's option "-platform" takes them: those that the user or the
// session asks for, and at last the one that shows nothing.
std::string NPQtPlatforms();

// The application, on the first platform that can be had. What Qt says about the others is dropped: the log has a line
// when windows cannot be shown at all.
std::unique_ptr<QApplication> NPMakeQtApplication();

// Whether windows can be seen. There is an application.
bool NPHasDesktop();
