#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

// The about box: title, version, copyright, a few words on what the program is; the licence
// text, the system information, OK.
class frmAbout : public QDialog {
    Q_OBJECT

public:
    explicit frmAbout(QWidget *parent = nullptr);

    void cmdLicenseAgreement_Click();
    void cmdSysInfo_Click();
    // Starts the system information tool; false when it cannot be started.
    bool StartSysInfo();

    QLabel *lblTitle = nullptr;
    QLabel *lblVersion = nullptr;
    QLabel *lblDescription = nullptr;
    QLabel *lblDisclaimer = nullptr;
    QPushButton *cmdLicenseAgreement = nullptr;
    QPushButton *cmdSysInfo = nullptr;
    QPushButton *cmdOK = nullptr;
};

// The licence text, shown from the about box; closes on OK or Escape.
class frmLicense : public QDialog {
    Q_OBJECT

public:
    explicit frmLicense(QWidget *parent = nullptr);
};

// The facts about this machine that the system information tool shows elsewhere, read only.
class frmSysInfo : public QDialog {
    Q_OBJECT

public:
    explicit frmSysInfo(QWidget *parent = nullptr);
};
