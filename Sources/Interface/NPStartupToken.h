// What a desktop gives a program that it starts: a token that lets the window, which is what the start asked for, come
// to the front over what has the keyboard now, and by which the desktop ends its sign of waiting (a busy pointer). A
// second start has no window of its own: it hands its token to the first.
#pragma once

#include <string>

class QWidget;

// The token that this process was started with; empty for none.
std::string NPStartupToken();

// The next window that NPBringToFront() shows is the one that was asked for by the start with this token.
void NPExpectWindowForStartup(const std::string& token);

// To be called once the window is shown and has asked for the keyboard. Does nothing without a token that waits for
// a window.
void NPSpendStartupToken(QWidget& window);

// Tells an X desktop that the start is over, also where no window came of it. Needs no Qt application.
void NPEndStartup(const std::string& token);
