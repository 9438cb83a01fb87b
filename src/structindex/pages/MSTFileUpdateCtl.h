#pragma once

#include "WizardPage.h"

class QTextEdit;

// The summary shown before the structure index is rebuilt: server, database and index folder.
class MSTFileUpdateCtl : public WizardPage {
    Q_OBJECT
public:
    explicit MSTFileUpdateCtl(QWidget* parent = nullptr);

    // Replaces the whole summary. MSTFilePath is the folder as typed or chosen.
    void Initialize(const QString& ServerName, const QString& DatabaseName, const QString& MSTFilePath);

    // The text the last Initialize put into the box, its lines joined by "\r\n".
    const QString& summaryText() const { return m_summaryText; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QTextEdit* m_rtbSum;
    QString m_summaryText;
};
