#include "MSTFileLocationCtl.h"

#include "FileDialogs.h"

#include <QEvent>
#include <QLineEdit>
#include <QPushButton>

MSTFileLocationCtl::MSTFileLocationCtl(QWidget* parent)
    : FieldPage(QStringLiteral("mMstFileLocationLabel"), QStringLiteral("MST File Location:"),
                QStringLiteral("mMSTFileLocationTextBox"), Browse::Button, parent)
{
    connect(browseButton(), &QPushButton::clicked, this, &MSTFileLocationCtl::onBrowse);
    textBox()->installEventFilter(this);
}

QString MSTFileLocationCtl::Path() const
{
    return textBox()->text();
}

QString MSTFileLocationCtl::BrowseForDirectory()
{
    return dialogs::BrowseForFolder(this, QStringLiteral("Select Directory"),
                                    dialogs::kBrowseOnlyFileSystemDirs)
        .value_or(textBox()->text());
}

void MSTFileLocationCtl::onBrowse()
{
    textBox()->setText(BrowseForDirectory());
    // Set even after a cancel: the frame reads it as "the user went through Browse".
    m_browseClicked = true;
}

void MSTFileLocationCtl::selectOnShow()
{
    QLineEdit* box = textBox();
    const QString text = box->text();
    box->setCursorPosition(0);
    // Exact case: "Labfolio.MST" is selected whole.
    const qsizetype length =
        text.endsWith(QStringLiteral(".mst"), Qt::CaseSensitive) ? text.size() - 4 : text.size();
    box->setSelection(0, static_cast<int>(length));
}

bool MSTFileLocationCtl::eventFilter(QObject* watched, QEvent* event)
{
    // Any key released in the box counts as typing, even one that changes nothing.
    if (watched == textBox() && event->type() == QEvent::KeyRelease)
        m_browseClicked = false;
    return FieldPage::eventFilter(watched, event);
}
