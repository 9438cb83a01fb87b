#include "frmInstall.h"

#include "ApplyLanguageFont.h"
#include "BackupDirectoryCtl.h"
#include "DBMigrateUpdateCtl.h"
#include "MSTFileLocationCtl.h"
#include "MSTFileUpdateCtl.h"
#include "MigrationValues.h"
#include "PageHeaders.h"
#include "SQLDatabaseCtl.h"
#include "SQLServerCtl.h"
#include "SQLServerUtils.h"
#include "ShellFolders.h"
#include "ServiceDirectoryCtl.h"
#include "ServiceFileCtl.h"
#include "ServiceNameCtl.h"
#include "LfError.h"
#include "Prompter.h"
#include "TaskPickerCtl.h"
#include "Version.h"
#include "WelcomeCtl.h"

#include <QApplication>
#include <QFontMetrics>
#include <QFrame>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QSvgRenderer>

namespace {

constexpr int kImageWidth = 130;     // Image1 and Image2 share one width
constexpr int kBandHeight = 60;      // the header band, Image2's height
constexpr int kMargin = 12;
constexpr int kButtonWidth = 88;
constexpr int kButtonHeight = 26;
constexpr int kWelcomeGap = 10;      // between the side picture and the welcome page

QPixmap renderSvg(const QString& resource, QSize size)
{
    QSvgRenderer renderer(resource);
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    renderer.render(&painter);
    return pixmap;
}

// The hourglass for as long as a Next click runs, on every path out of it.
class WaitCursor {
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
};

// One instance of every page for the whole run, named as the frame knows it.
template <class Page, class... Args>
Page* makePage(const char* name, Args&&... args)
{
    auto* page = new Page(std::forward<Args>(args)...);
    page->setObjectName(name);
    return page;
}

QPushButton* makeButton(const char* name, const char* caption, QWidget* parent)
{
    auto* b = new QPushButton(caption, parent);
    b->setObjectName(name);
    return b;
}

}  // namespace

static void initWizardResources()
{
    // The pictures live in the static wizard library; they must be registered explicitly.
    Q_INIT_RESOURCE(wizard);
}

frmInstall::frmInstall(Prompter& prompter, QWidget* parent) : QWidget(parent), m_prompter(prompter)
{
    initWizardResources();
    setObjectName("frmInstall");
    setWindowTitle(version::kApplicationTitle);
    setWindowIcon(QIcon(renderSvg(":/images/network.svg", QSize(130, 60))));
    resize(660, 450);
    setMinimumSize(560, 380);

    Frame1 = new QFrame(this);
    Frame1->setObjectName("Frame1");
    Frame1->setAutoFillBackground(true);
    QPalette band = Frame1->palette();
    band.setColor(QPalette::Window, Qt::white);
    Frame1->setPalette(band);

    lblTop = new QLabel(Frame1);
    lblTop->setObjectName("lblTop");
    lblTop->setFont(QFont("Arial"));
    lblHeader = new QLabel(Frame1);
    lblHeader->setObjectName("lblHeader");
    lblHeader->setFont(QFont("Arial"));
    lblHeader->setWordWrap(true);

    Image2 = new QLabel(this);
    Image2->setObjectName("Image2");
    Image2->setPixmap(renderSvg(":/images/network.svg", QSize(kImageWidth, kBandHeight)));
    Image1 = new QLabel(this);
    Image1->setObjectName("Image1");
    Image1->setScaledContents(false);
    Image1->setAlignment(Qt::AlignTop | Qt::AlignLeft);

    Line1 = new QFrame(this);
    Line1->setObjectName("Line1");
    Line1->setFrameShape(QFrame::HLine);
    Line1->setFrameShadow(QFrame::Sunken);
    Line2 = new QFrame(this);
    Line2->setObjectName("Line2");
    Line2->setFrameShape(QFrame::HLine);
    Line2->setFrameShadow(QFrame::Sunken);

    lblBottom = new QLabel(this);
    lblBottom->setObjectName("lblBottom");
    lblBottom->setFont(QFont("Arial"));
    lblBottom->setWordWrap(true);
    lblBottom->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    cmdBack = makeButton("cmdBack", "< &Back", this);
    cmdNext = makeButton("cmdNext", "Next >", this);
    cmdCancel = makeButton("cmdCancel", "&Cancel", this);
    cmdDone = makeButton("cmdDone", "Finish", this);
    cmdDone->hide();

    connect(cmdNext, &QPushButton::clicked, this, &frmInstall::cmdNext_Click);
    connect(cmdBack, &QPushButton::clicked, this, &frmInstall::cmdBack_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmInstall::cmdCancel_Click);
    connect(cmdDone, &QPushButton::clicked, this, &frmInstall::cmdDone_Click);

    mWelcomeCtl = makePage<WelcomeCtl>("mWelcomeCtl", this);
    mTaskPickerCtl = makePage<TaskPickerCtl>("mTaskPickerCtl", this);
    mSQLServerCtl = makePage<SQLServerCtl>(
        "mSQLServerCtl", [this] { return QString::fromStdString(m_localServerName); }, this);
    mSQLDatabaseCtl = makePage<SQLDatabaseCtl>("mSQLDatabaseCtl", this);
    mMSTFileLocationCtl = makePage<MSTFileLocationCtl>("mMSTFileLocationCtl", this);
    mMSTFileUpdateCtl = makePage<MSTFileUpdateCtl>("mMSTFileUpdateCtl", this);
    mServiceDirectoryCtl = makePage<ServiceDirectoryCtl>("mServiceDirectoryCtl", this);
    mDBMigrateUpdateCtl = makePage<DBMigrateUpdateCtl>("mDBMigrateUpdateCtl", this);
    mServiceNameCtl = makePage<ServiceNameCtl>("mServiceNameCtl", this);
    mServiceFileCtl = makePage<ServiceFileCtl>("mServiceFileCtl", this);
    mBackupDirectoryCtl = makePage<BackupDirectoryCtl>("mBackupDirectoryCtl", this);
    for (WizardPage* page : pages())
        page->hide();
    connect(mTaskPickerCtl, &TaskPickerCtl::taskChanged, this, &frmInstall::updateNextAvailability);

    Form_Load();
}

