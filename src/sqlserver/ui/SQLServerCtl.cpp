#include "SQLServerCtl.h"

#include "LfError.h"
#include "ApplyLanguageFont.h"
#include "PageControls.h"
#include "SQLServerUtils.h"
#include "ServerManager.h"

#include <QComboBox>
#include <QEventLoop>
#include <QFutureWatcher>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QResizeEvent>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <optional>
#include <utility>

namespace {
const QString kLocal = QStringLiteral("(local)");
const char* const kTag = "Tag";

constexpr int kMargin = 16;
constexpr int kCaptionGap = 6;
constexpr int kComboWidth = 360;
constexpr int kRowGap = 12;
constexpr int kProgressWidth = 260;

// The network's server list. The browsers' answers take a broadcast window to collect, so the
// request runs on a worker while the window keeps painting; the user's input waits until the
// list is in, so the page sees the same order of events as with a direct call.
sqlserver::NameList listNetworkServers()
{
    QFutureWatcher<std::optional<sqlserver::NameList>> watcher;
    std::optional<LfError> failure;
    QEventLoop wait;
    QObject::connect(&watcher, &QFutureWatcherBase::finished, &wait, &QEventLoop::quit);
    watcher.setFuture(QtConcurrent::run([&failure]() -> std::optional<sqlserver::NameList> {
        try {
            return sqlserver::serverManager().ListAvailableSQLServers();
        } catch (const LfError& e) {
            failure = e;
            return std::nullopt;
        }
    }));
    if (!watcher.isFinished())
        wait.exec(QEventLoop::ExcludeUserInputEvents);
    watcher.waitForFinished();
    if (failure)
        throw *failure;
    return *watcher.result();
}

// One probe, run on a worker thread: a Windows login to the server, qualified when the login
// may create databases. The connection never leaves this function. A server that cannot be
// reached or refuses the login is simply not listed; the scan has always skipped those quietly.
bool probeQualifies(sqlserver::ServerManager& manager, const std::string& name)
{
    try {
        sqlserver::ConnectOptions options;
        options.server = name;
        options.loginSecure = true;
        options.loginTimeoutSeconds = SQLServerCtl::kProbeLoginTimeoutSeconds;
        const auto server = manager.Connect(options);
        return server->CanCreateDatabases();
    } catch (...) {
        return false;
    }
}
} // namespace

SQLServerCtl::SQLServerCtl(LocalServerNameSource localServerName, QWidget* parent)
    : WizardPage(parent), mRescanButton(new QPushButton(QStringLiteral("Rescan"), this)),
      mScanningProgress(new QProgressBar(this)), mTimer(new QTimer(this)), cmbServerList(new QComboBox(this)),
      mScanningLabel(new QLabel(QStringLiteral("Scanning for databases..."), this)),
      lblServer(new QLabel(QStringLiteral("Server Name:"), this)),
      m_localServerName(std::move(localServerName))
{
    mRescanButton->setObjectName(QStringLiteral("mRescanButton"));
    mScanningProgress->setObjectName(QStringLiteral("mScanningProgress"));
    mTimer->setObjectName(QStringLiteral("mTimer"));
    cmbServerList->setObjectName(QStringLiteral("cmbServerList"));
    mScanningLabel->setObjectName(QStringLiteral("mScanningLabel"));
    lblServer->setObjectName(QStringLiteral("lblServer"));

    cmbServerList->setEditable(true);
    cmbServerList->setInsertPolicy(QComboBox::NoInsert);
    mScanningProgress->setTextVisible(false);
    // The probes wait on the network, not on the processor: one thread each.
    m_probes.setMaxThreadCount(kMaxParallelProbes);
    mTimer->setInterval(kTickMilliseconds);
    mTimer->setProperty(kTag, QStringLiteral("0"));

    for (QWidget* w : {static_cast<QWidget*>(cmbServerList), static_cast<QWidget*>(mScanningLabel),
                       static_cast<QWidget*>(lblServer), static_cast<QWidget*>(mRescanButton)})
        LanguageUtils::ApplyLanguageFont(w, QStringLiteral("Verdana"), false, 0);

    lblServer->adjustSize();
    lblServer->move(kMargin, kMargin);
    const int comboTop = lblServer->y() + lblServer->height() + kCaptionGap;
    cmbServerList->setGeometry(kMargin, comboTop, kComboWidth, cmbServerList->sizeHint().height());
    // Rescan sits right under the list, so that nothing leaves a gap when the scan's label and
    // bar are hidden.
    mRescanButton->resize(mRescanButton->sizeHint());
    mRescanButton->move(kMargin, cmbServerList->y() + cmbServerList->height() + kRowGap);
    mScanningLabel->adjustSize();
    mScanningLabel->move(kMargin, mRescanButton->y() + mRescanButton->height() + kRowGap);
    mScanningProgress->setGeometry(kMargin, mScanningLabel->y() + mScanningLabel->height() + kCaptionGap,
                                   kProgressWidth, mScanningProgress->sizeHint().height());
    setTabOrder(cmbServerList, mRescanButton);

    setScanningVisible(false);
    PageControls::clearBox(cmbServerList);

    connect(mTimer, &QTimer::timeout, this, &SQLServerCtl::onTimerTick);
    connect(mRescanButton, &QPushButton::clicked, this, &SQLServerCtl::onRescanClicked);
}

