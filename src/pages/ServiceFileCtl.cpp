#include "ServiceFileCtl.h"

#include "FileDialogs.h"

#include <QLineEdit>
#include <QPushButton>

ServiceFileCtl::ServiceFileCtl(QWidget* parent)
    : FieldPage(QStringLiteral("mServiceFileLocationLabel"), QStringLiteral("Service File Location:"),
                QStringLiteral("mServiceFileLocationTextBox"), Browse::Button, parent)
{
    connect(browseButton(), &QPushButton::clicked, this, &ServiceFileCtl::onBrowse);
}

QString ServiceFileCtl::Path() const
{
    return textBox()->text();
}

void ServiceFileCtl::onBrowse()
{
    dialogs::FileRequest request;
    request.defaultExtension = QStringLiteral("lfsvc");
    // The filter is the product's text, blanks included; the dialog makes its own display of it.
    request.filter = QStringLiteral("Service Configuration (*.lfsvc) Files | *.lfsvc");
    // The dialog opens on the path already in the box.
    request.fileName = textBox()->text();
    request.flags = dialogs::kFileOverwritePrompt | dialogs::kFileHideReadOnly | dialogs::kFileNoChangeDir |
                    dialogs::kFileNoReadOnlyReturn;
    const dialogs::FileChoice choice = dialogs::fileDialogs().browseForFile(this, request);
    // A cancel or a failing dialog leaves the box as it was and is not reported.
    if (choice.outcome == dialogs::FileChoice::Outcome::Confirmed)
        textBox()->setText(choice.fileName);
}
