#include "common/WindowHome.h"

#include "app/frmZelvatmain.h"
#include "report_form/frmZelvatcts.h"
#include "support/CommonConst.h"

#include <QApplication>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSortFilterProxyModel>
#include <QStandardPaths>
#include <QTreeView>
#include <QTest>

WindowHome::WindowHome(const QByteArray &stationLines)
    : ProgramHome(stationLines)
{
    QStandardPaths::setTestModeEnabled(true);
    userSettings().clear();
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
    station().save();
    return *m_server;
}

void WindowHome::refuse()
{
    station().Prt = QString::number(Loopback::refusedPort());
    station().save();
}

frmZelvatcts *WindowHome::openForm(const QString &eventRecord)
{
    return frmZelvatcts::open(ReportFormContext{path(), &station(), [this] { ++refreshes; }}, eventRecord);
}

std::unique_ptr<frmZelvatmain> WindowHome::startMainWindow(bool forms, const std::function<Answer(const QString &)> &answer)
{
    auto w = std::make_unique<frmZelvatmain>(path());
    w->showStationDialog = [this] { ++stationDialogs; };
    if (!forms)
        w->startReportForm = [this](const QString &name) { opened << name; };
    w->askRestore = answer;
    w->Form_Load();
    return w;
}

QStringList listColumn(const frmZelvatmain &w, int column)
{
    QStringList cells;
    for (int r = 0; r < w.listRows()->rowCount(); ++r)
        cells << w.listRows()->index(r, column).data().toString();
    return cells;
}

void selectListRows(frmZelvatmain &w, const QList<int> &rows)
{
    for (int r : rows)
        w.LV->selectionModel()->select(w.listRows()->index(r, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

QString boxText(const QWidget *box)
{
    if (auto *line = qobject_cast<const QLineEdit *>(box))
        return line->text();
    return static_cast<const QPlainTextEdit *>(box)->toPlainText();
}

QSettings userSettings()
{
    return QSettings(QSettings::NativeFormat, QSettings::UserScope, QString::fromLatin1(Zelvat::Title));
}

int twipsToPx(const QWidget &w, double twips)
{
    return qRound(twips * w.logicalDpiX() / 1440.0);
}

void leaveBox(QWidget *box)
{
    QFocusEvent leave(QEvent::FocusOut, Qt::TabFocusReason);
    QApplication::sendEvent(box, &leave);
}