frmInstall::~frmInstall() = default;

QList<WizardPage*> frmInstall::pages() const
{
    return {mWelcomeCtl,         mTaskPickerCtl,      mSQLServerCtl,       mSQLDatabaseCtl,
            mMSTFileLocationCtl, mMSTFileUpdateCtl,   mServiceDirectoryCtl, mDBMigrateUpdateCtl,
            mServiceNameCtl,     mServiceFileCtl,     mBackupDirectoryCtl};
}

void frmInstall::Form_Load()
{
    using LanguageUtils::ApplyLanguageFont;
    ApplyLanguageFont(lblTop, true, 1);
    for (QWidget* w : std::initializer_list<QWidget*>{lblHeader, lblBottom, cmdNext, cmdBack, cmdCancel, cmdDone})
        ApplyLanguageFont(w, false, 0);

    // Room for four lines of the bottom note, measured in the window's font; from the first
    // layout on, the note is as tall as its text.
    const int lineHeight = QFontMetrics(font()).boundingRect("My").height();
    lblBottom->resize(lblBottom->width(), (lineHeight + 1) * 4);

    layoutImages();
    m_currentPage = WelcomePage;
    ShowWelcomePage();
}

void frmInstall::layoutImages()
{
    const int w = width();
    Image2->setGeometry(w - kImageWidth, 0, kImageWidth, kBandHeight);
    Frame1->setGeometry(0, 0, w - kImageWidth, kBandHeight);
    lblTop->move(kMargin, 9);
    lblHeader->move(2 * kMargin, 9 + lblTop->sizeHint().height() + 4);
    // Each label ends where Image2 begins.
    lblTop->resize(w - kImageWidth - lblTop->x(), lblTop->sizeHint().height());
    lblHeader->resize(w - kImageWidth - lblHeader->x(), kBandHeight - lblHeader->y() - 2);
}

void frmInstall::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    layoutImages();

    const int w = width();
    const int h = height();
    const int buttonTop = h - kMargin - kButtonHeight;
    int x = w - kMargin - kButtonWidth;
    cmdCancel->setGeometry(x, buttonTop, kButtonWidth, kButtonHeight);
    cmdDone->setGeometry(x, buttonTop, kButtonWidth, kButtonHeight);
    x -= kButtonWidth + kMargin;
    cmdNext->setGeometry(x, buttonTop, kButtonWidth, kButtonHeight);
    x -= kButtonWidth;
    cmdBack->setGeometry(x, buttonTop, kButtonWidth, kButtonHeight);

    Line1->setGeometry(0, kBandHeight, w, 2);
    Line2->setGeometry(kMargin, buttonTop - kMargin, w - 2 * kMargin, 2);
    layoutBottomNote();

    Image1->setGeometry(0, 0, kImageWidth, Line2->y());
    Image1->setPixmap(renderSvg(":/images/flask.svg", QSize(kImageWidth, Line2->y())));
    layoutPages();
}

