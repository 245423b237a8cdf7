#include "dialogs/frmZelvatPref.h"

#include "ui/Captions.h"
#include "ui/Paint.h"
#include "ui/Twips.h"
#include "link/ServerSession.h"
#include "settings/ZelvatIni.h"
#include "support/CommonConst.h"
#include "support/Platform.h"
#include "support/StringLib.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTabWidget>

frmZelvatPref::frmZelvatPref(ZelvatIni &station, ServerSession *session, QWidget *parent, OutboxFile::Settings *outbox,
                             ReportVersions::Limits *versions)
    : QDialog(parent)
    , m_station(station)
    , m_session(session)
    , m_outbox(outbox)
    , m_versions(versions)
{
    setObjectName(QStringLiteral("frmZelvatPref"));
    setWindowTitle(QStringLiteral("Preferences"));
    setFont(QFont(QStringLiteral("Calibri"), 11));

    SSTab1 = new QTabWidget(this);
    SSTab1->setObjectName(QStringLiteral("SSTab1"));
    Twips::place(SSTab1, 120, 120, 6600, 3000);
    static const char *tabCaptions[2] = {"Encoding", "Message Server"};
    static const char *frameCaptions[2] = {"Set Message Encoding", "Message Server (Tndirect)"};
    for (int i = 0; i < 2; ++i) {
        auto *page = new QWidget;
        nframe[i] = new QGroupBox(QString::fromLatin1(frameCaptions[i]), page);
        nframe[i]->setObjectName(QStringLiteral("nframe_%1").arg(i));
        Twips::place(nframe[i], 120, 120, 6200, 2300);
        SSTab1->addTab(page, QString::fromLatin1(tabCaptions[i]));
    }
    // Encoding tab.
    auto *label1 = new QLabel(QStringLiteral("Encode Method:"), nframe[0]);
    cboEncType = new QComboBox(nframe[0]);
    cboEncType->setObjectName(QStringLiteral("cboEncType"));
    label1->setBuddy(cboEncType);
    Twips::place(label1, 240, 420, 1800, 330);
    Twips::place(cboEncType, 2100, 390, 1800, 360);
    // Server tab.
    static const char *labels[3] = {"Remote Host:", "Remote Port:", "Network Timeout:                      msec"};
    for (int i = 0; i < 3; ++i) {
        auto *label = new QLabel(QString::fromLatin1(labels[i]), nframe[1]);
        txtServer[i] = new QLineEdit(nframe[1]);
        txtServer[i]->setObjectName(QStringLiteral("txtServer_%1").arg(i));
        txtServer[i]->installEventFilter(this);
        label->setBuddy(txtServer[i]);
        Twips::place(label, 240, 420.0 + i * 480, 4600, 330);
        Twips::place(txtServer[i], i == 2 ? 1900 : 1900, 390.0 + i * 480, i == 0 ? 4000 : 1100, 340);
    }
    txtServer[2]->raise();
    cmdTest = new QPushButton(QStringLiteral("Tndirect Link Test"), nframe[1]);
    cmdTest->setObjectName(QStringLiteral("cmdTest"));
    Twips::place(cmdTest, 1900, 1860, 2400, 380);

    cmdOK = new QPushButton(QStringLiteral("OK"), this);
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdOK->setAutoDefault(false);
    cmdCancel->setAutoDefault(false);
    Twips::place(cmdOK, 4200, 3240, 1200, 400);
    Twips::place(cmdCancel, 5520, 3240, 1200, 400);
    setFixedSize(Twips::toPixels(this, 6840), Twips::toPixels(this, 3780));
    Captions::fit(this);
    connect(cmdOK, &QPushButton::clicked, this, &frmZelvatPref::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmZelvatPref::cmdCancel_Click);
    connect(cmdTest, &QPushButton::clicked, this, &frmZelvatPref::cmdTest_Click);

    // Form_Load
    txtServer[0]->setText(station.Hst);
    txtServer[1]->setText(station.Prt);
    txtServer[2]->setText(QString::number(station.Nto));
    cboEncType->addItems({QStringLiteral("NONE"), QStringLiteral("BASE64")});
    cboEncType->setCurrentIndex(int(cboEncType->findText(station.Enc, Qt::MatchExactly | Qt::MatchCaseSensitive)));
    if (m_outbox)
        buildOutboxTab();
    if (m_versions)
        buildVersionsTab();
    SSTab1->setCurrentIndex(0);
    onTabChanged(0);
    connect(SSTab1, &QTabWidget::currentChanged, this, &frmZelvatPref::onTabChanged);
}

