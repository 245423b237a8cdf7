#pragma once

#include "link/OutboxFile.h"
#include "store/ReportVersions.h"

#include <QDialog>
#include <array>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QTabWidget;
class ServerSession;
class ZelvatIni;

// "Preferences": how the program reaches the message server (host, port, connection time-out),
// which encoding it declares, and a test of the link before the settings are kept. Only the
// settings in memory change; the main window writes the station file afterwards. Given the
// outbox settings, a third tab "Outbox" sets the automatic resend of the Ready reports; OK puts
// them into `outbox`, which the main window keeps in the outbox file. Given the limits of the kept
// versions, a tab "Versions" sets how many earlier versions of a report are kept and how long.
class frmZelvatPref : public QDialog {
    Q_OBJECT

public:
    frmZelvatPref(ZelvatIni &station, ServerSession *session, QWidget *parent = nullptr,
                  OutboxFile::Settings *outbox = nullptr, ReportVersions::Limits *versions = nullptr);

    bool CheckServerFields();
    void cmdOK_Click();
    void cmdCancel_Click();
    void cmdTest_Click();
    void FocusFirstOnTab();

    QTabWidget *SSTab1 = nullptr;
    std::array<QGroupBox *, 4> nframe {}; // one per tab; the outbox's and the versions' only when given
    std::array<QLineEdit *, 3> txtServer {};
    QComboBox *cboEncType = nullptr;
    QPushButton *cmdTest = nullptr;
    QPushButton *cmdOK = nullptr;
    QPushButton *cmdCancel = nullptr;
    QCheckBox *chkAutoResend = nullptr; // "Resend Ready reports automatically"
    QSpinBox *txtFirstRetry = nullptr;  // the interval of the first retry, in seconds
    QSpinBox *txtKeepCount = nullptr;   // earlier versions kept per report
    QSpinBox *txtKeepDays = nullptr;    // and for how many days

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void onTabChanged(int tab);
    ZelvatIni &m_station;
    void buildOutboxTab();
    void buildVersionsTab();
    ServerSession *m_session;
    OutboxFile::Settings *m_outbox;
    ReportVersions::Limits *m_versions;
};