SQLServerCtl::~SQLServerCtl() = default;

void SQLServerCtl::setLocalServerNameSource(LocalServerNameSource localServerName)
{
    m_localServerName = std::move(localServerName);
}

QString SQLServerCtl::localServerName() const
{
    return m_localServerName ? m_localServerName() : QString();
}

void SQLServerCtl::setCreatorOnly(bool creatorOnly)
{
    m_creatorOnly = creatorOnly;
}

QWidget* SQLServerCtl::focusField() const
{
    return cmbServerList;
}

int SQLServerCtl::scanIndex() const
{
    return mTimer->property(kTag).toString().toInt();
}

void SQLServerCtl::setScanIndex(int index)
{
    mTimer->setProperty(kTag, QString::number(index));
}

void SQLServerCtl::setScanningVisible(bool visible)
{
    mScanningLabel->setVisible(visible);
    mScanningProgress->setVisible(visible);
}

QString SQLServerCtl::ServerName() const
{
    const QString text = cmbServerList->currentText();
    if (text != kLocal)
        return text;
    try {
        sqlserver::ConnectOptions options; // no server name: the default instance of this computer
        options.loginSecure = true;
        const auto server = sqlserver::serverManager().Connect(options);
        return QString::fromStdString(server->Name());
    } catch (const LfError& e) {
        throw LfError(e.number(), "SQLServerCtl.errSource",
                      "while getting the name of the local server instance, " + e.description());
    }
}

void SQLServerCtl::CheckList()
{
    if (cmbServerList->count() == 0 && cmbServerList->currentText().isEmpty()) {
        cmbServerList->setEditText(QString());
        FillServerList();
    }
}

void SQLServerCtl::FillServerList()
{
    sqlserver::NameList servers;
    try {
        servers = listNetworkServers();
    } catch (const LfError&) {
        // The fill ends here and the page stays usable: a name can still be typed, and Rescan
        // asks the network again.
        return;
    }

    const int count = servers.Count();
    if (count < 1) {
        PageControls::addItemKeepingText(cmbServerList, kLocal);
        PageControls::selectItem(cmbServerList, 0);
        setScanningVisible(false);
    } else if (m_creatorOnly) {
        startScan(std::move(servers));
    } else {
        setScanningVisible(false);
        for (int i = 0; i <= count; ++i) {
            const std::string name = servers.Item(i);
            if (!name.empty())
                PageControls::addItemKeepingText(cmbServerList, QString::fromStdString(name));
        }
        // Selecting the first item of a list that stayed empty fails and ends the fill, as any
        // failure in it does.
        if (cmbServerList->count() == 0)
            return;
        PageControls::selectItem(cmbServerList, 0);
    }

    AddLocalInstances();
    cmbServerList->setEditText(localServerName());
}

QString SQLServerCtl::AddLocalInstances()
{
    std::string instances = SQLServerUtils::GetInstalledInstances();
    std::string delimiters(1, '\0');
    std::string rest;
    const std::string computer = SQLServerUtils::GetLocalComputerName();

    QString added;
    for (std::string instance = SQLServerUtils::NextToken(instances, delimiters); !instance.empty();
         instance = SQLServerUtils::NextToken(rest, delimiters)) {
        const QString name =
            QString::fromStdString(SQLServerUtils::ServerNameForInstance(instance, computer));
        if (!IsInServerList(name)) {
            PageControls::addItemKeepingText(cmbServerList, name);
            added = name;
        }
    }
    return added;
}

bool SQLServerCtl::IsInServerList(const QString& name) const
{
    for (int i = 0; i < cmbServerList->count(); ++i) {
        if (cmbServerList->itemText(i) == name)
            return true;
    }
    return false;
}

