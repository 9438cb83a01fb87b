#pragma once

#include "FieldPage.h"

// An input page whose Browse button opens the folder browser and puts the chosen folder into
// the text box.
class FolderPage : public FieldPage {
    Q_OBJECT
    Q_PROPERTY(QString DirectoryPath READ DirectoryPath)
public:
    // The folder the text box holds, exactly as it stands.
    QString DirectoryPath() const;

protected:
    FolderPage(const QString& browseTitle, const QString& labelName, const QString& caption,
               const QString& textBoxName, QWidget* parent);

private:
    void onBrowse();

    QString m_browseTitle;
};
