#include "dialogs/frmAbout.h"

#include "ui/Captions.h"
#include "ui/Twips.h"
#include "support/CommonConst.h"
#include "support/Platform.h"

#include <QApplication>
#include <QFrame>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QSysInfo>
#include <QVBoxLayout>

namespace {
const char kCopyright[] = "(C) 2026 Zelvatcts developers";
}

frmAbout::frmAbout(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("frmAbout"));
    setWindowTitle(QStringLiteral("About ") + QString::fromLatin1(Zelvat::Title));
    setFont(QFont(QStringLiteral("Calibri"), 11));

    auto *picIcon = new QLabel(this);
    picIcon->setObjectName(QStringLiteral("picIcon"));
    picIcon->setPixmap(QApplication::windowIcon().pixmap(48, 48));
    Twips::place(picIcon, 240, 240, 720, 720);
    lblTitle = new QLabel(QString::fromLatin1(Zelvat::Title), this);
    lblTitle->setObjectName(QStringLiteral("lblTitle"));
    lblTitle->setFont(QFont(QStringLiteral("Calibri"), 16, QFont::Bold));
    Twips::place(lblTitle, 1200, 240, 5400, 480);
    lblVersion = new QLabel(QStringLiteral("Version ") + Zelvat::versionText(), this);
    lblVersion->setObjectName(QStringLiteral("lblVersion"));
    Twips::place(lblVersion, 1200, 780, 5400, 300);
    lblDescription = new QLabel(QStringLiteral("Copyright ") + QString::fromLatin1(kCopyright)
                                    + QStringLiteral("\r\nAll rights reserved."),
                                this);
    lblDescription->setObjectName(QStringLiteral("lblDescription"));
    Twips::place(lblDescription, 1200, 1140, 5400, 600);
    auto *line = new QFrame(this);
    line->setObjectName(QStringLiteral("Line1"));
    line->setFrameShape(QFrame::HLine);
    Twips::place(line, 240, 1860, 6360, 30);
    lblDisclaimer = new QLabel(this);
    lblDisclaimer->setObjectName(QStringLiteral("lblDisclaimer"));
    lblDisclaimer->setWordWrap(true);
    lblDisclaimer->setText(QStringLiteral(
        "This program is available for general use by amateur-radio emergency communications stations. It works as "
        "an add-on to the Tarnell packet message management suite: it keeps the station's incident reports and hands "
        "them to the suite's message server, which carries them over the radio network."));
    Twips::place(lblDisclaimer, 240, 1980, 6360, 1200);

    cmdLicenseAgreement = new QPushButton(QStringLiteral("License"), this);
    cmdSysInfo = new QPushButton(QStringLiteral("&System"), this);
    cmdOK = new QPushButton(QStringLiteral("OK"), this);
    cmdLicenseAgreement->setObjectName(QStringLiteral("cmdLicenseAgreement"));
    cmdSysInfo->setObjectName(QStringLiteral("cmdSysInfo"));
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    Twips::place(cmdLicenseAgreement, 2400, 3300, 1300, 400);
    Twips::place(cmdSysInfo, 3840, 3300, 1300, 400);
    Twips::place(cmdOK, 5280, 3300, 1300, 400);
    setFixedSize(Twips::toPixels(this, 6840), Twips::toPixels(this, 3900));
    Captions::fit(this);
    connect(cmdLicenseAgreement, &QPushButton::clicked, this, &frmAbout::cmdLicenseAgreement_Click);
    connect(cmdSysInfo, &QPushButton::clicked, this, &frmAbout::cmdSysInfo_Click);
    connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);
}

void frmAbout::cmdLicenseAgreement_Click()
{
    frmLicense license(this);
    license.exec();
}

bool frmAbout::StartSysInfo()
{
#ifdef Q_OS_WIN
    return QProcess::startDetached(QStringLiteral("MSINFO32.EXE"));
#else
    frmSysInfo info(this);
    info.exec();
    return true;
#endif
}

void frmAbout::cmdSysInfo_Click()
{
    if (!StartSysInfo())
        notify(QStringLiteral("System Information Is Unavailable"));
}

frmLicense::frmLicense(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("frmLicense"));
    setWindowTitle(QString::fromLatin1(Zelvat::Title));
    auto *layout = new QVBoxLayout(this);
    auto *title = new QLabel(QString::fromLatin1(Zelvat::Title), this);
    title->setFont(QFont(QStringLiteral("Calibri"), 14, QFont::Bold));
    auto *txtLicense = new QPlainTextEdit(this);
    txtLicense->setObjectName(QStringLiteral("txtLicense"));
    txtLicense->setReadOnly(true);
    txtLicense->setPlainText(QStringLiteral(
        "Permission is granted to use, copy and share this program for emergency communications, public service "
        "and amateur-radio purposes, free of charge.\n\n"
        "The program is provided as it is, without warranty of any kind. It is an aid to the operator, not a "
        "replacement for the operator's judgement or for the procedures of the served agency. The authors are not "
        "liable for any claim or damage arising from its use."));
    auto *ok = new QPushButton(QStringLiteral("OK"), this);
    ok->setObjectName(QStringLiteral("cmdOK"));
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    layout->addWidget(title);
    layout->addWidget(txtLicense);
    layout->addWidget(ok, 0, Qt::AlignRight);
    resize(Twips::toPixels(this, 6600), Twips::toPixels(this, 4200));
}

frmSysInfo::frmSysInfo(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("frmSysInfo"));
    setWindowTitle(QStringLiteral("System Information"));
    auto *layout = new QVBoxLayout(this);
    auto *text = new QPlainTextEdit(this);
    text->setObjectName(QStringLiteral("txtSysInfo"));
    text->setReadOnly(true);
    QStringList facts = {
        QStringLiteral("Operating system: ") + QSysInfo::prettyProductName(),
        QStringLiteral("Kernel: ") + QSysInfo::kernelType() + QLatin1Char(' ') + QSysInfo::kernelVersion(),
        QStringLiteral("Architecture: ") + QSysInfo::currentCpuArchitecture(),
        QStringLiteral("Host name: ") + QSysInfo::machineHostName(),
        QStringLiteral("Toolkit: Qt ") + QString::fromLatin1(qVersion()),
        QStringLiteral("Program: ") + QString::fromLatin1(Zelvat::Title) + QStringLiteral(" ") + Zelvat::versionText(),
    };
    if (const QScreen *screen = QApplication::primaryScreen())
        facts << QStringLiteral("Screen: %1 x %2 pixels, %3 dpi")
                     .arg(screen->size().width())
                     .arg(screen->size().height())
                     .arg(screen->logicalDotsPerInch());
    text->setPlainText(facts.join(QLatin1Char('\n')));
    auto *ok = new QPushButton(QStringLiteral("OK"), this);
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    layout->addWidget(text);
    layout->addWidget(ok, 0, Qt::AlignRight);
    resize(Twips::toPixels(this, 6600), Twips::toPixels(this, 3600));
}
