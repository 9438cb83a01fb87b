#include "frmInstall.h"

#include "ApplyLanguageFont.h"
#include "BackupDirectoryCtl.h"
#include "DBMigrateProgressCtl.h"
#include "DBMigrateUpdateCtl.h"
#include "MSTFileLocationCtl.h"
#include "MSTFileProgressCtl.h"
#include "MSTFileUpdateCtl.h"
#include "SQLDatabaseCtl.h"
#include "SQLServerCtl.h"
#include "ServiceDirectoryCtl.h"
#include "ServiceFileCtl.h"
#include "ServiceNameCtl.h"
#include "TaskFlow.h"
#include "TaskPickerCtl.h"
#include "Version.h"
#include "WelcomeCtl.h"
#include "WizardOperations.h"

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
    // The same picture as the desktop menu entry; QIcon renders it at every size asked of it.
    setWindowIcon(QIcon(":/images/labfolio-setup.svg"));
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
        "mSQLServerCtl", [this] { return QString::fromStdString(m_flow->LocalServerName()); }, this);
    mSQLDatabaseCtl = makePage<SQLDatabaseCtl>("mSQLDatabaseCtl", this);
    mMSTFileLocationCtl = makePage<MSTFileLocationCtl>("mMSTFileLocationCtl", this);
    mMSTFileUpdateCtl = makePage<MSTFileUpdateCtl>("mMSTFileUpdateCtl", this);
    mServiceDirectoryCtl = makePage<ServiceDirectoryCtl>("mServiceDirectoryCtl", this);
    mDBMigrateUpdateCtl = makePage<DBMigrateUpdateCtl>("mDBMigrateUpdateCtl", this);
    mServiceNameCtl = makePage<ServiceNameCtl>("mServiceNameCtl", this);
    mServiceFileCtl = makePage<ServiceFileCtl>("mServiceFileCtl", this);
    mBackupDirectoryCtl = makePage<BackupDirectoryCtl>("mBackupDirectoryCtl", this);
    mDBMigrateProgressCtl = makePage<DBMigrateProgressCtl>("mDBMigrateProgressCtl", m_prompter, this);
    mMSTFileProgressCtl = makePage<MSTFileProgressCtl>("mMSTFileProgressCtl", this);
    for (WizardPage* page : pages())
        page->hide();

    m_operations = std::make_unique<WizardOperations>(*mDBMigrateProgressCtl, *mMSTFileProgressCtl, m_prompter);
    m_flow = std::make_unique<TaskFlow>(*this, m_prompter, *m_operations);
    connect(mDBMigrateProgressCtl, &DBMigrateProgressCtl::MigrationFinished, this,
            [this] { m_flow->MigrationFinished(); });
    connect(mMSTFileProgressCtl, &MSTFileProgressCtl::BuildFinished, this, [this] { m_flow->BuildFinished(); });
    connect(mMSTFileProgressCtl, &MSTFileProgressCtl::BuildFailed, this,
            [this](const LfError& error) { m_flow->BuildFailed(error); });
    Form_Load();
}

frmInstall::~frmInstall() = default;

QList<WizardPage*> frmInstall::pages() const
{
    return {mWelcomeCtl,         mTaskPickerCtl,      mSQLServerCtl,       mSQLDatabaseCtl,
            mMSTFileLocationCtl, mMSTFileUpdateCtl,   mServiceDirectoryCtl, mDBMigrateUpdateCtl,
            mServiceNameCtl,     mServiceFileCtl,     mBackupDirectoryCtl, mDBMigrateProgressCtl,
            mMSTFileProgressCtl};
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
    m_flow->Start();
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

void frmInstall::cmdNext_Click()
{
    m_flow->Next();
}

void frmInstall::cmdBack_Click()
{
    m_flow->Back();
}

void frmInstall::cmdCancel_Click()
{
    m_flow->Cancel();
}

void frmInstall::cmdDone_Click()
{
    m_flow->Done();
}
