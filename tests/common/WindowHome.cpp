#include "common/WindowHome.h"

#include "app/frmZelvatmain.h"
#include "report_form/frmZelvatcts.h"
#include "support/CommonConst.h"

#include <QSettings>
#include <QStandardPaths>
#include <QTest>

WindowHome::WindowHome(const QByteArray &stationLines)
    : ProgramHome(stationLines)
{
    QStandardPaths::setTestModeEnabled(true);
    QSettings(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(Zelvat::Title)).clear();
    frmZelvatcts::clearLastUsed();
}

WindowHome::~WindowHome()
{
    if (frmZelvatcts *f = frmZelvatcts::current())
        f->close();
    QTest::qWait(0); // the closed form is deleted
}

LoopbackServer &WindowHome::serve(LoopbackServer::Mode mode)
{
    m_server = Loopback::start(mode);
    station().Prt = QString::number(m_server->port());
    return *m_server;
}

void WindowHome::refuse()
{
    station().Prt = QString::number(Loopback::refusedPort());
}

frmZelvatcts *WindowHome::openForm(const QString &eventRecord)
{
    return frmZelvatcts::open(ReportFormContext{path(), &station(), [this] { ++refreshes; }}, eventRecord);
}

std::unique_ptr<frmZelvatmain> WindowHome::startMainWindow()
{
    auto w = std::make_unique<frmZelvatmain>(path());
    w->showStationDialog = [this] { ++stationDialogs; };
    w->startReportForm = [this](const QString &name) { opened << name; };
    w->Form_Load();
    return w;
}