void frmZelvatPref::onTabChanged(int tab)
{
    for (int i = 0; i < int(nframe.size()); ++i) {
        if (nframe[i])
            nframe[i]->setEnabled(i == tab);
    }
    FocusFirstOnTab();
}

void frmZelvatPref::FocusFirstOnTab()
{
    const int tab = SSTab1->currentIndex();
    if (tab < 0 || tab >= int(nframe.size()) || !nframe[tab])
        return;
    for (QWidget *w : nframe[tab]->findChildren<QWidget *>(Qt::FindDirectChildrenOnly)) {
        if (w->focusPolicy() != Qt::NoFocus && w->isEnabled()) {
            w->setFocus();
            return;
        }
    }
}

bool frmZelvatPref::eventFilter(QObject *watched, QEvent *event)
{
    // A key typed into a server box takes back its normal colour.
    if (event->type() == QEvent::KeyPress) {
        for (QLineEdit *box : txtServer) {
            if (watched == box)
                Paint::clear(box);
        }
    }
    return QDialog::eventFilter(watched, event);
}

bool frmZelvatPref::CheckServerFields()
{
    bool ok = true;
    for (QLineEdit *box : txtServer) {
        if (box->text().isEmpty()) {
            Paint::paint(box, Paint::colour(Zelvat::MissingDataColour));
            SSTab1->setCurrentIndex(1);
            ok = false;
        }
    }
    return ok;
}

void frmZelvatPref::cmdOK_Click()
{
    if (!CheckServerFields())
        return;
    // Port and time-out must be numbers; otherwise nothing is changed.
    const auto port = StringLib::toInteger(txtServer[1]->text(), 1, 65535, QString(), nullptr);
    const auto timeout = StringLib::toInteger(txtServer[2]->text(), 0, 32767, QString(), nullptr);
    if (!port || !timeout) {
        SSTab1->setCurrentIndex(1);
        QLineEdit *bad = !port ? txtServer[1] : txtServer[2];
        notify(!port ? QStringLiteral("The Remote Port \"%1\" is not a port number (1 to 65535). Nothing was changed.")
                           .arg(txtServer[1]->text())
                     : QStringLiteral("The Network Timeout \"%1\" is not a number of milliseconds (0 to 32767). "
                                      "Nothing was changed.")
                           .arg(txtServer[2]->text()),
               Notice::Exclamation);
        bad->setFocus();
        return;
    }
    m_station.Hst = txtServer[0]->text();
    m_station.Prt = txtServer[1]->text();
    m_station.Nto = qint16(*timeout);
    m_station.Enc = cboEncType->currentText();
    if (m_outbox) {
        m_outbox->automatic = chkAutoResend->isChecked();
        m_outbox->firstRetrySeconds = txtFirstRetry->value();
    }
    if (m_versions)
        *m_versions = {txtKeepCount->value(), txtKeepDays->value()};
    accept();
}

void frmZelvatPref::cmdCancel_Click()
{
    reject();
}

void frmZelvatPref::cmdTest_Click()
{
    if (!m_session || m_session->busy())
        return;
    const QString keptHost = m_station.Hst;
    const QString keptPort = m_station.Prt;
    m_station.Hst = txtServer[0]->text();
    m_station.Prt = txtServer[1]->text();
    cmdTest->setEnabled(false);
    const bool ok = m_session->TndirectTest(QStringLiteral("<test>This is an Zelvat test msg</test>"));
    cmdTest->setEnabled(true);
    if (ok)
        notify(QStringLiteral("Tndirect link test passed!"));
    else
        notify(QStringLiteral("Link Test to Tndirect failed.  Check the following:\r\n1. Confirm that Tndirect is running\r\n"
                              "2. Confirm the Host Name and Port Number match Tndirect"),
               Notice::Exclamation);
    // The kept values come back; a numeric port as plain decimal text.
    m_station.Hst = keptHost;
    const auto port = StringLib::toInteger(keptPort, -32768, 32767, QString(), nullptr);
    m_station.Prt = port ? QString::number(*port) : keptPort;
}