bool frmInstall::event(QEvent* event)
{
    // A new bottom note asks for a new layout: its height follows the text, and the pages end
    // where it begins.
    if (event->type() == QEvent::LayoutRequest && lblBottom->height() != bottomNoteHeight()) {
        layoutBottomNote();
        layoutPages();
    }
    return QWidget::event(event);
}

void frmInstall::layoutBottomNote()
{
    const int height = bottomNoteHeight();
    lblBottom->setGeometry(kMargin, Line2->y() - 4 - height, width() - 2 * kMargin, height);
}

int frmInstall::bottomNoteHeight() const
{
    return lblBottom->heightForWidth(width() - 2 * kMargin);
}

QRect frmInstall::pageRect() const
{
    const int top = Line1->geometry().bottom() + 1 + 6;
    return QRect(kMargin, top, width() - 2 * kMargin, std::max(0, lblBottom->y() - top));
}

void frmInstall::layoutPages()
{
    const int welcomeLeft = kImageWidth + kWelcomeGap;
    mWelcomeCtl->setGeometry(welcomeLeft, Line1->y(), std::max(0, width() - welcomeLeft - kMargin),
                             std::max(0, Line2->y() - Line1->y()));
    const QRect r = pageRect();
    for (WizardPage* page : pages())
        if (page != mWelcomeCtl)
            page->setGeometry(r);
    // The server and database pages start where the side picture ends.
    for (WizardPage* page : {static_cast<WizardPage*>(mSQLServerCtl), static_cast<WizardPage*>(mSQLDatabaseCtl)})
        page->setGeometry(QRect(QPoint(Image1->width(), r.top()), r.bottomRight()));
}

void frmInstall::setHeaderBandVisible(bool visible)
{
    Frame1->setVisible(visible);
    lblTop->setVisible(visible);
    lblHeader->setVisible(visible);
    lblBottom->setVisible(visible);
    Line1->setVisible(visible);
    Line2->setVisible(visible);
    Image1->setVisible(!visible);
}

void frmInstall::showPage(WizardPage* page, Page number)
{
    for (WizardPage* p : pages())
        if (p != page)
            p->hide();
    m_currentPage = number;
    page->show();
    page->raise();
}

void frmInstall::ShowWelcomePage()
{
    setHeaderBandVisible(false);
    cmdBack->setEnabled(false);
    showPage(mWelcomeCtl, WelcomePage);
    updateNextAvailability();
}

int32_t frmInstall::task() const
{
    return mTaskPickerCtl->Task();
}

void frmInstall::applyHeader(const PageHeader& header)
{
    lblTop->setText(QString::fromStdString(header.top));
    lblHeader->setText(QString::fromStdString(header.header));
    if (header.bottom)
        lblBottom->setText(QString::fromStdString(*header.bottom));
    if (header.nextCaption)
        cmdNext->setText(QString::fromStdString(*header.nextCaption));
}

void frmInstall::showInputPage(WizardPage* page, Page number)
{
    applyHeader(HeaderFor(number, task()));
    showPage(page, number);
    page->takeFocus();
    updateNextAvailability();
}

void frmInstall::ShowTaskPage()
{
    showInputPage(mTaskPickerCtl, TaskPage);
}

void frmInstall::ShowServerPage()
{
    mSQLServerCtl->setCreatorOnly(false);
    showInputPage(mSQLServerCtl, ServerPage);
}

void frmInstall::ShowDatabasePage()
{
    lblTop->setText("SQL Server Database Information");
    showInputPage(mSQLDatabaseCtl, DatabasePage);
}

void frmInstall::ShowIndexLocationPage()
{
    showInputPage(mMSTFileLocationCtl, IndexLocationPage);
}

void frmInstall::ShowServiceNamePage()
{
    showInputPage(mServiceNameCtl, ServiceNamePage);
}

void frmInstall::ShowServiceFolderPage()
{
    showInputPage(mServiceDirectoryCtl, ServiceFolderPage);
}

void frmInstall::ShowBackupFolderPage()
{
    showInputPage(mBackupDirectoryCtl, BackupFolderPage);
}

void frmInstall::ShowServiceFilePage()
{
    showInputPage(mServiceFileCtl, ServiceFilePage);
}

