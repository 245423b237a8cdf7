#pragma once

#include <QObject>
#include <QSet>
#include <QString>

class frmZelvatmain;

// At start-up, after the station is confirmed: the input of report forms kept when a program
// stopped is offered, one recovery at a time, through the main window's askRestore. Restore
// opens the report form with it (the next one is offered when that form closes); Discard removes
// the file; Later keeps it for the next start. A recovery file that cannot be read is named to
// the operator and kept aside, never deleted; one still being written by a running program is
// left to it.
class RecoveryOffer : public QObject {
    Q_OBJECT

public:
    explicit RecoveryOffer(frmZelvatmain *window);

    // Offers what is kept, unless a report form is open (then once it closes).
    void offerNext();

private:
    frmZelvatmain *m_window;
    QSet<QString> m_later; // kept for the next start
};
