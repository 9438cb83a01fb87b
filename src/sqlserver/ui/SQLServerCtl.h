#pragma once

#include "NameList.h"
#include "ProbeWindow.h"
#include "WizardPage.h"

#include <QString>
#include <QThreadPool>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;

// The page on which the user picks the server that will hold the multi-user database: the
// servers on the network and the instances of this computer, or a typed name.
//
// A probing scan (CreatorOnly, or Rescan) walks the network list from mTimer's ticks and
// lists a server only when a Windows login to it may create databases. The logins run on
// worker threads, several at once, so that the window keeps painting and answering and a
// network of silent servers costs about one login time-out instead of one each; their results
// enter the list one at a time and in list order, as a scan of one probe at a time would
// enter them.
class SQLServerCtl : public WizardPage {
    Q_OBJECT
public:
    // The frame's LocalServerName, read at the end of every fill of the list.
    using LocalServerNameSource = std::function<QString()>;

    // A probe gives up on a server that has not answered the login by then: long enough for a
    // busy server on the LAN, short enough that a dead name does not hold the scan up long.
    static constexpr int kProbeLoginTimeoutSeconds = 5;
    static constexpr int kTickMilliseconds = 10;
    // Logins under way at once during a scan: enough for a busy network's silent servers to
    // time out together, few enough to stay a modest load on the machine and the network.
    static constexpr int kMaxParallelProbes = 16;

    explicit SQLServerCtl(LocalServerNameSource localServerName = {}, QWidget* parent = nullptr);
    ~SQLServerCtl() override;

    void setLocalServerNameSource(LocalServerNameSource localServerName);

    // The chosen server; "(local)" is resolved to the default instance's own name, which needs
    // a connection and raises LfError (source "SQLServerCtl.errSource") when it fails.
    QString ServerName() const;
    // Probe every network server before listing it in the next fill (write-only for the frame).
    void setCreatorOnly(bool creatorOnly);

    // Fills the list when it holds no item and no text: the frame's hand-over to the page.
    void CheckList();
    void FillServerList();
    // Adds this computer's instances that are not listed yet; the last name added, or "".
    QString AddLocalInstances();
    // Exact, case-sensitive.
    bool IsInServerList(const QString& name) const;

    // How many logins a scan started from now on runs at once (1: one after another).
    void setMaxParallelProbes(int probes);

    // Scan state, as the page and its tests see it.
    bool isScanPending() const { return m_pending.has_value(); }
    // A probe of the current scan has started and its result has not entered the list yet.
    bool isProbeOutstanding() const { return m_window && m_window->outstanding() > 0; }
    // mTimer's "Tag": the index of the next name to probe.
    int scanIndex() const;

    QWidget* focusField() const override;

signals:
    // A probe's result has been applied to the list (listed: the server qualified).
    void probeApplied(int index, const QString& name, bool listed);
    // The scan has passed the end of the network list.
    void scanEnded();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void onTimerTick();
    void onRescanClicked();
    void startScan(sqlserver::NameList servers);
    void startProbe(int index, const std::string& name);
    void probeFinished(std::uint64_t scan, int index, bool qualifies);
    void applyArrivedResults();
    void finishIndex(int index);
    void endScan();
    void setScanIndex(int index);
    void setScanningVisible(bool visible);
    QString localServerName() const;

    QPushButton* mRescanButton;
    QProgressBar* mScanningProgress;
    QTimer* mTimer;
    QComboBox* cmbServerList;
    QLabel* mScanningLabel;
    QLabel* lblServer;

    LocalServerNameSource m_localServerName;
    bool m_creatorOnly = false;
    int m_maxParallelProbes = kMaxParallelProbes;
    std::optional<sqlserver::NameList> m_pending;   // the list a probing scan walks
    std::optional<sqlserver::ProbeWindow> m_window; // which of its indices are under way
    std::uint64_t m_scan = 0;                       // numbers the scans, so a stale probe is known
    bool m_paused = false;                          // hidden: ticks wait for the next Show
    // Declared last, destroyed first: waits for probes still running so none outlives the page.
    QThreadPool m_probes;
};
