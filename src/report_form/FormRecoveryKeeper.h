#pragma once

#include "store/FormRecovery.h"

#include <QObject>
#include <QString>
#include <functional>
#include <memory>

class QTimer;

// Keeps a report form's unsaved input in its recovery file: after a change it asks, four times a
// second, whether the input is due to be written (FormRecovery::Schedule on DatetimeLib::now()),
// and writes what the form holds then. The file goes when the input is saved or given up. While
// it lives it holds the form's claim on the recovery name, so that no other program offers the
// input of a form that is still open.
class FormRecoveryKeeper : public QObject {
    Q_OBJECT

public:
    FormRecoveryKeeper(const QString &programFolder, const QString &name, std::function<FormRecovery::Input()> capture,
                       std::function<void(const QString &)> tell, QObject *parent);
    ~FormRecoveryKeeper() override;

    QString name() const { return m_name; }
    bool pending() const { return m_schedule.pending(); }

    // The input changed.
    void noteChange();
    // Writes now whatever waits to be written (the program is closing with the form open).
    void keepNow();
    // The input was saved (or deleted): the recovery file goes.
    void drop();
    // The operator closed the form on purpose: what waits is written, and the recovery file, if
    // there is one (there is none once the input is saved), moves among the closed forms.
    void putAway();

private:
    void tick();
    void write();

    QString m_folder;
    QString m_name;
    std::function<FormRecovery::Input()> m_capture;
    std::function<void(const QString &)> m_tell;
    FormRecovery::Schedule m_schedule;
    std::unique_ptr<FormRecovery::Claim> m_claim;
    QTimer *m_timer;
    QString m_lastProblem;
};
