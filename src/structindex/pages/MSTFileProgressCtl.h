#pragma once

#include "LfError.h"
#include "WizardPage.h"

#include <chrono>
#include <memory>

class IndexRebuild;
class QProgressBar;
class QPushButton;
class QTimer;

// The progress page of "Rebuild SQLServer Chemical Structure Index": Initialize prepares the
// rebuild and starts a 1 ms timer; each tick processes at most 10 structures, those parsed by
// then (other threads parse ahead), so the window stays responsive and Stop is handled between
// ticks. The end raises BuildFinished.
class MSTFileProgressCtl : public WizardPage {
    Q_OBJECT
public:
    static constexpr int kRowsPerTick = 10;
    // How long a tick waits for a structure still being parsed before it gives the window back.
    static constexpr std::chrono::milliseconds kTickWait{1};

    explicit MSTFileProgressCtl(QWidget* parent = nullptr);
    ~MSTFileProgressCtl() override;

    // Chooses the index file in the folder MSTFilePath, opens it, connects to the database
    // (Windows authentication), sizes the bar and starts the timer; returns before any
    // structure is processed. Raises LfError.
    void Initialize(const QString& SQLServerName, const QString& DatabaseName, const QString& MSTFilePath);

    // The Stop button: releases the drawing application this page started and stops the
    // timer for good. Rows already processed keep their identifiers (it waits until they are
    // written back); no event is raised, unless writing them back fails (BuildFailed).
    void Stop();

    // Threads that parse structures ahead of the ticks, for the next Initialize; 0 (the
    // default) = one per processor core, at most 4.
    void setReadAheadThreads(int threads) { m_readAheadThreads = threads; }

    // The rebuild under way (for the frame's summary and for tests); none before Initialize.
    const IndexRebuild* rebuild() const { return m_rebuild.get(); }

signals:
    // Every structure was indexed and its identifier written back.
    void BuildFinished();
    // An error raised by a tick; the work has stopped. The frame reports it as it reports an
    // error raised by Initialize.
    void BuildFailed(const LfError& error);

protected:
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void onTick();
    // The stop operation itself: drawing application released, timer and button off.
    void halt();
    void layoutControls();

    QProgressBar* prgStatus;
    QPushButton* mStopButton;
    QTimer* mTimer;
    std::unique_ptr<IndexRebuild> m_rebuild;
    int m_readAheadThreads = 0;
};
