#pragma once

#include "app/frmZelvatmain.h"
#include "common/Loopback.h"
#include "common/ProgramHome.h"

// The widget headers the window suites reach into come with the fixture.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSettings>
#include <QSortFilterProxyModel>
#include <QStatusBar>
#include <QStringList>
#include <QTabWidget>
#include <QTest>
#include <QTreeView>
#include <memory>

class frmZelvatcts;

// What the window suites share: a program home, the per-user settings store in test mode and
// empty, a loopback message server the station points at when asked, report forms opened with a
// counted list refresh and closed after the case.
class WindowHome : public ProgramHome {
public:
    explicit WindowHome(const QByteArray &stationLines = DefaultStation);
    ~WindowHome();

    // Starts a loopback server and points the station, in memory and in its file, at it.
    LoopbackServer &serve(LoopbackServer::Mode mode = LoopbackServer::Mode::Normal);
    // Points the station, in memory and in its file, at a port where nobody listens.
    void refuse();

    // The report form for "NEW" or a report name, as the main window opens it.
    frmZelvatcts *openForm(const QString &eventRecord);
    // The main window after its start-up. The station dialog is counted, not shown; the report
    // forms it asks for are recorded in `opened`, or opened where `forms`; the offer of kept input
    // is answered by `answer`.
    using Answer = frmZelvatmain::RecoveryAnswer;
    std::unique_ptr<frmZelvatmain> startMainWindow(bool forms = false, const std::function<Answer(const QString &)> &answer = {});

    int refreshes = 0;      // list refreshes asked for by report forms
    int stationDialogs = 0; // station dialogs the main window would have shown
    QStringList opened;     // what the main window asked the report form to open

private:
    std::unique_ptr<LoopbackServer> m_server;
};

// What the window suites look at: the cells of a list column in the order shown; the text of a
// one-line or a multi-line box; the per-user settings store; twips in a widget's pixels.
QStringList listColumn(const frmZelvatmain &w, int column);
void selectListRows(frmZelvatmain &w, const QList<int> &rows); // added to the selection
QString boxText(const QWidget *box);
QSettings userSettings();
int twipsToPx(const QWidget &w, double twips);
// The operator leaves a box (its lost-focus rules run).
void leaveBox(QWidget *box);
