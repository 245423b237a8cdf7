#pragma once

#include <QDialog>
#include <array>

class QComboBox;
class QGroupBox;
class QLineEdit;
class QPushButton;
class QTabWidget;
class ServerSession;
class ZelvatIni;

// "Preferences": how the program reaches the message server (host, port, connection time-out),
// which encoding it declares, and a test of the link before the settings are kept. Only the
// settings in memory change; the main window writes the station file afterwards.
class frmZelvatPref : public QDialog {
    Q_OBJECT

public:
    frmZelvatPref(ZelvatIni &station, ServerSession *session, QWidget *parent = nullptr);

    bool CheckServerFields();
    void cmdOK_Click();
    void cmdCancel_Click();
    void cmdTest_Click();
    void FocusFirstOnTab();

    QTabWidget *SSTab1 = nullptr;
    std::array<QGroupBox *, 2> nframe {};
    std::array<QLineEdit *, 3> txtServer {};
    QComboBox *cboEncType = nullptr;
    QPushButton *cmdTest = nullptr;
    QPushButton *cmdOK = nullptr;
    QPushButton *cmdCancel = nullptr;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void onTabChanged(int tab);
    ZelvatIni &m_station;
    ServerSession *m_session;
};
