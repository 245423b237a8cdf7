#pragma once

#include <QFrame>
#include <QPointer>
#include <memory>

class QPushButton;
class QStatusBar;
class ReportCatalog;

// The strip above the report form's status bar that names the reports of the last 24 hours
// from the same address or the same phone as the report being written ("Earlier at this
// address: SPF-100 Person Down (14:05, Submitted)"). It appears without a message box and never
// takes the focus; each name is a link-like button that opens its report read-only in a window of
// its own, reached with Tab (after the form's buttons) and named for assistive technology by event
// ID, issue, time and state. Nothing is shown when nothing matches.
class RepeatCallerStrip : public QFrame {
    Q_OBJECT

public:
    // The names shown per kind; more are counted.
    static constexpr int Named = 3;

    // `reports` are the main window's rows of every report; without them the strip keeps rows
    // of its own for the program folder and refreshes them at each look-up.
    RepeatCallerStrip(const QString &programFolder, ReportCatalog *reports, QWidget *parent);
    ~RepeatCallerStrip() override;

    // Looks up the address and the phone of the form (the report `exceptName` is the form's own).
    void lookUp(const QString &address, const QString &phone, const QString &exceptName);
    // The report names the strip links to, in the order shown, and their buttons.
    QStringList linkedNames() const { return m_linked; }
    QList<QPushButton *> links() const { return m_links; }
    // What the strip shows, a line per kind.
    QString shownText() const { return m_lines.join(QLatin1Char('\n')); }

    // Places the strip just above the status bar, across the form; its height, 0 when hidden.
    int placeAbove(const QStatusBar *statusBar);

    // Opens a report read-only in a window of its own (what a click on a name does).
    void openReport(const QString &name);

signals:
    // Shown, hidden, or a line more or less: the form lays itself out again.
    void heightChanged();

private:
    // Places the lines' parts left to right, a line per kind, wrapped at `width`; the height taken.
    int flow(int width);

    QString m_programFolder;
    ReportCatalog *m_reports;
    std::unique_ptr<ReportCatalog> m_own;
    QStringList m_linked;
    QStringList m_lines;
    QList<QPushButton *> m_links;
    QList<QList<QWidget *>> m_parts; // per line: its caption, its buttons, "and N more"
};

// One report shown read-only: every field under its caption, in a window of its own.
class ReportViewer : public QWidget {
    Q_OBJECT

public:
    // Null when the report cannot be read (the loader has said why).
    static ReportViewer *open(const QString &programFolder, const QString &name);

    QString text() const;

private:
    ReportViewer(const QString &title, const QString &text);
    class QPlainTextEdit *m_text;
};