// The third tab: whether the Ready reports are sent again by themselves, and how soon.
void frmZelvatPref::buildOutboxTab()
{
    auto *page = new QWidget;
    nframe[SSTab1->count()] = new QGroupBox(QStringLiteral("Resend Ready Reports"), page);
    nframe[2]->setObjectName(QStringLiteral("nframe_2"));
    Twips::place(nframe[2], 120, 120, 6200, 2300);
    SSTab1->addTab(page, QStringLiteral("&Outbox"));

    chkAutoResend = new QCheckBox(QStringLiteral("Resend Ready reports &automatically"), nframe[2]);
    chkAutoResend->setObjectName(QStringLiteral("chkAutoResend"));
    chkAutoResend->setChecked(m_outbox->automatic);
    Twips::place(chkAutoResend, 240, 420, 5800, 330);
    auto *label = new QLabel(QStringLiteral("First retry after:"), nframe[2]);
    txtFirstRetry = new QSpinBox(nframe[2]);
    txtFirstRetry->setObjectName(QStringLiteral("txtFirstRetry"));
    txtFirstRetry->setRange(OutboxFile::MinFirstRetrySeconds, OutboxFile::MaxRetrySeconds);
    txtFirstRetry->setSuffix(QStringLiteral(" s"));
    txtFirstRetry->setValue(m_outbox->firstRetrySeconds);
    label->setBuddy(txtFirstRetry);
    Twips::place(label, 240, 900, 1800, 330);
    Twips::place(txtFirstRetry, 2100, 870, 1300, 360);
    auto *note = new QLabel(QStringLiteral("After each failed try the wait doubles, up to 15 minutes; after a try that "
                                           "went through it is the first interval again."),
                            nframe[2]);
    note->setWordWrap(true);
    Twips::place(note, 240, 1380, 5800, 700);
    connect(chkAutoResend, &QCheckBox::toggled, txtFirstRetry, &QWidget::setEnabled);
    txtFirstRetry->setEnabled(chkAutoResend->isChecked());
}

// The last tab: how many earlier versions of each report the message folder keeps, and how long.
void frmZelvatPref::buildVersionsTab()
{
    auto *page = new QWidget;
    QGroupBox *frame = nframe[SSTab1->count()] = new QGroupBox(QStringLiteral("Earlier Versions of Each Report"), page);
    frame->setObjectName(QStringLiteral("nframe_versions"));
    Twips::place(frame, 120, 120, 6200, 2300);
    SSTab1->addTab(page, QStringLiteral("&Versions"));
    const auto spin = [frame](const QString &name, const QString &caption, int max, int value, double top) {
        auto *label = new QLabel(caption, frame);
        auto *box = new QSpinBox(frame);
        box->setObjectName(name);
        box->setRange(name == QLatin1String("txtKeepCount") ? 0 : 1, max);
        box->setValue(value);
        label->setBuddy(box);
        Twips::place(label, 240, top + 30, 2400, 330);
        Twips::place(box, 2700, top, 1300, 360);
        return box;
    };
    txtKeepCount = spin(QStringLiteral("txtKeepCount"), QStringLiteral("Keep at &most:"), ReportVersions::MaxCount,
                        m_versions->count, 420);
    txtKeepCount->setSuffix(QStringLiteral(" versions"));
    txtKeepDays = spin(QStringLiteral("txtKeepDays"), QStringLiteral("&None older than:"), ReportVersions::MaxDays,
                       m_versions->days, 900);
    txtKeepDays->setSuffix(QStringLiteral(" days"));
    auto *note = new QLabel(QStringLiteral("Before a report is replaced or removed, the version it holds is kept in the "
                                           "message folder. 0 versions keeps none."),
                            frame);
    note->setWordWrap(true);
    Twips::place(note, 240, 1380, 5800, 700);
}
