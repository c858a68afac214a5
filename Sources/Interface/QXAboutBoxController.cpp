#include "Interface/QXAboutBoxController.h"

#include "Interface/NPWindowQt.h"
#include "Interface/QXAboutBoxBackground.h"
#include "Interface/QXTextColors.h"
#include "Interface/ui_QXAboutBox.h"
#include "Shell/QXAboutBoxText.h"

#include <QGuiApplication>
#include <QScreen>
#include <QScrollBar>
#include <QShortcut>
#include <QTextCursor>
#include <QTextDocumentFragment>
#include <QTextFrame>

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
    // The ground shows through the text.
    QTextBrowser& text = *_interface->textView;
    text.viewport()->setAutoFillBackground(false);
    QPalette clear;
    clear.setColor(QPalette::Base, Qt::transparent);
    text.setPalette(clear);
    _runTextFromEdgeToEdge();
    updateText();
    for (const QKeySequence::StandardKey key : {QKeySequence::Close, QKeySequence::Cancel}) {
        QObject::connect(new QShortcut(key, _view.get()), &QShortcut::activated, _view.get(), &QWidget::close);
    }
}

// What scrolls goes as far as the window does, above, below and on the right; the text itself keeps its place, by
// insets as wide as the margins were.
void QXAboutBoxController::_runTextFromEdgeToEdge()
{
    _view->layout()->activate();
    const QRect frame = _interface->textView->geometry();
    const QRect content = _view->rect();
    const int rightMargin = content.right() - frame.right();
    const int topMargin = frame.top() - content.top();
    const auto inset = static_cast<int>(_interface->textView->document()->documentMargin());
    _textInset = QSize(inset + rightMargin, inset + topMargin);
    QMargins margins = _interface->columns->contentsMargins();
    margins.setRight(0);
    _interface->columns->setContentsMargins(margins);
    _interface->columns->setSpacing(_interface->columns->spacing() - rightMargin);
    _interface->textColumn->setContentsMargins(0, 0, 0, 0);
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
    QXRemoveTextColors(document);
    QTextFrameFormat frame = document.rootFrame()->frameFormat();
    frame.setLeftMargin(_textInset.width());
    frame.setRightMargin(_textInset.width());
    frame.setTopMargin(_textInset.height());
    frame.setBottomMargin(_textInset.height());
    document.rootFrame()->setFrameFormat(frame);
    view.moveCursor(QTextCursor::Start);
}

void QXAboutBoxController::showWindow()
{
    window();
    if (!_view->isVisible()) {
        textView().verticalScrollBar()->setValue(0);
        const QScreen* const screen = _view->screen();
        _view->move(screen->availableGeometry().center() - _view->rect().center());
    }
    NPBringToFront(*_view);
}
