#pragma once

#include "app/RecoveryHost.h"

#include <QObject>
#include <QSet>
#include <QString>

class QWidget;

// At start-up, after the station is confirmed: the input of report forms kept when a program
// stopped is offered, one recovery at a time, through the host's question. Restore opens the
// report form with it (the next one is offered when that form closes); Discard removes the file;
// Later keeps it for the next start. A recovery file that cannot be read is named to the operator
// and kept aside, never deleted; one still being written by a running program is left to it.
class RecoveryOffer : public QObject {
    Q_OBJECT

public:
    RecoveryOffer(RecoveryHost *host, QObject *parent);

    // Offers what is kept, unless a report form is open (then once it closes).
    void offerNext();

    // The question as the program asks it: a message box over `parent` whose Escape means Later.
    static RecoveryAnswer askInBox(QWidget *parent, const QString &question);

private:
    RecoveryHost *m_host;
    QSet<QString> m_later; // kept for the next start
};
