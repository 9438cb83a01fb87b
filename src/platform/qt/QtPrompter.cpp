#include "QtPrompter.h"

#include <QInputDialog>
#include <QMessageBox>

MsgAnswer QtPrompter::messageBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                                 const std::string& title)
{
    QMessageBox box(m_owner);
    box.setWindowTitle(QString::fromStdString(title));
    box.setText(QString::fromStdString(text));
    switch (icon) {
    case MsgIcon::None: box.setIcon(QMessageBox::NoIcon); break;
    case MsgIcon::Information: box.setIcon(QMessageBox::Information); break;
    case MsgIcon::Question: box.setIcon(QMessageBox::Question); break;
    case MsgIcon::Exclamation: box.setIcon(QMessageBox::Warning); break;
    case MsgIcon::Critical: box.setIcon(QMessageBox::Critical); break;
    }
    switch (buttons) {
    case MsgButtons::OK: box.setStandardButtons(QMessageBox::Ok); break;
    case MsgButtons::OKCancel: box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel); break;
    case MsgButtons::YesNo: box.setStandardButtons(QMessageBox::Yes | QMessageBox::No); break;
    }
    switch (box.exec()) {
    case QMessageBox::Yes: return MsgAnswer::Yes;
    case QMessageBox::No: return MsgAnswer::No;
    case QMessageBox::Cancel: return MsgAnswer::Cancel;
    default: return buttons == MsgButtons::YesNo ? MsgAnswer::No : MsgAnswer::OK;
    }
}

std::optional<std::string> QtPrompter::inputBox(const std::string& prompt, const std::string& title,
                                                const std::string& defaultText)
{
    bool ok = false;
    const QString answer = QInputDialog::getText(m_owner, QString::fromStdString(title),
                                                 QString::fromStdString(prompt), QLineEdit::Normal,
                                                 QString::fromStdString(defaultText), &ok);
    if (!ok)
        return std::nullopt;
    return answer.toStdString();
}