void SQLServerCtl::setMaxParallelProbes(int probes)
{
    m_maxParallelProbes = std::max(1, probes);
    m_probes.setMaxThreadCount(std::max(m_probes.maxThreadCount(), m_maxParallelProbes));
}

void SQLServerCtl::startScan(sqlserver::NameList servers)
{
    // Probes of an earlier scan may still be running; their results are dropped when they
    // arrive (see probeFinished), so the new scan starts clean.
    ++m_scan;
    m_paused = false;
    const int count = servers.Count();
    m_pending = std::move(servers);
    m_window.emplace(0, count, m_maxParallelProbes);
    setScanIndex(0);
    mTimer->setInterval(kTickMilliseconds);
    mTimer->start();
    mScanningProgress->setRange(0, count);
    mScanningProgress->setValue(0);
    setScanningVisible(true);
}

void SQLServerCtl::onTimerTick()
{
    if (!m_pending || !m_window) {
        mTimer->stop();
        return;
    }
    if (m_window->done()) {
        endScan();
        return;
    }
    while (const auto index = m_window->nextToStart()) {
        const std::string name = m_pending->Item(*index);
        if (name.empty())
            m_window->finished(*index, false);
        else
            startProbe(*index, name);
    }
    applyArrivedResults();
    // The timer rests while the window is full or every name has started, until a result
    // comes in; a finished walk ends at the next tick.
    if (m_window && !m_window->done() && !m_window->canStart())
        mTimer->stop();
}

void SQLServerCtl::startProbe(int index, const std::string& name)
{
    sqlserver::ServerManager& manager = sqlserver::serverManager();
    const std::uint64_t scan = m_scan;
    // The probe posts its result to the page itself: the page outlives every probe (its pool
    // waits for them when it is destroyed), and a result posted to a page destroyed since is
    // dropped with the page's events. Nothing of the probe's future is shared between threads.
    m_probes.start([this, &manager, name, scan, index] {
        const bool qualifies = probeQualifies(manager, name);
        QMetaObject::invokeMethod(
            this, [this, scan, index, qualifies] { probeFinished(scan, index, qualifies); },
            Qt::QueuedConnection);
    });
}

void SQLServerCtl::probeFinished(std::uint64_t scan, int index, bool qualifies)
{
    // A scan started since (Rescan, or a new probing fill) makes this result stale: drop it.
    if (scan != m_scan || !m_window)
        return;
    m_window->finished(index, qualifies);
    applyArrivedResults();
    if (!m_paused && m_pending)
        mTimer->start();
}

void SQLServerCtl::applyArrivedResults()
{
    const std::uint64_t scan = m_scan;
    // A handler of probeApplied may start another scan; the results of this one stop there.
    while (scan == m_scan && m_window) {
        const auto result = m_window->nextInOrder();
        if (!result)
            break;
        const QString name = QString::fromStdString(m_pending->Item(result->index));
        if (!name.isEmpty()) {
            // Probed names are not checked against the list: a local instance that also
            // answers on the network is listed twice, as it always has been.
            if (result->qualifies)
                PageControls::addItemKeepingText(cmbServerList, name);
            if (cmbServerList->count() == 1)
                PageControls::selectItem(cmbServerList, 0);
        }
        finishIndex(result->index);
        if (!name.isEmpty())
            emit probeApplied(result->index, name, result->qualifies);
    }
}

void SQLServerCtl::finishIndex(int index)
{
    mScanningProgress->setValue(index);
    setScanIndex(index + 1);
}

void SQLServerCtl::endScan()
{
    mTimer->stop();
    setScanningVisible(false);
    m_pending.reset();
    m_window.reset();
    mRescanButton->show();
    emit scanEnded();
}

void SQLServerCtl::onRescanClicked()
{
    PageControls::clearBox(cmbServerList);
    mRescanButton->hide();
    sqlserver::NameList servers;
    try {
        servers = listNetworkServers();
    } catch (const LfError&) {
        // Nothing to scan: the button comes back so that the user can try again.
        mRescanButton->show();
        return;
    }
    startScan(std::move(servers));
}

void SQLServerCtl::showEvent(QShowEvent* event)
{
    WizardPage::showEvent(event);
    m_paused = false;
    if (m_pending)
        mTimer->start();
}

void SQLServerCtl::hideEvent(QHideEvent* event)
{
    WizardPage::hideEvent(event);
    // The scan keeps its list and its index; probes already under way finish and are listed.
    m_paused = true;
    mTimer->stop();
}

void SQLServerCtl::resizeEvent(QResizeEvent* event)
{
    WizardPage::resizeEvent(event);
    PageControls::stretchToRightBorder(cmbServerList, width());
}
