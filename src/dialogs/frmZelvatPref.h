#pragma once

#include "link/OutboxFile.h"

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
// them into `outbox`, which the main window keeps in the outbox file.
class frmZelvatPref : public QDialog {
    Q_OBJECT

public:
    frmZelvatPref(ZelvatIni &station, ServerSession *session, QWidget *parent = nullptr,
                  OutboxFile::Settings *outbox = nullptr);

    bool CheckServerFields();
    void cmdOK_Click();
    void cmdCancel_Click();
    void cmdTest_Click();
    void FocusFirstOnTab();

    QTabWidget *SSTab1 = nullptr;
    std::array<QGroupBox *, 3> nframe {}; // the third only with the outbox settings
    std::array<QLineEdit *, 3> txtServer {};
    QComboBox *cboEncType = nullptr;
    QPushButton *cmdTest = nullptr;
    QPushButton *cmdOK = nullptr;
    QPushButton *cmdCancel = nullptr;
    QCheckBox *chkAutoResend = nullptr; // "Resend Ready reports automatically"
    QSpinBox *txtFirstRetry = nullptr;  // the interval of the first retry, in seconds

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void onTabChanged(int tab);
    ZelvatIni &m_station;
    void buildOutboxTab();
    ServerSession *m_session;
    OutboxFile::Settings *m_outbox;
};
