#include "MSTFileProgressCtl.h"

#include "ApplyLanguageFont.h"
#include "ChemistryLibrary.h"
#include "IndexRebuild.h"

#include <QProgressBar>
#include <QPushButton>
#include <QResizeEvent>
#include <QTimer>

namespace {
constexpr int kBarHeight = 24;
constexpr int kGap = 12;
} // namespace

MSTFileProgressCtl::MSTFileProgressCtl(QWidget* parent)
    : WizardPage(parent), prgStatus(new QProgressBar(this)),
      mStopButton(new QPushButton(QStringLiteral("Stop"), this)), mTimer(new QTimer(this))
{
    prgStatus->setObjectName(QStringLiteral("prgStatus"));
    prgStatus->setRange(0, 100);
    prgStatus->setValue(0);
    mStopButton->setObjectName(QStringLiteral("mStopButton"));
    LanguageUtils::ApplyLanguageFont(mStopButton, false, 0);
    mStopButton->resize(mStopButton->sizeHint().expandedTo(QSize(90, 28)));
    mTimer->setObjectName(QStringLiteral("mTimer"));
    mTimer->setInterval(1);
    connect(mStopButton, &QPushButton::clicked, this, &MSTFileProgressCtl::Stop);
    connect(mTimer, &QTimer::timeout, this, &MSTFileProgressCtl::onTick);
    layoutControls();
}

MSTFileProgressCtl::~MSTFileProgressCtl() = default;

void MSTFileProgressCtl::Initialize(const QString& SQLServerName, const QString& DatabaseName,
                                    const QString& MSTFilePath)
{
    auto rebuild = std::make_unique<IndexRebuild>(chemistryLibrary(), m_readAheadThreads);
    rebuild->Open(SQLServerName.toStdString(), DatabaseName.toStdString(), MSTFilePath.toStdString());
    m_rebuild = std::move(rebuild);
    if (m_rebuild->structureCount() > 0)
        prgStatus->setMaximum(static_cast<int>(m_rebuild->structureCount()));
    mTimer->start();
    // Only makes sure a drawing application runs while structures are converted. When none can
    // be started the error goes to the frame, and no tick runs behind its message.
    try {
        m_rebuild->GetDrawingApplication();
    } catch (const LfError&) {
        halt();
        throw;
    }
}

void MSTFileProgressCtl::onTick()
{
    const auto waitUntil = IndexRebuild::Clock::now() + kTickWait;
    try {
        const int done = m_rebuild->ProcessSlice(kRowsPerTick, waitUntil);
        prgStatus->setValue(prgStatus->value() + done);
        if (!m_rebuild->AtEnd(waitUntil))
            return;
        m_rebuild->Finish();
    } catch (const LfError& error) {
        halt();
        // The rows processed before the failure keep their identifiers, written before it is
        // reported.
        try {
            m_rebuild->WaitForWrites();
        } catch (const LfError&) {
            // The first failure is the one reported.
        }
        emit BuildFailed(error);
        return;
    }
    halt();
    emit BuildFinished();
}

void MSTFileProgressCtl::Stop()
{
    const bool running = mTimer->isActive();
    halt();
    if (!running || !m_rebuild)
        return;
    // The identifiers of the slices done are being written back; a stop keeps them.
    try {
        m_rebuild->WaitForWrites();
    } catch (const LfError& error) {
        emit BuildFailed(error);
    }
}

void MSTFileProgressCtl::halt()
{
    if (m_rebuild)
        m_rebuild->ReleaseDrawingApplication();
    mTimer->stop();
    mStopButton->setEnabled(false);
}

void MSTFileProgressCtl::hideEvent(QHideEvent* event)
{
    // Leaving the page, for instance by Cancel, always halts the work.
    Stop();
    WizardPage::hideEvent(event);
}

void MSTFileProgressCtl::resizeEvent(QResizeEvent* event)
{
    WizardPage::resizeEvent(event);
    layoutControls();
}

void MSTFileProgressCtl::layoutControls()
{
    prgStatus->setGeometry(0, 0, width(), kBarHeight);
    mStopButton->move(width() - mStopButton->width(), kBarHeight + kGap);
}
