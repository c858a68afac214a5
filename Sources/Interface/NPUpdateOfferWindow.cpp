#include "Interface/NPUpdateOfferWindow.h"

#include "Foundation/QXString.h"
#include "Interface/QXTextColors.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

#include <utility>

namespace {

constexpr int iconSide = 64;
constexpr QSize notesSize(460, 220);

// Shows text, and nothing from elsewhere: a picture or a style sheet in the notes would tell who reads them.
class Notes final : public QTextBrowser {
public:
    using QTextBrowser::QTextBrowser;
    QVariant loadResource(int, const QUrl&) override { return {}; }
};

QString filled(const std::string& format, std::initializer_list<std::string_view> values)
{
    return QString::fromStdString(QXFormat(format, values));
}

QLabel* makeLabel(const QString& text)
{
    auto* const label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

} // namespace

NPUpdateOfferWindow::NPUpdateOfferWindow(const NPUpdateOffer& offer, std::function<void(NPUpdateChoice)> reply)
    : _reply(std::move(reply))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QString::fromStdString(QXLocalizedString("Software Update", "QXWebStoreUpdate")));

    const std::string name = QGuiApplication::applicationDisplayName().toStdString();
    QLabel* const title =
        makeLabel(filled(QXLocalizedString("A new version of %@ is available.", "QXWebStoreUpdate"), {name}));
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    QLabel* const detail =
        makeLabel(filled(QXLocalizedString("%1$@ %2$@ is available; you have %3$@.", "QXWebStoreUpdate"),
                         {name, offer.version, offer.currentVersion}));

    auto* const skip =
        new QPushButton(QString::fromStdString(QXLocalizedString("Skip This Version", "QXWebStoreUpdate")));
    auto* const later =
        new QPushButton(QString::fromStdString(QXLocalizedString("Remind Me Later", "QXWebStoreUpdate")));
    auto* const open =
        new QPushButton(QString::fromStdString(QXLocalizedString("Open Download Page", "QXWebStoreUpdate")));
    open->setDefault(true);
    if (offer.isCritical) {
        skip->hide();
    }
    connect(skip, &QPushButton::clicked, this, [this] { _choose(NPUpdateChoice::skip); });
    connect(later, &QPushButton::clicked, this, [this] { _choose(NPUpdateChoice::remindLater); });
    connect(open, &QPushButton::clicked, this, [this] { _choose(NPUpdateChoice::openDownloadPage); });

    auto* const texts = new QVBoxLayout();
    texts->addWidget(title);
    texts->addWidget(detail);
    if (!offer.releaseNotes.empty()) {
        texts->addWidget(_makeNotes(offer), 1);
    }
    auto* const buttons = new QHBoxLayout();
    buttons->addWidget(skip);
    buttons->addStretch();
    buttons->addWidget(later);
    buttons->addWidget(open);
    texts->addLayout(buttons);
    auto* const icon = new QLabel();
    icon->setPixmap(QGuiApplication::windowIcon().pixmap(QSize(iconSide, iconSide), devicePixelRatioF()));
    auto* const row = new QHBoxLayout(this);
    row->addWidget(icon, 0, Qt::AlignTop);
    row->addSpacing(8);
    row->addLayout(texts, 1);
    open->setFocus(); // not the notes, which take Return and the arrows
}

QWidget* NPUpdateOfferWindow::_makeNotes(const NPUpdateOffer& offer)
{
    auto* const notes = new Notes();
    notes->setAccessibleName(QString::fromStdString(QXLocalizedString("Release Notes:", "QXWebStoreUpdate")));
    notes->setHtml(QString::fromStdString(offer.releaseNotes));
    QXRemoveTextColors(*notes->document());
    notes->setOpenExternalLinks(true);
    notes->setMinimumSize(notesSize);
    return notes;
}

void NPUpdateOfferWindow::_choose(NPUpdateChoice choice)
{
    _choice = choice;
    accept();
}

// However it is closed.
void NPUpdateOfferWindow::done(int result)
{
    QDialog::done(result);
    if (const auto reply = std::exchange(_reply, nullptr)) {
        reply(_choice);
    }
}
