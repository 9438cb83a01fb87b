#include "MSTFileUpdateCtl.h"

#include "IndexSummary.h"
#include "SummaryBox.h"

#include <QResizeEvent>
#include <QTextEdit>

MSTFileUpdateCtl::MSTFileUpdateCtl(QWidget* parent) : WizardPage(parent), m_rtbSum(SummaryBox::create(this))
{
    m_rtbSum->setGeometry(rect());
}

void MSTFileUpdateCtl::Initialize(const QString& ServerName, const QString& DatabaseName,
                                  const QString& MSTFilePath)
{
    m_summaryText = QString::fromStdString(IndexSummaryText(
        ServerName.toStdString(), DatabaseName.toStdString(), MSTFilePath.toStdString(), "\r\n"));
    SummaryBox::setText(m_rtbSum, m_summaryText);
}

void MSTFileUpdateCtl::resizeEvent(QResizeEvent* event)
{
    WizardPage::resizeEvent(event);
    m_rtbSum->setGeometry(rect());
}