// Reads the pages; asking whether the target server is this computer connects to it, and a
// failure there is raised to the Next handler that showed the summary.
MigrationValues frmInstall::migrationValues() const
{
    MigrationInputs in;
    in.localServerName = m_localServerName;
    in.desktopDatabaseName = m_desktopDatabaseName;
    in.serverName = mSQLServerCtl->ServerName().toStdString();
    in.databaseName = mSQLDatabaseCtl->DatabaseName().toStdString();
    in.appDataFolder = ShellFolders::GetCommonAppDataFolder();
    in.indexPath = mMSTFileLocationCtl->Path().toStdString();
    in.serviceFolder = mServiceDirectoryCtl->DirectoryPath().toStdString();
    in.serviceName = mServiceNameCtl->ServiceName().toStdString();
    in.backupFolder = mBackupDirectoryCtl->DirectoryPath().toStdString();
    in.targetIsLocal = SQLServerUtils::IsLocalServer(in.serverName);
    return AssembleMigrationValues(in);
}

void frmInstall::ShowSummaryPage()
{
    lblBottom->setText("You specified the following parameters:");
    applyHeader(SummaryHeader(task(), mServiceFileCtl->Path().toStdString()));
    WizardPage* summary = nullptr;
    if (task() == TaskPickerCtl::MigrateDatabase) {
        const MigrationValues v = migrationValues();
        auto q = [](const std::string& s) { return QString::fromStdString(s); };
        mDBMigrateUpdateCtl->Initialize(q(v.SrcServerName), q(v.SrcDBName), q(v.TargetServerName),
                                        q(v.TargetDBName), q(v.SrcMSTFilePath), q(v.TargetMSTFilePath),
                                        q(v.UDLPath), q(v.ServerConfigPath), q(v.ServiceConfigPath),
                                        q(v.ServiceName), q(v.BackupFilePath));
        summary = mDBMigrateUpdateCtl;
    } else if (task() == TaskPickerCtl::RebuildIndex) {
        mMSTFileUpdateCtl->Initialize(mSQLServerCtl->ServerName(), mSQLDatabaseCtl->DatabaseName(),
                                      mMSTFileLocationCtl->Path());
        summary = mMSTFileUpdateCtl;
    }
    for (WizardPage* p : pages())
        if (p != summary)
            p->hide();
    if (summary) {
        summary->show();
        summary->raise();
    }
    m_currentPage = SummaryPage;
    updateNextAvailability();
}

// Next is offered only where the page it leads to exists in this build.
void frmInstall::updateNextAvailability()
{
    bool offered = false;
    switch (m_currentPage) {
    case WelcomePage:
        offered = true;
        break;
    case TaskPage:
        offered = task() == TaskPickerCtl::ConnectService || task() == TaskPickerCtl::RebuildIndex;
        break;
    default:
        break;
    }
    cmdNext->setEnabled(offered);
}

void frmInstall::reportNextError(const std::string& description)
{
    m_prompter.messageBox("Sorry, " + description, MsgButtons::OK, MsgIcon::None, "Error Clicking Next");
}

void frmInstall::cmdNext_Click()
{
    WaitCursor hourglass;
    try {
        switch (m_currentPage) {
        case WelcomePage:
            mWelcomeCtl->hide();
            setHeaderBandVisible(true);
            cmdBack->setEnabled(true);
            ShowTaskPage();
            break;
        case TaskPage:
            if (task() == TaskPickerCtl::ConnectService) {
                mTaskPickerCtl->hide();
                ShowServiceFilePage();
            } else if (task() == TaskPickerCtl::RebuildIndex) {
                mTaskPickerCtl->hide();
                mSQLServerCtl->setCreatorOnly(false);
                mSQLServerCtl->CheckList();
                ShowServerPage();
            }
            break;
        default:
            break;
        }
    } catch (const LfError& e) {
        reportNextError(e.description());
    } catch (const std::exception& e) {
        reportNextError(e.what());
    }
}

void frmInstall::cmdBack_Click()
{
    switch (m_currentPage) {
    case TaskPage:
        mTaskPickerCtl->hide();
        ShowWelcomePage();
        break;
    case ServiceFilePage:
        mServiceFileCtl->hide();
        ShowTaskPage();
        break;
    case ServerPage:
        mSQLServerCtl->hide();
        ShowTaskPage();
        break;
    case DatabasePage:
        mSQLDatabaseCtl->hide();
        ShowServerPage();
        break;
    default:
        break;
    }
}

void frmInstall::cmdCancel_Click()
{
    const std::string title = version::kApplicationTitle;
    if (m_prompter.messageBox("Are you sure you want to exit " + title + "?", MsgButtons::YesNo, MsgIcon::Question,
                              title) == MsgAnswer::Yes)
        close();
}

void frmInstall::cmdDone_Click()
{
    close();
}
