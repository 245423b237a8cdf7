#pragma once

#include <QWidget>

class QLabel;

// A small pop-up that shows one line for two seconds and closes by itself.
class frmNote : public QWidget {
    Q_OBJECT

public:
    // The one note of the program; created and shown on first use.
    static frmNote *instance();

    // Shows the text for 2000 ms while the rest of the program keeps running, then closes. A
    // second call during the wait takes the label over and waits anew inside the first.
    void PostNote(const QString &text);
    void Pause(int milliSeconds);

    QLabel *lblNote = nullptr;

private:
    frmNote();
};
