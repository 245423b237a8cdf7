#pragma once

#include <QObject>
#include <QString>
#include <memory>

// Tells, on the event loop's thread, that the person or the system asked a console program to
// stop: SIGINT or SIGTERM on Unix, Ctrl+C, Ctrl+Break or the console closing on Windows. While
// one exists, those requests no longer end the program at once; the program ends its work
// cleanly when told. One at a time; one file per system implements it.
class Interruption : public QObject {
    Q_OBJECT

public:
    Interruption();
    ~Interruption() override;

signals:
    // `what` names the request: "SIGINT", "SIGTERM", "Ctrl+C", "Ctrl+Break", "the console closing".
    void requested(const QString &what);

private:
    struct Watch;
    std::unique_ptr<Watch> m_watch;
};
