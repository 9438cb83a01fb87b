#pragma once

#include <QDialog>
#include <QString>
#include <QThreadPool>

#include <cstdint>

class Prompter;
class QLabel;
class QLineEdit;
class QPushButton;

// Asks for an SQL Server login to the desktop MSDE instance and tests it once. The frame shows
// it modally, then reads OK, IsConnect and the three entries.
//
// The test login runs on a worker thread so that the dialog keeps painting while the server
// takes its time; OK and the entries rest meanwhile, Cancel stays available.
class frmUserInfo : public QDialog {
    Q_OBJECT
    Q_PROPERTY(QString MSDEName READ MSDEName)
    Q_PROPERTY(QString MSDEUser READ MSDEUser)
    Q_PROPERTY(QString MSDEPWD READ MSDEPWD)
    Q_PROPERTY(bool OK READ OK)
    Q_PROPERTY(bool IsConnect READ IsConnect)
public:
    explicit frmUserInfo(Prompter& prompter, QWidget* parent = nullptr);
    ~frmUserInfo() override;

    // The entries without leading and trailing blanks.
    QString MSDEName() const;
    QString MSDEUser() const;
    QString MSDEPWD() const;
    // Closed with OK.
    bool OK() const { return m_ok; }
    // The login was tested successfully.
    bool IsConnect() const { return m_isConnect; }

    // A test login is under way.
    bool isConnecting() const { return m_connecting; }

public slots:
    // Cancel, Escape and the window's close box: hide with OK unchanged; a test login still
    // under way is forgotten.
    void reject() override;

signals:
    // A test login has ended (connected or refused) and its outcome has been handled.
    void connectAttemptFinished(bool connected);

private:
    struct Attempt {
        bool connected = false;
        std::string error;
    };

    void onOkClicked();
    void onAttemptFinished(std::uint64_t attempt, const Attempt& outcome);
    void setConnecting(bool connecting);
    void closeWithOk();

    QLabel* Label3;
    QLabel* Label4;
    QLineEdit* txtMSDE;
    QLabel* Label1;
    QLineEdit* txtMSDEUser;
    QLabel* Label2;
    QLineEdit* txtPWD;
    QPushButton* OKButton;
    QPushButton* CancelButton;

    Prompter& m_prompter;
    bool m_ok = false;
    bool m_isConnect = false;
    bool m_connecting = false;
    std::uint64_t m_attempt = 0; // numbers the test logins; Cancel makes an outstanding one stale
    // Declared last, destroyed first: waits for a test login still running.
    QThreadPool m_logins;
};
