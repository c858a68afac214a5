// The about window: the application's icon, name, version and copyright, and the credits, in one text that scrolls.
//
// The text is a template in QXAboutBox.ui whose words "App", "Version", "Copyright" and "Credits" are replaced when
// the window is loaded.
#pragma once

#include "Foundation/QXNotificationCenter.h"
#include "Platform/NPBundle.h"
#include "Platform/NPWindows.h"

#include <QSize>
#include <QString>

#include <memory>

class NPWindowQt;
class QXAboutBoxBackground;
class QTextBrowser;
namespace Ui {
class QXAboutBox;
}

class QXAboutBoxController final : public NPWindowController {
public:
    // Holds the references for its lifetime.
    QXAboutBoxController(const NPBundle& bundle, QXNotificationCenter& notifications);
    ~QXAboutBoxController() override;

    bool isWindowLoaded() const override { return _window != nullptr; }
    std::shared_ptr<NPWindow> window() override;

    // Centred and scrolled to the top, unless it is visible already. That the text scrolls needs no showing: the scroll
    // bar is there exactly when it does.
    void showWindow() override;

    // Builds the text from the template.
    void updateText();

    QTextBrowser& textView();

private:
    void _load();
    void _runTextFromEdgeToEdge();

    const NPBundle& _bundle;
    QXNotificationCenter& _notifications;
    std::unique_ptr<Ui::QXAboutBox> _interface;
    std::unique_ptr<QXAboutBoxBackground> _view;
    std::shared_ptr<NPWindowQt> _window;
    QSize _textInset;
    QString _templateText; // HTML; taken the first time that the text is built
};
