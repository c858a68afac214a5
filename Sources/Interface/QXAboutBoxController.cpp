#include "Interface/QXAboutBoxController.h"

#include "Interface/NPWindowQt.h"
#include "Interface/QXAboutBoxBackground.h"
#include "Interface/ui_QXAboutBox.h"
#include "Shell/QXAboutBoxText.h"

#include <QGuiApplication>
#include <QScreen>
#include <QScrollBar>
#include <QTextCursor>
#include <QTextDocumentFragment>
namespace {

constexpr int iconSide = 96;

void setFont(QTextCharFormat& format, QXAboutBoxFont font)
{
    const double size = format.fontPointSize();
    if (font != QXAboutBoxFont::asInTemplate) {
        QFont system = QGuiApplication::font();
        system.setBold(font == QXAboutBoxFont::boldSystem);
        system.setPointSizeF(size > 0.0 ? size : system.pointSizeF());
        format.setFont(system);
    }
}

void replace(QTextDocument& document, const QXAboutBoxReplacement& replacement)
{
    QTextCursor cursor(&document);
    cursor.setPosition(static_cast<int>(replacement.position));
    cursor.setPosition(static_cast<int>(replacement.position + replacement.length), QTextCursor::KeepAnchor);
    QTextCharFormat format = cursor.charFormat();
    setFont(format, replacement.font);
    const QString text = QString::fromStdU16String(replacement.text);
    if (replacement.isHTML) {
        cursor.removeSelectedText();
        cursor.insertFragment(QTextDocumentFragment::fromHtml(text));
    } else {
        cursor.insertText(text, format);
    }
}

} // namespace

QXAboutBoxController::QXAboutBoxController(const NPBundle& bundle, QXNotificationCenter& notifications)
    : _bundle(bundle), _notifications(notifications)
{
}

QXAboutBoxController::~QXAboutBoxController() = default;

void QXAboutBoxController::_load()
{
    _interface = std::make_unique<Ui::QXAboutBox>();
    _view = std::make_unique<QXAboutBoxBackground>();
    _interface->setupUi(_view.get());
    _window = std::make_shared<NPWindowQt>(*_view, _notifications);
    _interface->iconView->setPixmap(
        QGuiApplication::windowIcon().pixmap(QSize(iconSide, iconSide), _view->devicePixelRatioF()));
    _interface->iconView->setAttribute(Qt::WA_TransparentForMouseEvents); // a press on it moves the window
    // The ground shows through the text, which runs from edge to edge.
    QTextBrowser& text = textView();
    text.viewport()->setAutoFillBackground(false);
    QPalette clear = text.palette();
    clear.setColor(QPalette::Base, Qt::transparent);
    text.setPalette(clear);
    text.document()->setDocumentMargin(24.0);
    updateText();
}

std::shared_ptr<NPWindow> QXAboutBoxController::window()
{
    if (!_window) {
        _load();
    }
    return _window;
}

QTextBrowser& QXAboutBoxController::textView()
{
    window();
    return *_interface->textView;
}

void QXAboutBoxController::updateText()
{
    QTextBrowser& view = textView();
    if (_templateText.isEmpty()) {
        _templateText = view.toHtml();
    }
    view.setHtml(_templateText);
    QTextDocument& document = *view.document();
    for (const QXAboutBoxReplacement& replacement :
         QXAboutBoxReplacements(document.toPlainText().toStdU16String(), _bundle)) {
        replace(document, replacement);
    }
    // In the desktop's own colour, so that it follows a dark one.
    QTextCursor all(&document);
    all.select(QTextCursor::Document);
    QTextCharFormat color;
    color.setForeground(view.palette().brush(QPalette::WindowText));
    all.mergeCharFormat(color);
    view.moveCursor(QTextCursor::Start);
}

void QXAboutBoxController::showWindow()
{
    window();
    if (!_view->isVisible()) {
        _view->adjustSize();
        _view->resize(_view->size().expandedTo(QSize(420, 480)));
        textView().verticalScrollBar()->setValue(0);
        const QScreen* const screen = _view->screen();
        _view->move(screen->availableGeometry().center() - _view->rect().center());
    }
    NPBringToFront(*_view);
}
